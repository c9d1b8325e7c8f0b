#!/usr/bin/env python3
"""Sums up a gcovr JSON report and lists what was not reached, with the reason where one is known.

Reasons stand in a text file: a path, below it indented by 4 the lines of code it is about, below
those indented by 8 why the tests do not reach them. A line that is not reached and has no reason
is told as such, and so is a reason that is about nothing, unless it begins with "Sometimes".
"""
import argparse
import json
import pathlib
import sys


def read_reasons(path):
    reasons, source, lines, fresh = {}, None, [], True
    for row in pathlib.Path(path).read_text().splitlines():
        text, indent = row.strip(), len(row) - len(row.lstrip())
        if not text or row.startswith("#"):
            continue
        if indent == 0:
            source, lines = text, []
        elif indent == 4:
            lines = [] if fresh else lines
            lines.append((source, text))
            fresh = False
        else:
            fresh = True
            for key in lines:
                reasons[key] = (reasons.get(key, "") + " " + text).strip()
    return reasons


def share(name, reached, total, wanted):
    percent = 100.0 * reached / max(total, 1)
    print(f"{name:10} {reached:6} of {total:6}  {percent:6.2f} %  (wanted: {wanted} %)")
    return percent >= wanted


parser = argparse.ArgumentParser(description=__doc__)
parser.add_argument("report")
parser.add_argument("--reasons", default="tests/not-reached.txt")
parser.add_argument("--lines", type=float, required=True)
parser.add_argument("--branches", type=float, required=True)
arguments = parser.parse_args()

reasons = read_reasons(arguments.reasons)
counts = {"lines": [0, 0], "branches": [0, 0], "functions": [0, 0]}
missed, unexplained, used = [], 0, set()


def count(kind, reached):
    counts[kind][0] += reached
    counts[kind][1] += 1


for file in json.loads(pathlib.Path(arguments.report).read_text())["files"]:
    code = pathlib.Path(file["file"]).read_text().splitlines()
    for function in file.get("functions", []):
        count("functions", function["execution_count"] > 0)
        if function["execution_count"] == 0:
            missed.append((file["file"], function["lineno"], f"function {function['name']}", ""))
    for line in file["lines"]:
        if line.get("gcovr/noncode"):
            continue
        count("lines", line["count"] > 0)
        branches = line["branches"]
        for branch in branches:
            count("branches", branch["count"] > 0)
        open_branches = sum(branch["count"] == 0 for branch in branches)
        what = "line" if line["count"] == 0 else f"{open_branches} of {len(branches)} branches"
        if line["count"] == 0 or open_branches:
            text = code[line["line_number"] - 1].strip()
            missed.append((file["file"], line["line_number"], what, text))

for path, number, what, text in missed:
    reason = reasons.get((path, text), "")
    unexplained += not reason
    used.add((path, text))
    print(f"{path}:{number}: {what}: {text}\n    {reason or 'NO REASON GIVEN'}")
print(f"{len(missed)} places not reached, {unexplained} of them without a reason")
stale = [key for key, reason in reasons.items() if key not in used and not reason.startswith("Sometimes")]
for path, text in stale:
    print(f"{path}: reached, or gone, but has a reason: {text}")
good = [share("lines", *counts["lines"], arguments.lines),
        share("branches", *counts["branches"], arguments.branches),
        share("functions", *counts["functions"], 100)]
sys.exit(not all(good) or unexplained != 0 or bool(stale))
