"""What a run of the benchmarks says: rows with their aims, the tables, and the chart."""

import datetime
import html
import math
import pathlib
import platform
import re
import statistics
from dataclasses import dataclass

OURS = "ztk"
LIMIT = "limit"
TOLERANCE = 1.05  # A row so far above its aim is met.


@dataclass
class Row:
    work: str
    ours: float  # Nanoseconds, like all times.
    peer: str | None
    best: float | None
    limit: float | None
    aim: float
    why: str  # Why the aim is not 1.

    @property
    def ratio(self):
        return self.ours / self.best if self.best else None

    @property
    def is_met(self):
        return self.ratio is not None and self.ratio <= self.aim * TOLERANCE


def read_aims(path):
    """{work: (aim, why)}; a line is `work | aim | why`, and what is not named aims at 1."""
    aims = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        if line and not line.startswith("#"):
            work, aim, *why = (field.strip() for field in line.split("|"))
            aims[work] = (float(aim), " ".join(why))
    return aims


def rows_of(works, aims):
    """The rows of a program, the best first; those without a peer come last."""
    rows = []
    for work, times in works.items():
        if OURS not in times:
            continue
        peers = {who: time for who, time in times.items() if who not in (OURS, LIMIT)}
        best = min(peers, key=peers.get, default=None)
        rows.append(Row(work, times[OURS], best, peers.get(best), times.get(LIMIT),
                        *aims.get(work, (1.0, ""))))
    return sorted(rows, key=lambda row: row.ratio or math.inf)


def readable(nanoseconds):
    if nanoseconds is None:
        return "-"
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def cells(row):
    """Work, ours, best peer, ratio, limit, aim, whether it is met."""
    peer = f"{row.peer} {readable(row.best)}" if row.peer else "-"
    ratio = f"{row.ratio:.2f}" if row.peer else "-"
    aim = f"{row.aim:.2f}" if row.peer else "-"
    met = "-" if not row.peer else "yes" if row.is_met else "no"
    return row.work, readable(row.ours), peer, ratio, readable(row.limit), aim, met


def print_family(family, rows):
    layout = "{:<40} {:>10} {:>20} {:>6} {:>10} {:>5} {:>4}"
    print(f"\n{family}")
    print(layout.format("work", "ours", "best peer", "ratio", "limit", "aim", "met"))
    for row in rows:
        print(layout.format(*cells(row)))


def compared(families):
    return [row for rows in families.values() for row in rows if row.peer]


def last_line(families):
    rows = compared(families)
    if not rows:
        return "no row has a peer"
    level = sum(row.ratio <= 1 for row in rows)
    met = sum(row.is_met for row in rows)
    median = statistics.median(row.ratio for row in rows)
    return (f"{level} of {len(rows)} rows at or below 1.0, {met} at their aim; "
            f"median ratio {median:.2f}")


def first_match(path, pattern):
    try:
        found = re.search(pattern, pathlib.Path(path).read_text(encoding="utf-8"), re.MULTILINE)
    except OSError:
        return "unknown"
    return found.group(1).strip() if found else "unknown"


def write_results(options, families):
    """The tables as a page, with what they were measured on."""
    processor = first_match("/proc/cpuinfo", r"^model name\s*:\s*(.*)$")
    system = first_match("/etc/os-release", r'^PRETTY_NAME="(.*)"$')
    compiler = first_match(
        next(options.build.glob("CMakeFiles/*/CMakeCXXCompiler.cmake"), "missing"),
        r'^set\(CMAKE_CXX_COMPILER_VERSION "(.*)"\)$')
    lines = [
        "# Results of the benchmarks",
        "",
        f"The last full run, of {datetime.date.today():%Y-%m-%d}: {last_line(families)}.",
        "",
        f"Machine: {processor}, {system}, {platform.machine()}, GCC {compiler}, optimised as in "
        f"the preset `bench`. {options.repetitions} interleaved repetitions of {options.min_time} "
        "s each; times are medians of CPU time, the ratio is ours over the best peer's, and "
        "`limit` is what the machine allows. A row within 5 % of its aim is met. "
        "`make bench-results` writes this page and the chart.",
    ]
    for family, rows in families.items():
        lines += ["", f"## {family}", "",
                  "| work | ours | best peer | ratio | limit | aim | met |",
                  "|---|--:|--:|--:|--:|--:|---|"]
        lines += ["| " + " | ".join(cells(row)) + " |" for row in rows]
    reasons = [row for row in compared(families) if row.why]
    if reasons:
        lines += ["", "## Why a row aims at another ratio", ""]
        lines += [f"- {row.work}: {row.why}" for row in reasons]
    options.results.write_text("\n".join(lines) + "\n", encoding="utf-8")


# --- The chart: a strip of dots for each family, on a logarithmic scale ---------------------------

WIDTH, LABEL, STRIP, TOP = 860, 150, 34, 64
LEAST, MOST = 1 / 8, 16


def position(ratio):
    share = math.log(min(max(ratio, LEAST), MOST) / LEAST) / math.log(MOST / LEAST)
    return LABEL + share * (WIDTH - LABEL - 30)


def chart(families):
    strips = {family: [row for row in rows if row.peer] for family, rows in families.items()}
    strips = {family: rows for family, rows in strips.items() if rows}
    height = TOP + STRIP * len(strips) + 46
    middle = position(1)
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" '
        'font-family="sans-serif" font-size="13">',
        f'<rect width="{WIDTH}" height="{height}" fill="#ffffff"/>',
        '<text x="12" y="22" font-size="15" font-weight="bold">Time taken, beside the fastest peer '
        'of each row</text>',
        f'<text x="12" y="42" fill="#555">{html.escape(last_line(families))}</text>',
        f'<rect x="{LABEL}" y="{TOP - 10}" width="{middle - LABEL:.0f}" '
        f'height="{STRIP * len(strips) + 10}" fill="#e8f4ea"/>',
    ]
    for ratio in (1 / 8, 1 / 4, 1 / 2, 1, 2, 4, 8, 16):
        x, text = position(ratio), f"{ratio:g}" if ratio >= 1 else f"1/{1 / ratio:g}"
        parts.append(f'<line x1="{x:.1f}" x2="{x:.1f}" y1="{TOP - 10}" '
                     f'y2="{height - 46}" stroke="{"#333" if ratio == 1 else "#ddd"}"/>')
        parts.append(f'<text x="{x:.1f}" y="{height - 30}" text-anchor="middle" '
                     f'fill="#555">{text}</text>')
    parts.append(f'<text x="{middle - 12:.0f}" y="{height - 10}" text-anchor="end" '
                 'fill="#2a7a3b">faster than every peer</text>')
    parts.append(f'<text x="{middle + 12:.0f}" y="{height - 10}" fill="#a04a10">slower</text>')
    for index, (family, rows) in enumerate(strips.items()):
        y = TOP + STRIP * index + STRIP / 2 - 6
        parts.append(f'<text x="12" y="{y + 5:.0f}">{html.escape(family)}</text>')
        for row in rows:
            colour = "#2a7a3b" if row.ratio <= 1 else "#d9822b"
            title = html.escape(f"{row.work}: {row.ratio:.2f} of {row.peer}")
            parts.append(f'<circle cx="{position(row.ratio):.1f}" cy="{y:.0f}" r="5" '
                         f'fill="{colour}" fill-opacity="0.65"><title>{title}</title></circle>')
    return "\n".join(parts) + "\n</svg>\n"
