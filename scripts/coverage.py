#!/usr/bin/env python3
"""Prints the share of lines that a coverage build has run, by folder.

usage: scripts/coverage.py BUILD

Reads what the compiler and the programs left in the build folder with gcov, which comes with the
compiler. Counts the library, its headers and the agent; a line that several objects hold counts once.
"""

import gzip
import json
import pathlib
import subprocess
import sys
import tempfile

FOLDERS = ("include", "core", "config", "filter", "output", "alert", "syslog", "monitor", "crypto",
           "components", "agent", "tools")


def reports(build):
    """Yields gcov's report on each object file."""
    # By the compiler's notes, which an object has even when it never ran.
    data = [str(path) for path in build.rglob("*.gcno")]
    if not data:
        sys.exit(f"coverage: {build} was not built with --coverage")
    with tempfile.TemporaryDirectory() as folder:
        # --hash-filenames keeps reports on sources of one name apart.
        subprocess.run(["gcov", "--json-format", "--hash-filenames", *data], cwd=folder, check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        for path in pathlib.Path(folder).glob("*.gcov.json.gz"):
            with gzip.open(path) as file:
                yield json.load(file)


def lines_by_file(root, build):
    """Maps each source, relative to the root, to {line number: times it ran}."""
    files = {}
    for report in reports(build):
        start = pathlib.Path(report["current_working_directory"])
        for entry in report["files"]:
            path = (start / entry["file"]).resolve()
            if not path.is_relative_to(root) or path.is_relative_to(build):
                continue
            lines = files.setdefault(path.relative_to(root), {})
            for line in entry["lines"]:
                number = line["line_number"]
                lines[number] = max(lines.get(number, 0), line["count"])
    return files


def print_row(name, counts):
    ran = sum(1 for count in counts if count > 0)
    print(f"{name:<40} {len(counts):>7} {ran:>7} {100 * ran / max(len(counts), 1):>6.1f} %")


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    root = pathlib.Path(__file__).resolve().parent.parent
    build = pathlib.Path(sys.argv[1]).resolve()
    files = lines_by_file(root, build)

    print(f"\n{'folder':<40} {'lines':>7} {'ran':>7} {'share':>8}")
    everything = []
    for folder in FOLDERS:
        counts = [count for path, lines in files.items() if path.parts[0] == folder
                  for count in lines.values()]
        if counts:
            print_row(folder, counts)
            everything += counts
    print_row("all", everything)


main()
