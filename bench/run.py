#!/usr/bin/env python3
"""Runs every benchmark program of a build and prints ours beside its peers, as ratios.

A benchmark is called BM_<work>/<who> (with more arguments behind it if it has any). All those who
did the same work in one run stand in one row. Repetitions are interleaved; a row compares the
medians of the CPU times, ours over the best peer's. A peer called `limit` is what the machine
allows, and counts as no peer. What ratio a row aims at stands in bench/aims.txt.

    bench/run.py BUILD_FOLDER [--filter REGEX] [--min-time SECONDS] [--repetitions N]
                 [--results FILE.md --chart FILE.svg]
"""

import argparse
import json
import pathlib
import statistics
import subprocess
import sys

import report

NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def run(program, options):
    """The median nanoseconds of each benchmark of a program."""
    command = [
        str(program),
        "--benchmark_format=json",
        f"--benchmark_filter={options.filter}",
        f"--benchmark_min_time={options.min_time}",
        f"--benchmark_repetitions={options.repetitions}",
        "--benchmark_enable_random_interleaving=true",
    ]
    output = subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout
    times = {}
    for row in json.loads(output or '{"benchmarks": []}')["benchmarks"]:
        if row.get("run_type") == "aggregate" or row.get("error_occurred"):
            continue
        # What is not about CPU time names its own figure.
        cpu_time = row["cpu_time"] * NANOSECONDS[row["time_unit"]]
        times.setdefault(row["run_name"], []).append(row.get("figure_ns", cpu_time))
    return {name: statistics.median(figures) for name, figures in times.items()}


def split(name):
    """('Work and its arguments', 'who')."""
    parts = [part for part in name.removeprefix("BM_").split("/") if not part.startswith("real_")]
    who = parts.pop(1) if len(parts) > 1 else report.OURS
    return " ".join(parts), who


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--filter", default=".")
    parser.add_argument("--min-time", default="0.05")
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--results", type=pathlib.Path)
    parser.add_argument("--chart", type=pathlib.Path)
    options = parser.parse_args()

    programs = sorted(options.build.glob("bench/**/*_bench"))
    if not programs:
        sys.exit(f"no benchmark programs below {options.build}")
    aims = report.read_aims(pathlib.Path(__file__).with_name("aims.txt"))
    families = {}
    for program in programs:
        works = {}
        for name, time in run(program, options).items():
            work, who = split(name)
            works.setdefault(work, {})[who] = time
        family = program.stem.removesuffix("_bench")
        rows = report.rows_of(works, aims)
        if rows:
            families[family] = rows
            report.print_family(family, rows)
            sys.stdout.flush()
    if options.filter == ".":
        for work in sorted(set(aims) - {row.work for rows in families.values() for row in rows}):
            print(f"bench/aims.txt names no row of this run: {work}", file=sys.stderr)
    print(f"\n{report.last_line(families)}")
    if options.results:
        report.write_results(options, families)
    if options.chart:
        options.chart.write_text(report.chart(families), encoding="utf-8")


if __name__ == "__main__":
    main()
