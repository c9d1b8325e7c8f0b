#!/usr/bin/env python3
"""Runs include-what-you-use over src/ and tools/ and tells what it would change.

    includes-check.py BUILD    a build tree made with clang that has compile_commands.json

What a header of ours exports stands in it ("IWYU pragma: export"), what it takes of the system's
headers in scripts/iwyu.imp.
"""
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
# Not what the code names but what a template or an operator of it comes to.
IMPLIED = re.compile(r"#include <(?:compare|functional|initializer_list|iterator|type_traits|stdexcept)>"
                     r"|^- namespace |^(?:namespace|struct|class) ")
# Uses that a template of the file gets from those who instantiate it.
INSTANTIATED = {"src/base/qor_check.hpp": re.compile(r'#include "qor_')}


def main():
    options = ["--no_fwd_decls", "--cxx17ns", "--max_line_length=150",
               f"--mapping_file={ROOT}/scripts/iwyu.imp", f"--check_also={ROOT}/include/*",
               f"--check_also={ROOT}/src/*.hpp", f"--check_also={ROOT}/tools/*.hpp"]
    command = ["iwyu_tool", "-p", sys.argv[1], "-j", str(os.cpu_count()), "src", "tools", "--"]
    for option in options:
        command += ["-Xiwyu", option]
    done = subprocess.run(command, capture_output=True, text=True, cwd=ROOT, check=False)
    checked = len(re.findall(r"has correct #includes|^The full include-list for", done.stdout, re.M))
    wanted = set()
    for file, verb, lines in re.findall(r"^(\S+) should (add|remove) these lines:\n((?:.+\n)*)", done.stdout, re.M):
        file = os.path.relpath(file, ROOT)
        for line in lines.splitlines():
            line = re.sub(r"  // lines .*", "", line)
            instantiated = INSTANTIATED.get(file)
            if not file.startswith("..") and not IMPLIED.search(line) and not (instantiated and instantiated.search(line)):
                wanted.add(f"{file}: {verb} {line.removeprefix('- ')}")
    print("\n".join(sorted(wanted)))
    print(f"{checked} files looked at, {len(wanted)} changes wanted")
    if "error:" in done.stdout + done.stderr or not checked:
        print(done.stderr[-2000:])
        return 1
    return bool(wanted)


if __name__ == "__main__":
    sys.exit(main())
