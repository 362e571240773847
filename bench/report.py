#!/usr/bin/env python3
"""What a run of the benchmarks found: a table on standard output and in RESULTS/report.txt, a page
RESULTS/performance.md, and a plot beside it. With --docs FOLDER, page and plot go there too.

usage: report.py RESULTS [--docs FOLDER]

RESULTS holds the JSON of each benchmark program. Benchmarks named OPERATION/SIZE/KIND:ENTRY are
compared with each other; KIND is ours, peer, copy or threads. Others are listed as they are. The
page ends with bench/notes.md, which is written by hand.
"""

import datetime
import json
import os
import pathlib
import statistics
import subprocess
import sys

NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
MAIN = "lumivane_bench.json"
# What Google Benchmark says of each run, or works out from its time; the rest are counters of the
# benchmark's own.
STANDARD = {"name", "family_index", "per_family_instance_index", "run_name", "run_type",
            "repetitions", "repetition_index", "threads", "iterations", "real_time", "cpu_time",
            "time_unit", "label", "items_per_second", "bytes_per_second"}


class Measurement:
    """One entry at one size: the median of its repetitions, and how far the middle half of them
    spreads around it."""

    def __init__(self, name, order, runs, clock):
        self.name, self.order = name, order
        times = sorted(run[clock] * NANOSECONDS[run["time_unit"]] for run in runs)
        self.time = statistics.median(times)
        quarters = statistics.quantiles(times, n=4) if len(times) > 1 else [self.time] * 3
        self.spread = (quarters[2] - quarters[0]) / self.time
        self.pixels = runs[0].get("pixels")
        self.bytes = runs[0].get("bytes")
        self.difference = int(runs[0].get("difference", -1))
        self.counters = {key: statistics.median(run[key] for run in runs)
                         for key in runs[0] if key not in STANDARD}

    @property
    def per_pixel(self):
        return self.time / self.pixels

    @property
    def rate(self):
        return self.bytes / self.time


class Comparison:
    """An operation at one size."""

    def __init__(self, operation, size):
        self.operation, self.size = operation, size
        self.kinds = {"ours": [], "peer": [], "copy": [], "threads": []}

    def add(self, kind, measurement):
        self.kinds[kind].append(measurement)
        self.kinds[kind].sort(key=lambda entry: entry.order)

    @property
    def order(self):
        return min(entry.order for entries in self.kinds.values() for entry in entries)

    @property
    def ours(self):
        return self.kinds["ours"][0] if self.kinds["ours"] else None

    @property
    def copy(self):
        return self.kinds["copy"][0] if self.kinds["copy"] else None

    @property
    def fastest(self):
        return min(self.kinds["peer"], key=lambda entry: entry.time, default=None)


def ratio(entry, base):
    return f"{entry.time / base.time:.2f}" if entry and base else ""


def load(folder):
    """The comparisons in the order of their operations, the other measurements by program, the
    context of the run, and what failed."""
    comparisons, others, context, failures = {}, {}, {}, []
    for path in sorted(folder.glob("*.json")):
        if path.stat().st_size == 0:
            continue
        data = json.loads(path.read_text())
        if path.name == MAIN:
            context = data["context"]
        runs = {}
        for run in data["benchmarks"]:
            if run["run_type"] != "iteration":
                continue
            if run.get("error_occurred"):
                failures.append(f"{run['run_name']}: {run['error_message']}")
                continue
            runs.setdefault(run["run_name"], []).append(run)
        for name, repetitions in runs.items():
            order = (repetitions[0]["family_index"], repetitions[0]["per_family_instance_index"])
            parts = name.removesuffix("/real_time").split("/")
            if path.name != MAIN:
                # Such a one says itself what it took, and how often it is tried.
                timed = name.endswith("/manual_time")
                plain = name.removesuffix("/manual_time").split("/iterations:")[0]
                clock = "real_time" if timed else "cpu_time"
                entry = Measurement(plain, order, repetitions, clock)
                others.setdefault(path.stem, []).append(entry)
                continue
            kind, entry = parts[-1].split(":", 1)
            clock = "real_time" if kind == "threads" else "cpu_time"
            key = ("/".join(parts[:-2]), parts[-2])
            comparison = comparisons.setdefault(key, Comparison(*key))
            comparison.add(kind, Measurement(entry, order, repetitions, clock))
    for entries in others.values():
        entries.sort(key=lambda entry: entry.order)
    ordered = sorted(comparisons.values(), key=lambda comparison: comparison.order)
    return ordered, others, context, sorted(set(failures))


