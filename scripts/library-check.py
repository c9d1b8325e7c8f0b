#!/usr/bin/env python3
"""Compares a built library with its headers and with the lists of its symbols.

exports LIBRARY HEADER...                it exports what the headers declare, and nothing else, each
                                         name with a version
imports [--list FILE] LIBRARY HEADER...  it takes the listed platform operations, all of which the
                                         headers declare, and at most the listed C functions
dynamic LIBRARY SONAME                   its soname, and that it loads nothing but the C library
comments HEADER...                       every exported declaration has a comment
reference DIRECTORY HEADER...            the pages made of the headers, in their XML form, describe
                                         everything that is declared
links DIRECTORY                          every link of a page in it leads to a file there, and to an
                                         anchor in that
"""
import argparse
import pathlib
import re
import subprocess
import sys
import urllib.parse
from html.parser import HTMLParser
from xml.etree import ElementTree

# Functions have lower-case letters in their names, macros and types have none.
FUNCTION = re.compile(r"\b((?:QOR|HOST)_\w*[a-z]\w*|\w+_s)\s*\(")
DATA = re.compile(r"\bextern\b[^;()]*?(\w+)\[")
# Opens or closes a section; says nothing about the declaration that follows.
SECTION = re.compile(r"/\*\* @(name\b|\})")


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def declared(headers):
    names = set()
    for header in headers:
        text = re.sub(r"/\*.*?\*/|^#.*?$", "", pathlib.Path(header).read_text(), flags=re.S | re.M)
        names.update(FUNCTION.findall(text), DATA.findall(text))
    if not names:
        sys.exit("no declaration found")
    return names


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
    faults = same(platform, "taken", allowed & contract, "listed")
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
    faults = []
    for header in [args.library, *args.rest]:
        commented, inside = False, False
        for number, line in enumerate(pathlib.Path(header).read_text().split("\n"), 1):
            if line.startswith("/*"):
                inside = True
                commented = line.startswith("/**") and not SECTION.match(line)
            elif not line:
                commented = False
            elif not inside and line.startswith("QOR_EXPORT") and not commented:
                faults.append(f"{header}:{number}: no comment")
            inside = inside and "*/" not in line
    return faults


def reference(args):
    """Functions, data, types and macros; the members of records may speak for themselves."""
    described, faults = set(), []
    for file in pathlib.Path(args.library).glob("*.xml"):
        for compound in ElementTree.parse(file).iter("compounddef"):
            name = compound.findtext("compoundname")
            if not name.endswith((".h", "_S")):
                continue  # another page, or a union inside a record
            members = compound.iter("memberdef") if name.endswith(".h") else []
            for entity in [compound, *members]:
                name = entity.findtext("name") or name
                texts = [entity.find("briefdescription"), entity.find("detaileddescription")]
                if any("".join(text.itertext()).strip() for text in texts):
                    described.add(name)
                else:
                    faults.append(f"{name}: not described")
    missing = sorted(declared(args.rest) - described)
    return faults + [f"{name}: declared, but not described" for name in missing]


class Page(HTMLParser):
    """What a page refers to, and its anchors."""

    def __init__(self, file):
        super().__init__()
        self.links, self.anchors = set(), {""}
        self.feed(file.read_text())

    def handle_starttag(self, tag, attrs):
        attributes = dict(attrs)
        self.links |= {attributes[name] for name in ("href", "src") if attributes.get(name)}
        self.anchors |= {attributes[name] for name in ("id", "name") if attributes.get(name)}


def links(args):
    folder = pathlib.Path(args.library)
    pages = {file: Page(file) for file in folder.glob("*.html")}
    faults = [] if len(pages) > 1 else ["no pages"]
    for file, page in pages.items():
        for link in page.links:
            url = urllib.parse.urlsplit(link)
            if url.scheme or url.netloc:
                continue
            target = (folder / urllib.parse.unquote(url.path)) if url.path else file
            anchors = pages[target].anchors if target in pages else {url.fragment}
            if not target.exists() or urllib.parse.unquote(url.fragment) not in anchors:
                faults.append(f"{file.name}: {link} leads nowhere")
    return sorted(faults)


parser = argparse.ArgumentParser(usage=__doc__)
parser.add_argument("check", choices=["exports", "imports", "dynamic", "comments", "reference", "links"])
parser.add_argument("--list")
parser.add_argument("library")
parser.add_argument("rest", nargs="*")
arguments = parser.parse_args()
problems = globals()[arguments.check](arguments)
print("\n".join(problems))
sys.exit(bool(problems))
