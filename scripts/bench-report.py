#!/usr/bin/env python3
"""Prints the medians of a google-benchmark run as ratios.

    bench-report.py RESULTS.json

A benchmark is named CASE/WHO or CASE/WHO/N. In each case the time of "qor" is divided by that of the
others; below 1 qor is faster. A case with items (operations of one round) is told per item.
"""

import collections
import json
import sys


def medians(path):
    """{case: {who: {n: nanoseconds}}} of one operation, n 0 where there is none."""
    with open(path, encoding="utf-8") as file:
        runs = json.load(file)["benchmarks"]
    cases = collections.defaultdict(lambda: collections.defaultdict(dict))
    for run in runs:
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run['error_message']}")
        if run.get("aggregate_name") == "median":
            case, who, n = (run["run_name"] + "/0").split("/")[:3]
            items = run.get("items_per_second")
            cases[case][who][int(n)] = 1e9 / items if items else run["cpu_time"]
    return cases


def main():
    print(f"{'case':44} {'n':>9} {'qor':>10}   ratio to")
    for case, times in medians(sys.argv[1]).items():
        for n, own in sorted(times.get("qor", {}).items()):
            ratios = (f"{who} {own / other[n]:.2f}" for who, other in times.items()
                      if who != "qor" and n in other)
            print(f"{case:44} {n or '':>9} {own:7.1f} ns   {', '.join(ratios)}")


if __name__ == "__main__":
    main()