def table(head, rows):
    """A Markdown table that is aligned as text too; all columns but the first hold numbers unless
    their head ends in a blank."""
    rows = [[str(cell) for cell in row] for row in rows]
    widths = [max(len(row[i]) for row in [head] + rows) for i in range(len(head))]
    left = [i == 0 or head[i].endswith(" ") for i in range(len(head))]

    def line(cells):
        padded = [c.ljust(w) if l else c.rjust(w) for c, w, l in zip(cells, widths, left)]
        return "| " + " | ".join(padded) + " |"

    rule = ["-" * w if l else "-" * (w - 1) + ":" for w, l in zip(widths, left)]
    return "\n".join([line(head), line(rule)] + [line(row) for row in rows])


def summary(comparisons):
    rows = []
    for comparison in comparisons:
        ours, peer = comparison.ours, comparison.fastest
        if ours is None:
            continue
        rows.append([
            comparison.operation, comparison.size, ours.name, f"{ours.per_pixel:.3f}",
            f"{100 * ours.spread:.0f} %", f"{ours.rate:.1f}", ratio(ours, comparison.copy),
            peer.name if peer else "none", f"{peer.per_pixel:.3f}" if peer else "",
            ratio(ours, peer)])
    return table(["operation", "size ", "form ", "ns/pixel", "spread", "GB/s", "× memcpy",
                  "fastest peer ", "its ns/pixel", "× peer"], rows)


def details(comparison):
    rows = []
    for kind, label in (("ours", "ours: "), ("peer", ""), ("copy", "")):
        for entry in comparison.kinds[kind]:
            rows.append([
                label + entry.name, f"{entry.per_pixel:.3f}", f"{100 * entry.spread:.0f} %",
                f"{entry.rate:.1f}", ratio(entry, comparison.copy),
                ratio(entry, comparison.fastest),
                "" if kind == "copy" or entry.difference < 0 else entry.difference])
    return table(["entry", "ns/pixel", "spread", "GB/s", "× memcpy", "× fastest peer",
                  "greatest difference"], rows)


def threads(comparisons):
    rows = []
    for comparison in comparisons:
        entries = comparison.kinds["threads"]
        for entry in entries:
            rows.append([comparison.operation, comparison.size, entry.name,
                         f"{entry.per_pixel:.3f}", f"{100 * entry.spread:.0f} %",
                         f"{entries[0].time / entry.time:.2f}"])
    return table(["operation", "size ", "threads", "ns/pixel", "spread", "× one thread"],
                 rows) if rows else ""


def other_tables(others):
    texts = []
    for program, entries in others.items():
        unit = "ms" if max(entry.time for entry in entries) > 2e6 else "µs"
        rows = [[entry.name, f"{entry.time / NANOSECONDS[unit.replace('µ', 'u')]:.3f}",
                 f"{100 * entry.spread:.0f} %",
                 ", ".join(f"{key} {value:.3g}" for key, value in entry.counters.items())]
                for entry in entries]
        texts.append(f"### {program}\n\n" + table(["benchmark", unit, "spread", "also "], rows))
    return "\n\n".join(texts)


def machine(context):
    model = "unknown"
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            model = line.split(":", 1)[1].strip()
            break
    caches = ", ".join(f"L{cache['level']} {cache['type'].lower()} {cache['size'] // 1024} KiB"
                       for cache in context.get("caches", []))
    release = ".".join(os.uname().release.split(".")[:2])
    load_average = " ".join(f"{load:.1f}" for load in context.get("load_avg", []))
    date = context.get("date") or datetime.datetime.now().isoformat()
    known = {"date", "host_name", "executable", "num_cpus", "mhz_per_cpu", "cpu_scaling_enabled",
             "caches", "load_avg", "library_build_type", "compiler", "flags", "instruction sets"}
    libraries = ", ".join(f"{name} {value}" for name, value in context.items() if name not in known)
    return "\n".join([
        f"- {date[:10]}, {model}, {context.get('num_cpus', '?')} processors at "
        f"{context.get('mhz_per_cpu', '?')} MHz, {caches}; Linux {release}",
        f"- instruction sets: {context.get('instruction sets', '?')}",
        f"- {context.get('compiler', '?')}, {context.get('flags', '?')}",
        f"- {libraries}",
        f"- load average at the start: {load_average}",
    ])


