#!/usr/bin/env python3
"""Counts the numbered records of audit files, in little memory however many there are.

usage: numbered_records.py LIMIT FOLDER...

Reads every .xml and .pending file of the folders whose name begins with EDA. A record's number stands in its Object1, as in
"n17.load.acme". Prints "files F records R" and, per remainder of the number divided by seven,
"remainder M: once O, never N, again A" for the numbers below LIMIT.
"""

import os
import sys
from xml.parsers import expat


class Count:
    def __init__(self, limit):
        self.seen = bytearray(limit)
        self.files = 0
        self.records = 0

    def read(self, path):
        parser = expat.ParserCreate()
        parser.StartElementHandler = self.element
        with open(path, "rb") as file:
            parser.ParseFile(file)
        self.files += 1

    def element(self, name, attributes):
        if name != "EDADataRecord":
            return
        self.records += 1
        number = int(attributes["Object1"].split(".", 1)[0][1:])
        self.seen[number] = min(self.seen[number] + 1, 255)


def main(limit, folders):
    count = Count(limit)
    for folder in folders:
        for name in sorted(os.listdir(folder)):
            if name.startswith("EDA") and name.endswith((".xml", ".pending")):
                count.read(os.path.join(folder, name))
    print(f"files {count.files} records {count.records}")
    for remainder in range(7):
        seen = count.seen[remainder::7]
        never, once = seen.count(0), seen.count(1)
        print(f"remainder {remainder}: once {once}, never {never}, "
              f"again {len(seen) - once - never}")


if __name__ == "__main__":
    main(int(sys.argv[1]), sys.argv[2:])
