#!/usr/bin/env python3
"""Prints the medians of a google-benchmark run as ratios, and draws how they grow.

    bench-report.py RESULTS.json [--svg FOLDER]

A benchmark is named CASE/WHO or CASE/WHO/N. In each case the time of "qor" is divided by that of the
others; below 1 qor is faster. A case with items (operations of one round) is told per item. With
--svg FOLDER/TOPIC.svg shows the cases that begin with the word TOPIC and have more than one N.
"""

import argparse
import collections
import json
import math
import os
import sys
from xml.sax.saxutils import escape


def medians(path):
    """{case: {who: {n: (nanoseconds, octets)}}} of one operation; n is 0 where there is none, octets
    None where they are not told."""
    with open(path, encoding="utf-8") as file:
        runs = json.load(file)["benchmarks"]
    cases = collections.defaultdict(lambda: collections.defaultdict(dict))
    for run in runs:
        if run.get("error_occurred"):
            sys.exit(f"{run['name']}: {run['error_message']}")
        if run.get("aggregate_name") == "median":
            case, who, n = (run["run_name"] + "/0").split("/")[:3]
            items = run.get("items_per_second")
            time = 1e9 / items if items else run["cpu_time"]
            cases[case][who][int(n)] = (time, run.get("octets"))
    return cases


def show(cases):
    print(f"{'case':44} {'n':>9} {'qor':>10}   ratio to")
    for case, whos in sorted(cases.items()):
        for n, (own, _) in sorted(whos.get("qor", {}).items()):
            told = [f"{who} {own / times[n][0]:.2f}" for who, times in whos.items()
                    if who != "qor" and n in times]
            octets = [f"{who} {times[n][1]:.0f}" for who, times in whos.items()
                      if n in times and times[n][1]]
            told += ["octets each: " + ", ".join(octets)] if octets else []
            print(f"{case:44} {n or '':>9} {own:7.1f} ns   {'; '.join(told)}".rstrip())


# ---- Curves: one panel per case, both axes logarithmic

WIDTH, HEIGHT, COLUMNS = 380, 250, 2  # of a panel
LEFT, RIGHT, TOP, BOTTOM = 62, 96, 30, 34  # its margins; names of lines stand in the right one
COLOURS = ("#0b5cad", "#c2410c", "#4d7c0f", "#7e22ce", "#64748b")


def decades(values):
    """The powers of ten from below the least to above the greatest value."""
    low, high = math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))
    return [10**power for power in range(low, max(high, low + 1) + 1)]


def amount(value):
    for unit, name in ((1_000_000_000, " s"), (1_000_000, " ms"), (1000, " µs")):
        if value >= unit:
            return f"{value // unit:,}{name}"
    return f"{value:g} ns"


def text(x, y, words, anchor="middle", style=""):
    return f'<text x="{x:.0f}" y="{y:.0f}" text-anchor="{anchor}"{style}>{escape(words)}</text>'


def panel(case, whos):
    xs = decades([n for times in whos.values() for n in times])
    ys = decades([time for times in whos.values() for time, _ in times.values()])

    def at(value, ticks, low, high):
        share = math.log10(value / ticks[0]) / math.log10(ticks[-1] / ticks[0])
        return low + share * (high - low)

    def x_of(n):
        return at(n, xs, LEFT, WIDTH - RIGHT)

    def y_of(time):
        return at(time, ys, HEIGHT - BOTTOM, TOP)

    yield text(LEFT, TOP - 12, case, "start", ' font-weight="bold"')
    for n in xs:
        yield text(x_of(n), HEIGHT - BOTTOM + 16, f"{n:,}")
    for time in ys:
        yield f'<path class="grid" d="M{LEFT} {y_of(time):.0f}H{WIDTH - RIGHT}"/>'
        yield text(LEFT - 6, y_of(time) + 4, amount(time), "end")
    ends = []
    for (who, times), colour in zip(sorted(whos.items(), key=lambda w: (w[0] != "qor", w)), COLOURS):
        points = [(x_of(n), y_of(time)) for n, (time, _) in sorted(times.items())]
        yield (f'<polyline stroke="{colour}" points="'
               + " ".join(f"{x:.0f},{y:.0f}" for x, y in points) + '"/>')
        ends.append((points[-1][1], who, colour))
    free = TOP  # names do not cover each other
    for y, who, colour in sorted(ends):
        free = max(y + 4, free)
        yield text(WIDTH - RIGHT + 6, free, who, "start", f' fill="{colour}"')
        free += 13


def draw(topic, cases, folder):
    rows = -(-len(cases) // COLUMNS)
    columns = min(len(cases), COLUMNS)
    lines = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{columns * WIDTH}" '
             f'height="{rows * HEIGHT}" font-family="sans-serif" font-size="11">',
             "<style>polyline{fill:none;stroke-width:2}.grid{stroke:#ddd}</style>",
             '<rect width="100%" height="100%" fill="white"/>']
    for i, (case, whos) in enumerate(sorted(cases.items())):
        lines.append(f'<g transform="translate({i % COLUMNS * WIDTH} {i // COLUMNS * HEIGHT})">')
        lines.extend(panel(case, whos))
        lines.append("</g>")
    with open(os.path.join(folder, topic + ".svg"), "w", encoding="utf-8") as file:
        file.write("\n".join(lines) + "\n</svg>\n")


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("results")
    parser.add_argument("--svg", metavar="FOLDER")
    options = parser.parse_args()
    cases = medians(options.results)
    show(cases)
    if options.svg:
        topics = collections.defaultdict(dict)
        for case, whos in cases.items():
            if len(whos.get("qor", {})) > 1:
                topics[case.split()[0]][case] = whos
        for topic, members in topics.items():
            draw(topic, members, options.svg)


if __name__ == "__main__":
    main()
