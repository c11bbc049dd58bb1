#!/usr/bin/env python3
"""Runs the benchmarks of a build and compares them with their goals.

usage: bench.py FOLDER [--filter REGEX] [--json | --check]
FOLDER contains the programs *_bench. Prints a table; with --json one JSON document instead. With --check the exit
code is 1 when a goal is missed by more than 15 % in three attempts.
"""

import argparse
import json
import pathlib
import re
import subprocess
import sys

TOLERANCE = 1.15  # The scheduler of a shared machine alone changes a ratio by several percent.
ATTEMPTS = 3


def run(program, pattern):
    """Returns the context and the results of one program."""
    command = [program, "--benchmark_format=json", f"--benchmark_filter={pattern}"]
    print(f"bench: {program.name}", file=sys.stderr)
    done = subprocess.run(command, stdout=subprocess.PIPE, check=True)
    if not done.stdout.strip():  # Nothing matches the filter.
        return {}, []
    document = json.loads(done.stdout)
    results = []
    for entry in document["benchmarks"]:
        if entry.get("error_occurred"):
            sys.exit(f"bench: {entry['name']}: {entry['error_message']}")
        # Neither part says anything about the library.
        entry["name"] = re.sub(r"/iterations:\d+|/manual_time", "", entry["name"])
        entry["program"] = program.name
        results.append(entry)
    return document["context"], results


def run_all(programs, pattern):
    context, results = {}, []
    for program in programs:
        its_context, its_results = run(program, pattern)
        context.update(its_context)
        results += its_results
    if not results:
        sys.exit("bench: no benchmark matches")
    for private in ("executable", "host_name"):
        context.pop(private, None)
    return context, results


def duration(seconds):
    for unit, factor in (("s", 1), ("ms", 1e3), ("µs", 1e6)):
        if seconds * factor >= 1:
            return f"{seconds * factor:.3g} {unit}"
    return f"{seconds * 1e9:.3g} ns"


def is_missed(result):
    return "goal" in result and result["ratio"] > result["goal"] * TOLERANCE


def print_table(results):
    print(f"{'benchmark':<34} {'library':>9} {'reference':>9}  {'ratio (quartiles)':<20} {'goal':>6}")
    for result in results:
        if "ratio" not in result:
            print(f"{result['name']:<34} {result['real_time']:>7.4g} {result['time_unit']}")
            continue
        ratio = f"{result['ratio']:.2f} ({result['ratio_q1']:.2f} to {result['ratio_q3']:.2f})"
        goal = f"{result['goal']:.2f}" if "goal" in result else ""
        row = (f"{result['name']:<34} {duration(result['library_s']):>9} {duration(result['reference_s']):>9}  "
               f"{ratio:<20} {goal:>6}{'  missed' if is_missed(result) else ''}")
        print(row.rstrip())


def check(programs, results):
    """Repeats what misses its goal. Returns the names that miss it each time."""
    for _ in range(ATTEMPTS - 1):
        missed = {result["name"]: result["program"] for result in results if is_missed(result)}
        again = []
        for program in programs:
            names = [re.escape(name) for name, owner in missed.items() if owner == program.name]
            if names:
                # The complete name goes on with parts that the results do not show.
                again += run(program, "^(" + "|".join(names) + ")(/|$)")[1]
        results = [result for result in again if result["name"] in missed]
        if results:
            print_table(results)
    return [result["name"] for result in results if is_missed(result)]


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--filter", default=".")
    form = parser.add_mutually_exclusive_group()
    form.add_argument("--json", action="store_true")
    form.add_argument("--check", action="store_true")
    options = parser.parse_args()

    programs = sorted(options.folder.glob("*_bench"))
    if not programs:
        sys.exit(f"bench: no benchmarks in {options.folder}")
    context, results = run_all(programs, options.filter)
    if options.json:
        print(json.dumps({"context": context, "benchmarks": results}, indent=1))
        return
    print_table(results)
    missed = check(programs, results) if options.check else []
    if missed:
        sys.exit(f"bench: goals missed in {ATTEMPTS} attempts: " + ", ".join(missed))


main()
