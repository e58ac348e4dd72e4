#!/usr/bin/env python3
"""Prints the share of lines and branches that a coverage build has run, by folder.

usage: scripts/coverage.py BUILD [--missing PATH]

Reads what the compiler and the programs left in the build folder with gcov, which comes with the
compiler. What several objects hold counts once. Branches that only an exception takes, which the
compiler makes for nearly every call, do not count. Fails where a share is below its goal.

  --missing PATH  instead print the lines and branches of a file or folder that did not run
"""

import argparse
import collections
import gzip
import json
import pathlib
import subprocess
import sys
import tempfile

# The folders of each part, and the least share of its lines and branches, in per cent.
PARTS = (
    ("library", 97, 90,
     ("include", "core", "config", "filter", "output", "alert", "syslog", "monitor", "crypto")),
    ("agent, components, tools", 90, 80, ("agent", "components", "tools")),
)


class Source:
    """How often the lines and the branches of one source ran."""

    def __init__(self):
        self.lines = collections.Counter()
        self.branches = collections.Counter()  # by line, function (of a template, say) and place

    def add(self, line):
        number = line["line_number"]
        self.lines[number] = max(self.lines[number], line["count"])
        branches = [branch for branch in line["branches"] if not branch["throw"]]
        for place, branch in enumerate(branches):
            key = number, line.get("function_name", ""), place
            self.branches[key] = max(self.branches[key], branch["count"])


def reports(build):
    """Yields gcov's report on each object file."""
    # By the compiler's notes, which an object has even when it never ran.
    data = [str(path) for path in build.rglob("*.gcno")]
    if not data:
        sys.exit(f"coverage: {build} was not built with --coverage")
    with tempfile.TemporaryDirectory() as folder:
        # --hash-filenames keeps reports on sources of one name apart.
        subprocess.run(["gcov", "--json-format", "--branch-probabilities", "--hash-filenames",
                        *data],
                       cwd=folder, check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for path in pathlib.Path(folder).glob("*.gcov.json.gz"):
            with gzip.open(path) as file:
                yield json.load(file)


def sources(root, build):
    """Maps the path of each source, relative to the root, to its Source."""
    files = collections.defaultdict(Source)
    for report in reports(build):
        start = pathlib.Path(report["current_working_directory"])
        for entry in report["files"]:
            path = (start / entry["file"]).resolve()
            if not path.is_relative_to(root) or path.is_relative_to(build):
                continue
            source = files[path.relative_to(root)]
            for line in entry["lines"]:
                source.add(line)
    return files


class Share:
    """How many of how many ran."""

    def __init__(self, counts):
        counts = list(counts)
        self.all = len(counts)
        self.ran = sum(1 for count in counts if count > 0)
        self.percent = 100 * self.ran / self.all if counts else 100.0

    def __str__(self):
        return f"{self.ran:>7} of {self.all:>6} {self.percent:>6.1f} %"


def shares(files):
    """The shares of lines and branches of a list of sources together."""
    return (Share(count for source in files for count in source.lines.values()),
            Share(count for source in files for count in source.branches.values()))


def report_parts(files):
    """Prints all shares; returns the parts that miss a goal."""
    missed = []
    print(f"\n{'folder':<26} {'lines':>25} {'branches':>25}")
    for part, lines_goal, branches_goal, folders in PARTS:
        for folder in folders:
            inside = [source for path, source in files.items() if path.parts[0] == folder]
            if inside:
                print(f"{folder:<26}", *shares(inside))
        lines, branches = shares([source for path, source in files.items()
                                  if path.parts[0] in folders])
        print(f"{part:<26} {lines} {branches}\n")
        if lines.percent < lines_goal or branches.percent < branches_goal:
            missed.append(f"{part}: less than {lines_goal} % of lines or {branches_goal} % of "
                          "branches ran")
    return missed


def report_missing(files, wanted):
    """Prints what did not run, a line of source a line."""
    for path, source in sorted(files.items()):
        if not path.is_relative_to(wanted):
            continue
        missing = collections.defaultdict(int)
        for (number, _, _), count in source.branches.items():
            missing[number] += count == 0
        text = path.read_text(encoding="utf-8").splitlines()
        for number, count in sorted(source.lines.items()):
            if count == 0 or missing[number] > 0:
                what = "never" if count == 0 else f"{missing[number]} branches"
                print(f"{path}:{number}: {what}: {text[number - 1].strip()}")


def main():
    parser = argparse.ArgumentParser(usage=__doc__, add_help=False)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--missing", type=pathlib.Path)
    arguments = parser.parse_args()
    root = pathlib.Path(__file__).resolve().parent.parent
    files = sources(root, arguments.build.resolve())
    if arguments.missing is not None:
        report_missing(files, arguments.missing)
        return
    missed = report_parts(files)
    if missed:
        sys.exit("\n".join("coverage: " + line for line in missed))


main()
