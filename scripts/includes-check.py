#!/usr/bin/env python3
"""Runs include-what-you-use over our sources and tells what it would change.

    includes-check.py BUILD...    build trees made with clang that have a compile_commands.json

What a header of ours exports stands in it ("IWYU pragma: export"), what it takes of the system's
headers in scripts/iwyu.imp.
"""
import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ("src", "tools", "examples", "fuzz", "tests")  # bench/ is built around the headers of others
# Not what the code names but what a template, a macro or an operator of it comes to; and an exported
# header beside the file, which it wants by its whole path as well.
IMPLIED_LINE = re.compile(r"^#include <(?:compare|functional|initializer_list|iterator|type_traits|stdexcept)>"
                          r'|#include "/|^(?:- )?(?:namespace|struct|class) ')
IMPLIED_NAME = re.compile(r"operator|\w+_(?:traits|element)\b|borrowed_iterator|allocator$|basic_stringbuf|fill_n$|pair$|tuple$")
# Uses that a template of the file gets from those who instantiate it.
INSTANTIATED = {"src/base/qor_check.hpp": re.compile(r'#include "qor_')}


def look_at(unit):
    """What it says of one source file, with the flags that the build has for it."""
    command = ["include-what-you-use", *shlex.split(unit["command"])[1:]]
    for option in ("--no_fwd_decls", "--cxx17ns", "--max_line_length=150", f"--mapping_file={ROOT}/scripts/iwyu.imp",
                   f"--check_also={ROOT}/include/*", *(f"--check_also={ROOT}/{folder}/*.h*" for folder in FOLDERS)):
        command += ["-Xiwyu", option]
    return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          cwd=unit["directory"], check=False).stdout


def main():
    units = {}
    for build in sys.argv[1:]:
        for unit in json.loads(pathlib.Path(build, "compile_commands.json").read_text()):
            if os.path.relpath(unit["file"], ROOT).split("/")[0] in FOLDERS:
                units.setdefault(unit["file"], unit)
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        said = "\n".join(pool.map(look_at, units.values()))
    checked = set(re.findall(r"^\(?(\S+) has correct #includes|^The full include-list for (\S+):", said, re.M))
    wanted = set()
    for file, verb, lines in re.findall(r"^(\S+) should (add|remove) these lines:\n((?:.+\n)*)", said, re.M):
        file = os.path.relpath(file, ROOT)
        for line in lines.splitlines():
            line = re.sub(r"  // lines .*", "", line)
            names = line.partition("// for ")[2].split(", ")
            instantiated = INSTANTIATED.get(file)
            if not (file.startswith("..") or IMPLIED_LINE.search(line) or all(map(IMPLIED_NAME.match, names))
                    or instantiated and instantiated.search(line)):
                wanted.add(f"{file}: {verb} {line.removeprefix('- ')}")
    print("\n".join(sorted(wanted)))
    print(f"{len(checked)} files looked at, {len(wanted)} changes wanted")
    if "error:" in said or not units or len(checked) < len(units):
        print(*re.findall(r".*error:.*", said), sep="\n")
        return 1
    return bool(wanted)


if __name__ == "__main__":
    sys.exit(main())
