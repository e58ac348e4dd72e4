#!/usr/bin/env python3
"""Reads the audit files of homes, and prints which events they hold.

usage: audit_records.py HOME...

Archives that were taken out of the outbox lie in the folder "taken". Two lines a home, "HOME EDA KEY..." and "HOME ELA KEY...", in the order of the archives and with the
live file last. A key is the changed object and the value, or the user of a login. Fails at the
first file that is not well-formed, and at any other file of a crash that was left behind.
"""

import os
import sys
import xml.etree.ElementTree as ElementTree

LEFT = (".new", ".repaired", ".pending", ".position")


def key(record):
    if record.tag == "ELADataRecord":
        return record.attrib["UserName"]
    return record.attrib["Object1"] + "=" + record.attrib["AttributeValue"]


def files(home, kind):
    for folder in ("taken", "outbox"):
        path = os.path.join(home, folder)
        for name in sorted(os.listdir(path) if os.path.isdir(path) else []):
            if name.startswith(kind):
                yield os.path.join(path, name)
    live = os.path.join(home, "tmp", kind + "Live.xml")
    if os.path.exists(live):
        yield live


def main(homes):
    for home in homes:
        left = [name for name in os.listdir(os.path.join(home, "tmp")) if name.endswith(LEFT)]
        if left:
            sys.exit(f"{home}: left behind: {left}")
        for kind in ("EDA", "ELA"):
            keys = []
            for path in files(home, kind):
                try:
                    keys += [key(record) for record in ElementTree.parse(path).getroot()[0]]
                except ElementTree.ParseError as error:
                    sys.exit(f"{path}: {error}")
            print(home, kind, *keys)


if __name__ == "__main__":
    main(sys.argv[1:])
