#!/usr/bin/env python3
"""Tells how the kept events of audit files follow each other.

usage: kept_order.py FILE...

The records' numbers stand in their Object1, as in "n17.load.acme"; the files are read in the order
given. Prints "records R disorder D switches S odd-pairs P": how many records do not follow a smaller
number, how often even numbers are followed by odd ones or the reverse, and of how many pairs of
numbers 2k and 2k+1 not exactly one was kept, from the first record's pair to the last's.
"""

import sys
from xml.parsers import expat


class Order:
    def __init__(self):
        self.numbers = []

    def read(self, path):
        parser = expat.ParserCreate()
        parser.StartElementHandler = self.element
        with open(path, "rb") as file:
            parser.ParseFile(file)

    def element(self, name, attributes):
        if name == "EDADataRecord":
            self.numbers.append(int(attributes["Object1"].split(".", 1)[0][1:]))


def main(paths):
    order = Order()
    for path in paths:
        order.read(path)
    numbers = order.numbers
    following = list(zip(numbers, numbers[1:]))
    kept = {}
    for number in numbers:
        kept[number // 2] = kept.get(number // 2, 0) + 1
    pairs = range(numbers[0] // 2, numbers[-1] // 2 + 1)
    print(
        "records", len(numbers),
        "disorder", sum(first >= second for first, second in following),
        "switches", sum(first % 2 != second % 2 for first, second in following),
        "odd-pairs", sum(kept.get(pair, 0) != 1 for pair in pairs),
    )


if __name__ == "__main__":
    main(sys.argv[1:])
