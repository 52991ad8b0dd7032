#!/usr/bin/env python3
"""Runs every benchmark program of a build and prints ours beside its peers, as ratios.

A benchmark is called BM_<work>/<who> (with more arguments behind it if it has any). All those who
did the same work in one run stand in one row; the ratio is our CPU time over the best peer's.
A peer called `limit` is what the machine allows, and counts as no peer.

    bench/run.py BUILD_FOLDER [--filter REGEX] [--min-time SECONDS] [--repetitions N]
"""

import argparse
import json
import pathlib
import subprocess
import sys

OURS = "ztk"
LIMIT = "limit"
NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def run(program, options):
    """The nanoseconds of each benchmark of a program; the least of its repetitions."""
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
        nanoseconds = row.get("figure_ns", cpu_time)
        name = row["run_name"]
        times[name] = min(nanoseconds, times.get(name, nanoseconds))
    return times


def split(name):
    """('Work and its arguments', 'who')."""
    parts = [part for part in name.removeprefix("BM_").split("/") if not part.startswith("real_")]
    who = parts.pop(1) if len(parts) > 1 else OURS
    return " ".join(parts), who


def readable(nanoseconds):
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def print_table(rows):
    print(f"\n{'work':<44} {'ours':>10} {'best peer':>22} {'ratio':>7} {'limit':>10}")
    for work, times in rows.items():
        if OURS not in times:
            continue
        peers = {who: time for who, time in times.items() if who not in (OURS, LIMIT)}
        best = min(peers, key=peers.get, default=None)
        peer = f"{best} {readable(peers[best])}" if best else "-"
        ratio = f"{times[OURS] / peers[best]:.2f}" if best else "-"
        limit = readable(times[LIMIT]) if LIMIT in times else "-"
        print(f"{work:<44} {readable(times[OURS]):>10} {peer:>22} {ratio:>7} {limit:>10}")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--filter", default=".")
    parser.add_argument("--min-time", default="0.05")
    parser.add_argument("--repetitions", type=int, default=3)
    options = parser.parse_args()

    programs = sorted(options.build.glob("bench/**/*_bench"))
    if not programs:
        sys.exit(f"no benchmark programs below {options.build}")
    for program in programs:
        rows = {}
        for name, time in run(program, options).items():
            work, who = split(name)
            rows.setdefault(work, {})[who] = time
        if rows:
            print(f"\n{program.stem}", end="")
            print_table(rows)
            sys.stdout.flush()


if __name__ == "__main__":
    main()
