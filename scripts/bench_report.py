#!/usr/bin/env python3
"""Sets the results of benchmark programs beside their counterparts and goals.

usage: bench_report.py [--write DOCS] GOALS RESULTS

GOALS has a line a comparison, its fields parted by tabs: our benchmark, the counterpart's ("-" for
none: the goal is a time in seconds), cpu or wall, the goal, a title. RESULTS is a folder of JSON
files. With --write the tables and plots of DOCS/performance.md are renewed as well.
"""

import argparse
import json
import pathlib
import re
import statistics
import subprocess
import sys

UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}


def read_results(folder):
    """The times of each repetition, in seconds, by name and metric."""
    times = {}
    for path in sorted(folder.glob("*.json")):
        for entry in json.loads(path.read_text())["benchmarks"]:
            if entry.get("run_type") != "iteration":
                continue
            name = entry["name"].removesuffix("/manual_time").removesuffix("/real_time")
            unit = UNITS[entry["time_unit"]]
            for metric, field in (("cpu", "cpu_time"), ("wall", "real_time")):
                times.setdefault((name, metric), []).append(entry[field] * unit)
    return times


class Comparison:
    """One line of the goals, with what was measured."""

    def __init__(self, line, times):
        self.ours, self.theirs, self.metric, self.goal, self.title = line.split("\t")
        self.program, self.case, _ = self.ours.split("/", 2)
        own = times.get((self.ours, self.metric))
        other = [1.0] if self.theirs == "-" else times.get((self.theirs, self.metric))
        self.measured = own is not None and other is not None
        if self.measured:
            self.own = statistics.median(own)
            self.other = statistics.median(other)
            self.ratio = self.own / self.other
            self.repetitions = len(own)
            self.met = self.ratio <= float(self.goal)

    def counterpart(self):
        return "seconds" if self.theirs == "-" else self.theirs.rsplit("/", 1)[1]

    def cells(self):
        other = "" if self.theirs == "-" else time_text(self.other)
        return (self.title, self.case, self.counterpart(), self.metric, time_text(self.own), other,
                f"{self.ratio:.3g}", self.goal, "met" if self.met else "not met")


HEADS = ("path", "case", "counterpart", "time", "ours", "theirs", "ratio", "goal", "")


def time_text(seconds):
    for unit in ("s", "ms", "us"):
        if seconds >= UNITS[unit]:
            return f"{seconds / UNITS[unit]:.3g} {unit}"
    return f"{seconds / UNITS['ns']:.3g} ns"


def print_table(comparisons):
    rows = [HEADS] + [c.cells() for c in comparisons]
    widths = [max(len(row[i]) for row in rows) for i in range(len(HEADS))]
    for row in rows:
        print("  ".join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())


def markdown(comparisons):
    lines = ["| " + " | ".join(HEADS) + " |", "|---|---|---|---|--:|--:|--:|--:|---|"]
    lines += ["| " + " | ".join(c.cells()) + " |" for c in comparisons]
    return "\n".join(lines)


def replace_tables(document, comparisons):
    """Fills what stands between "<!-- table PROGRAM -->" and "<!-- end -->"."""
    def fill(match):
        chosen = [c for c in comparisons if c.program in match.group(1).split()]
        if not chosen:
            return match.group(0)
        return f"<!-- table {match.group(1)} -->\n{markdown(chosen)}\n<!-- end -->"

    text = document.read_text()
    document.write_text(re.sub(r"<!-- table ([\w ]+) -->.*?<!-- end -->", fill, text, flags=re.S))


def draw_plots(definitions, times, folder):
    """A plot a block of lines: "plot FILE<TAB>title<TAB>x axis", then "PATTERN<TAB>name" lines."""
    blocks = [block.splitlines() for block in definitions.read_text().split("\n\n") if block.strip()]
    for head, *series in blocks:
        name, title, axis = head.split("\t")
        curves = []
        for line in series:
            pattern, label = line.split("\t")
            shape = re.compile(re.escape(pattern).replace(r"\{\}", r"(\d+)"))
            points = sorted((int(found.group(1)), statistics.median(values))
                            for (key, metric), values in times.items()
                            if metric == "cpu" and (found := shape.fullmatch(key)))
            if points:
                curves.append((label, points))
        if curves:
            draw(folder / f"{name}.svg", title, axis, curves)


def draw(path, title, axis, curves):
    path.parent.mkdir(exist_ok=True)
    data = "\n\n\n".join(
        "\n".join(f"{x} {y}" for x, y in points) for _, points in curves)
    lines = ", ".join(f"$data index {i} using 1:2 with linespoints lw 2 title '{label}'"
                      for i, (label, _) in enumerate(curves))
    script = f"""
set terminal svg size 720,420 dynamic background '#ffffff' name 'plot'
set output '{path}'
set title '{title}'
set xlabel '{axis}'
set ylabel 'CPU seconds'
set logscale xy
set format y '%.0te%T'
set grid
set key left top
$data << EOD
{data}
EOD
plot {lines}
"""
    subprocess.run(["gnuplot"], input=script, text=True, check=True)


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--write", type=pathlib.Path)
    parser.add_argument("goals", type=pathlib.Path)
    parser.add_argument("results", type=pathlib.Path)
    options = parser.parse_args()

    times = read_results(options.results)
    lines = [line for line in options.goals.read_text().splitlines() if line and line[0] != "#"]
    everything = [Comparison(line, times) for line in lines]
    measured = [c for c in everything if c.measured]
    print_table(measured)
    missing = len(everything) - len(measured)
    met = sum(c.met for c in measured)
    print(f"\n{met} of {len(measured)} goals met, {missing} not measured")
    if options.write:
        replace_tables(options.write / "performance.md", measured)
        draw_plots(options.goals.with_name("plots.tsv"), times, options.write / "plots")
    return 0


if __name__ == "__main__":
    sys.exit(main())
