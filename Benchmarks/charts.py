#!/usr/bin/env python3
"""Draws the charts of docs/PERFORMANCE.md with gnuplot.

usage: charts.py RESULTS FOLDER
RESULTS is the output of `./zv bench --json`. Writes SVG files to FOLDER.
"""

import json
import pathlib
import subprocess
import sys

HEAD = """set terminal svg size 640,360 dynamic background 'white' font 'sans-serif,12'
set output '{output}'
set title '{title}'
set grid ytics
set key outside right top
"""
COLOURS = ("#1f5fa8", "#d9822b", "#6a9a3b", "#8c6bb1")
QUANTILES = (("p10", "10"), ("s", "50"), ("p90", "90"), ("p99", "99"))


class Results:
    """The results of one run by name."""

    def __init__(self, path):
        self.of = {entry["name"]: entry for entry in json.loads(path.read_text())["benchmarks"]}

    def series(self, family):
        """Returns the pairs of argument and result of a benchmark that runs with several arguments."""
        pairs = [(int(name.split("/")[-1]), entry) for name, entry in self.of.items()
                 if name.rsplit("/", 1)[0] == family]
        if not pairs:
            sys.exit(f"charts: no results of {family}")
        return sorted(pairs, key=lambda pair: pair[0])


def draw(folder, name, title, settings, curves):
    """Draws curves of (label, style, rows); a row is a list of columns."""
    blocks, plots = [], []
    for number, (label, style, rows) in enumerate(curves):
        lines = "\n".join(" ".join(str(column) for column in row) for row in rows)
        blocks.append(f"$curve{number} << END\n{lines}\nEND\n")
        plots.append(f"$curve{number} {style} lc rgb '{COLOURS[number]}' title '{label}'")
    script = HEAD.format(output=folder / f"{name}.svg", title=title) + settings + "\n" + "".join(blocks)
    subprocess.run(["gnuplot"], input=script + "plot " + ", ".join(plots) + "\n", text=True, check=True)


def throughput(results, folder):
    posts = 200_000  # Per round of the benchmark.
    rows = {"library": results.series("Throughput/swapping")}
    curves = [("library", "library_s", rows["library"])]
    for peer, label in (("swapping", "lock and deque"), ("plain", "lock and list"), ("asio", "Boost.Asio")):
        curves.append((label, "reference_s", results.series(f"Throughput/{peer}")))
    draw(folder, "throughput", "Posts to one thread",
         "set style data histogram\nset style fill solid\nset yrange [0:*]\nset xlabel 'producers'\n"
         "set ylabel 'million posts per second'",
         [(label, "using 2:xtic(1)", [(count, posts / entry[key] / 1e6) for count, entry in series])
          for label, key, series in curves])


def latency(results, folder):
    curves = []
    for name, reference in (("Event", "two plain hops"), ("AsyncRequest", "bare request")):
        entry = results.of[name]
        for side, label in (("library", name), ("reference", reference)):
            rows = [(position, entry[f"{side}_{key}"] * 1e6) for position, (key, _) in enumerate(QUANTILES)]
            curves.append((label, "using 1:2 with linespoints lw 2", rows))
    ticks = ", ".join(f"'{text}' {position}" for position, (_, text) in enumerate(QUANTILES))
    draw(folder, "latency", "Time until the callback",
         f"set logscale y\nset xtics ({ticks})\nset xlabel 'percentile'\nset ylabel 'µs'", curves)


def listing(results, folder):
    curves = []
    for family, label, reference in (("CachedListing", "from the list", "memcpy"),
                                     ("Walk", "enumeration", "bare calls")):
        for key, text in (("library_s", label), ("reference_s", reference)):
            rows = [(count, entry[key] / count * 1e9) for count, entry in results.series(family)]
            curves.append((text, "using 1:2 with linespoints lw 2", rows))
    draw(folder, "listing", "GetZVDeviceList, time per adapter",
         "set logscale xy\nset xlabel 'adapters'\nset ylabel 'ns per adapter'", curves)


def sweep(results, folder):
    rows = [(count, entry["real_time"]) for count, entry in results.series("Sweep")]
    draw(folder, "sweep", "Check of all adapters after a removal",
         "set logscale xy\nset xlabel 'adapters'\nset ylabel 'ms'",
         [("library", "using 1:2 with linespoints lw 2", rows)])


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    results, folder = Results(pathlib.Path(sys.argv[1])), pathlib.Path(sys.argv[2])
    for chart in (throughput, latency, listing, sweep):
        chart(results, folder)


main()
