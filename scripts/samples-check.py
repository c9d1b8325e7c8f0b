#!/usr/bin/env python3
"""Compiles and runs the code samples of README.md and docs/.

A fenced block that has a main() is a program: it is built by the commands that the same page gives,
against an installed copy, and must print what the page says ("prints `...`"). Other blocks of C or
C++ must stand, line by line, in a file that is compiled and run: an example, or docs/samples.c. A
CMakeLists.txt is configured and built with the page's C program. Scripts and presets that blocks of
commands name must exist, a configuration for installation must do without what the tests need, and
what "$ qorldp" shows must be what the tool prints.
"""
import argparse
import itertools
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FENCE = re.compile(r"^```(\w*)\n(.*?)^```$", re.S | re.M)
faults = []


def run(*command, **more):
    try:
        done = subprocess.run(command, capture_output=True, text=True, check=False, **more)
    except OSError as error:  # nothing was built
        faults.append(str(error))
        return ""
    if done.returncode:
        faults.append(f"{' '.join(map(str, command))}: {done.stdout}{done.stderr}")
    return done.stdout


def lines(text):
    return [line.strip() for line in text.splitlines() if line.strip()]


def stands_in(sample, source):
    return any(source[at:at + len(sample)] == sample for at in range(len(source)))


PRESETS = {"cmake": "configurePresets", "cmake --build": "buildPresets", "ctest": "testPresets"}


def shell(page, text, work):
    presets = json.loads((ROOT / "CMakePresets.json").read_text())
    for script in re.findall(r"scripts/[\w.-]+", text):
        if not os.access(ROOT / script, os.X_OK):
            faults.append(f"{page}: {script}: cannot be run")
    for command, preset in re.findall(r"(cmake|cmake --build|ctest) --preset[ =](\w+)", text):
        if preset not in {p["name"] for p in presets[PRESETS[command]] if not p.get("hidden")}:
            faults.append(f"{page}: {command}: no preset {preset}")
    if "cmake --install" in text:
        configure = re.search(r"^cmake --preset .*?(?= &&|$)", text, re.M)
        run(*configure[0].split(), "-B", work / "install", "-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON",
            "-DCMAKE_DISABLE_FIND_PACKAGE_Python3=ON", cwd=ROOT)


def tool(page, text, qorldp):
    """Lines that end in ... are cut."""
    command, *shown = text.rstrip("\n").split("\n")
    printed = run(qorldp, *command.split()[2:], cwd=ROOT).split("\n")
    for want, line in itertools.zip_longest(shown, printed[:len(shown)], fillvalue=""):
        if not (line.startswith(want[:-3]) if want.endswith("...") else line == want):
            faults.append(f"{page}: {want!r} is not printed, but {line!r}")


def programs(page, text, blocks, args):
    """The page's programs, each by the first command of the page that names its file."""
    commands = [line for kind, body in blocks if kind == "sh" for line in body.splitlines()]
    promises = {body: re.search(r"prints `([^`]*)`", text[text.index(body):]) for _, body in blocks}
    environment = dict(os.environ, PKG_CONFIG_LIBDIR=str(args.work / "prefix" / args.libdir / "pkgconfig"),
                       LD_LIBRARY_PATH=str(args.work / "prefix" / args.libdir))
    built, c_promise = 0, None
    for kind, body in blocks:
        name = {"c": "program.c", "cpp": "program.cpp"}.get(kind)
        if name is None or "int main(" not in body:
            continue
        (args.work / name).write_text(body)
        command = next((c for c in commands if f" {name} " in c), None)
        if command is None:
            faults.append(f"{page}: no command builds {name}")
            continue
        run("sh", "-c", command + " -o program", cwd=args.work, env=environment)
        printed = run("./program", cwd=args.work, env=environment).strip()
        built += 1
        promise = promises[body] and promises[body][1]
        c_promise = promise if kind == "c" else c_promise
        if printed != promise:
            faults.append(f"{page}: {name} prints {printed!r}, not {promise!r}")
    for kind, body in blocks:
        if kind == "cmake":
            (args.work / "CMakeLists.txt").write_text(body)
            build = args.work / "cmake"
            run("cmake", "-S", args.work, "-B", build, "-G", "Ninja", f"-DCMAKE_PREFIX_PATH={args.work}/prefix")
            run("cmake", "--build", build)
            if run(build / "program").strip() != c_promise:
                faults.append(f"{page}: the program of the CMakeLists.txt")
            built += 1
    return built


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--build", required=True, type=pathlib.Path)
    parser.add_argument("--work", required=True, type=pathlib.Path)
    parser.add_argument("--libdir", required=True)
    parser.add_argument("--qorldp", required=True)
    args = parser.parse_args()
    args.work = args.work.resolve()
    shutil.rmtree(args.work, ignore_errors=True)
    args.work.mkdir(parents=True)
    run("cmake", "--install", args.build, "--prefix", args.work / "prefix")

    compiled = {pathlib.Path(u["file"]) for u in json.loads((args.build / "compile_commands.json").read_text())}
    sources = [lines(f.read_text()) for f in [*compiled, *(ROOT / "examples").glob("*.h")]
               if f.parent in (ROOT / "examples", ROOT / "docs")]
    built = compared = 0
    for page in [ROOT / "README.md", ROOT / "CONTRIBUTING.md", *sorted((ROOT / "docs").rglob("*.md"))]:
        text, name = page.read_text(), page.relative_to(ROOT)
        blocks = FENCE.findall(text)
        for kind, body in blocks:
            if kind in ("c", "cpp") and "int main(" not in body:
                compared += 1
                if not any(stands_in(lines(body), source) for source in sources):
                    faults.append(f"{name}: in no file that is compiled:\n{body}")
            elif kind == "sh":
                shell(name, body, args.work)
            elif body.startswith("$ qorldp"):
                tool(name, body, args.qorldp)
            elif kind not in ("c", "cpp", "cmake", "text"):
                faults.append(f"{name}: a block of kind {kind!r}")
        # Code that is only indented, or fenced in another way, would escape.
        for sample in re.findall(r"^(?:    (?:.*\w\(.*;|.*\) \{|#include .*)|.*(?:```|~~~).*)$", re.sub(FENCE, "", text), re.M):
            faults.append(f"{name}: code without a fence of its own: {sample}")
        built += programs(name, text, blocks, args)
    if not built or not compared:
        faults.append("no sample found")
    for fault in faults:
        print(fault)
    print(f"{built} programs built and run, {compared} pieces compared, {len(faults)} faults")
    return bool(faults)


if __name__ == "__main__":
    sys.exit(main())
