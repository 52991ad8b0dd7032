#!/usr/bin/env python3
"""How time and memory of a work grow with its size, over four decades of it.

Each work runs at each size in a process of its own. The exponent is the slope of the line that fits
the logarithms of time best: 1 when twice the work takes twice as long. What no longer fits a cache
costs more apiece, so that a map's is above 1 although its steps are not.

    bench/growth.py BUILD_FOLDER [--filter TEXT]
"""

import argparse
import math
import os
import pathlib
import subprocess
import sys

from report import readable

BOUND = 1.1
DECADES = 4


def measure(program, work, size):
    """The nanoseconds that a work takes, and the most memory of its process, in bytes."""
    with subprocess.Popen([program, work, str(size)], stdout=subprocess.PIPE, text=True) as process:
        output = process.stdout.read()
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{work} of {size} failed with {process.returncode}")
    return int(output), usage.ru_maxrss * 1024


def slope(points):
    """Of the line through (x, y) with the least squares."""
    xs, ys = zip(*points)
    x, y = sum(xs) / len(xs), sum(ys) / len(ys)
    return sum((a - x) * (b - y) for a, b in points) / sum((a - x) ** 2 for a in xs)


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--filter", default="")
    options = parser.parse_args()

    program = str(options.build / "bench/growth/ztk_growth")
    works = subprocess.run([program], check=True, stdout=subprocess.PIPE, text=True).stdout
    above = []
    print(f"{'work':<30}" + f"{'time and memory from the smallest size on, tenfold each':^80}"
          f"{'exponent':>9}")
    for line in works.splitlines():
        work, smallest = line.split()
        if options.filter not in work:
            continue
        sizes = [int(smallest) * 10**decade for decade in range(DECADES)]
        figures = [measure(program, work, size) for size in sizes]
        exponent = slope([(math.log(size), math.log(time))
                          for size, (time, _) in zip(sizes, figures)])
        columns = "".join(f"{readable(time):>10} {memory / 2**20:>6.0f} M" for time, memory in figures)
        print(f"{work:<30}{columns}   {exponent:>6.2f}", flush=True)
        if exponent > BOUND:
            above.append(f"{work} {exponent:.2f}")
    print(f"\nabove {BOUND}: {', '.join(above) or 'none'}")


if __name__ == "__main__":
    main()
