#!/usr/bin/env python3
"""Judges what scripts/soak left: is anything lost or doubled, does anything grow?

usage: soak_report.py WORK HOME
"""

import collections
import pathlib
import sys
import xml.etree.ElementTree as ElementTree

WARM_UP = 0.2  # of the time: buffers, pools and connections reach their size


def read_rows(path):
    return [line.split("\t") for line in path.read_text().splitlines()]


def count_additions(home):
    """How often each object's addition is in the audit files."""
    files = sorted((home / "outbox").glob("EDA*.xml")) + [home / "tmp" / "EDALive.xml"]
    names = collections.Counter()
    for path in files:
        for record in ElementTree.parse(path).iter("EDADataRecord"):
            if record.get("EventID") == "20001":
                names[record.get("Object1")] += 1
    return names


def check_records(confirmed, names):
    lost = [name for name in confirmed if names[name] == 0]
    doubled = [name for name, count in names.items() if count > 1]
    print(f"changes confirmed {len(confirmed)}, lost {len(lost)}, doubled {len(doubled)}")
    return not lost and not doubled


def check_flat(title, values, allowed):
    """The high mark of the last half is not above that of the first, but for what is allowed."""
    values = values[int(len(values) * WARM_UP):]
    half = len(values) // 2
    first, last = max(values[:half]), max(values[half:])
    flat = last <= first + allowed
    print(f"{title}: at most {first} in the first half, {last} in the second: "
          f"{'flat' if flat else 'it grows'}")
    return flat


def main():
    work, home = map(pathlib.Path, sys.argv[1:])
    samples = [[int(cell) for cell in row] for row in read_rows(work / "samples.tsv")]
    restarts = collections.Counter(name for _, name in read_rows(work / "restarts.tsv"))
    print(f"{round(samples[-1][0] / 60)} minutes; restarts:",
          ", ".join(f"{name} {count}" for name, count in sorted(restarts.items())))
    confirmed = (work / "confirmed").read_text().split()
    fine = check_records(confirmed, count_additions(home))
    _, memory, descriptors, threads = zip(*samples)
    # An allocator keeps what a burst needed; a leak of one record a second would show.
    fine &= check_flat("resident memory, KiB", memory, max(memory) // 20)
    fine &= check_flat("descriptors", descriptors, 2)
    fine &= check_flat("threads", threads, 0)
    sys.exit(0 if fine else 1)


if __name__ == "__main__":
    main()
