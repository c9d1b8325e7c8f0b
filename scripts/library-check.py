#!/usr/bin/env python3
"""Compares a built library with its headers and with the lists of its symbols.

exports LIBRARY HEADER...                it exports what the headers declare, and nothing else, each
                                         name with a version
imports [--list FILE] LIBRARY HEADER...  it takes the listed platform operations, all of which the
                                         headers declare, and at most the listed C functions
dynamic LIBRARY SONAME                   its soname, and that it loads nothing but the C library
comments HEADER...                       every exported declaration has a comment
"""
import argparse
import pathlib
import re
import subprocess
import sys

from library_headers import DATA, FUNCTION, declared

# The name may stand on the next line.
DECLARATION = re.compile(rf"(?!typedef |static )(?=[A-Za-z]).*?(?:{FUNCTION.pattern}|{DATA.pattern})")
# Opens or closes a section; says nothing about the declaration that follows.
SECTION = re.compile(r"/\*\* @(name\b|\})")


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def listed(file):
    lines = pathlib.Path(file).read_text().split("\n")
    return {line for line in lines if line and not line.startswith("#")}


def symbols(library, kind):
    """{name: version}, without the weak ones that every shared object refers to."""
    found = {}
    for line in output("nm", "-D", kind, library).splitlines():
        letter, name = line.split()[-2:]
        if letter not in "wv":
            found[name.partition("@")[0]] = name.partition("@")[2]
    return found


def same(found, found_in, expected, expected_in):
    """One line for each name that only one of two sets has."""
    return [f"{name}: {found_in}, but not {expected_in}" for name in sorted(found - expected)] + [
        f"{name}: {expected_in}, but not {found_in}" for name in sorted(expected - found)
    ]


def exports(args):
    defined = symbols(args.library, "--defined-only")
    versions = {version.lstrip("@") for version in defined.values()}
    names = set(defined) - versions  # a version is a symbol as well
    faults = same(names, "exported", declared(args.rest), "declared")
    return faults + [f"{name}: without a version" for name in names if not defined[name]]


def imports(args):
    undefined = symbols(args.library, "--undefined-only")
    allowed = listed(args.list) if args.list else set()
    contract = declared(args.rest)
    platform = {name for name, version in undefined.items() if not version.startswith("GLIBC")}
    ours = {name for name in allowed if re.match("HOST_|g_", name)}
    faults = same(platform, "taken", allowed & contract | ours, "listed")
    if args.list:
        faults += same(set(undefined) - platform - allowed, "taken", set(), "listed")
    return faults + [f"{name}: taken, but no header declares it" for name in platform - contract]


def dynamic(args):
    entries = re.findall(r"\((\w+)\)[^\[\n]*\[(.*?)\]", output("readelf", "-dW", args.library))
    faults = same({v for k, v in entries if k == "SONAME"}, "the soname", set(args.rest), "expected")
    needed = {v for k, v in entries if k == "NEEDED"}
    return faults + [f"loads {v}" for v in needed if not re.match(r"(libc|ld-linux[\w-]*)\.so", v)]


def comments(args):
    """A comment covers the declarations that follow it without a blank line."""
    faults, headers = [], [args.library, *args.rest]
    names = declared(headers)
    for header in headers:
        commented, inside = False, False
        for number, line in enumerate(pathlib.Path(header).read_text().split("\n"), 1):
            if line.startswith("/*"):
                inside = True
                commented = line.startswith("/**") and not SECTION.match(line)
            elif not line:
                commented = False
            elif not inside and (declaration := DECLARATION.match(line)):
                names -= set(declaration.groups())
                if not commented:
                    faults.append(f"{header}:{number}: no comment")
            inside = inside and "*/" not in line
    return faults + [f"{name}: not found" for name in names]


parser = argparse.ArgumentParser(usage=__doc__)
parser.add_argument("check", choices=["exports", "imports", "dynamic", "comments"])
parser.add_argument("--list")
parser.add_argument("library")
parser.add_argument("rest", nargs="*")
arguments = parser.parse_args()
problems = globals()[arguments.check](arguments)
print("\n".join(problems))
sys.exit(bool(problems))