EXPLANATION = """\
Written by `./dev bench --write-docs`. Every operation runs in all of its forms beside libraries that
do the same job, in one run, on the same buffers, each on one thread, interleaved at random. Times
are processor time, the median of the repetitions; *spread* is the middle half of them. *GB/s* counts
the bytes an operation must read and write; *memcpy* copies as many in all. The *greatest difference*
is that of any byte of the result from the definition's, where the two are comparable.

Content is the hardest there is, bytes at random, where an operation depends on it and nothing else
is said. *Plain loop* is what one writes first, compiled with `-O3 -march=native`.
"""


def page(comparisons, others, context, failures):
    parts = ["# Performance\n", EXPLANATION, machine(context) + "\n",
             "![Time of each operation as a multiple of memcpy's](images/performance.svg)\n",
             "## Our best form beside the fastest peer\n", summary(comparisons) + "\n"]
    if failures:
        parts += ["## Failed\n"] + [f"- {failure}" for failure in failures] + [""]
    notes = pathlib.Path(__file__).parent / "notes.md"
    if notes.exists():
        parts.append(notes.read_text())
    shared = threads(comparisons)
    if shared:
        parts += ["## Rows shared among threads\n",
                  "By the wall clock; the caller is one of the threads.\n", shared + "\n"]
    if others:
        parts += ["## Whole pictures\n", other_tables(others) + "\n"]
    parts.append("## Every form and every peer\n")
    for comparison in comparisons:
        if comparison.ours or comparison.kinds["peer"]:
            parts.append(f"### {comparison.operation}, {comparison.size}\n")
            parts.append(details(comparison) + "\n")
    return "\n".join(parts)


def plot(comparisons, target):
    """Ours and the fastest peer as multiples of memcpy, at each operation's middle size."""
    by_operation = {}
    for comparison in comparisons:
        if comparison.ours and comparison.copy:
            by_operation.setdefault(comparison.operation, []).append(comparison)
    lines = []
    for operation, sizes in by_operation.items():
        middle = sizes[1 if len(sizes) > 1 else 0]
        peer = middle.fastest
        lines.append(f'"{operation}" {ratio(middle.ours, middle.copy)} '
                     f'{ratio(peer, middle.copy) if peer else "NaN"}')
    if not lines:
        return
    data = "\n".join(lines)
    script = f"""
set terminal svg size {max(640, 200 + 44 * len(lines))},560 font "sans-serif,13" background "white"
set output "{target}"
$data << EOD
{data}
EOD
set style data histogram
set style histogram clustered gap 1
set style fill solid 0.9 noborder
set boxwidth 0.9
set logscale y 2
set yrange [0.5:*]
set ylabel "time / memcpy of the same bytes, one thread"
set xtics rotate by 40 right nomirror scale 0
set ytics nomirror
set grid ytics lc rgb "#dddddd"
set border 3
set key top right
set lmargin 12
set arrow from graph 0, first 1 to graph 1, first 1 nohead lc rgb "#404040" dt 2
set label "memcpy" at graph 1, first 1 offset 0.5, 0
set rmargin 9
plot $data using 2:xtic(1) lc rgb "#2060a8" title "ours", \\
     $data using 3 lc rgb "#e08a2c" title "fastest peer"
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def main():
    arguments = sys.argv[1:]
    if len(arguments) not in (1, 3) or arguments[1:2] not in ([], ["--docs"]):
        sys.exit(__doc__)
    results = pathlib.Path(arguments[0])
    comparisons, others, context, failures = load(results)
    text = [summary(comparisons)]
    for comparison in comparisons:
        text.append(f"{comparison.operation}, {comparison.size}\n" + details(comparison))
    text += [threads(comparisons), other_tables(others)] + failures
    report = "\n\n".join(part for part in text if part)
    print(report)
    (results / "report.txt").write_text(report + "\n")
    folders = [results] + ([pathlib.Path(arguments[2])] if len(arguments) == 3 else [])
    for folder in folders:
        (folder / "images").mkdir(parents=True, exist_ok=True)
        (folder / "performance.md").write_text(page(comparisons, others, context, failures))
        plot(comparisons, folder / "images" / "performance.svg")
    if failures:
        sys.exit(1)


if __name__ == "__main__":
    main()
