#!/usr/bin/env python3
"""Reads audit files as a receiver of them would, and prints their records.

usage: audit_files.py FILE...

Each record is its file's name and then the values of the attributes below, with 0x1F between them and
0x1E behind the last: characters that XML cannot hold. A login record lacks some attributes, whose
values are then empty. Fails at the first file that is not exactly an audit file.
"""

import os
import sys
import xml.etree.ElementTree as ElementTree

ATTRIBUTES = """Origin Source Category EventID Status UserName UserGUID NodeAddress Class1 Object1
ObjectGuid1 Attribute1 AttributeValue Class2 Object2 ObjectGuid2 ServerName TreeName RecordHash
InsertDate LogDate UTCDate""".split()
LACKING = {
    "EDA": [],
    "ELA": """Class1 Object1 ObjectGuid1 Attribute1 AttributeValue Class2 Object2
ObjectGuid2""".split(),
}


def require(condition, what):
    if not condition:
        raise ValueError(what)


def records(path):
    root = ElementTree.parse(path).getroot()
    kind = root.tag[:3]
    require(kind in LACKING and not root.attrib, "the root element")
    require(len(root) == 1 and not root[0].attrib, "the element in the root element")
    expected = [name for name in ATTRIBUTES if name not in LACKING[kind]]
    for record in root[0]:
        require(record.tag == kind + "DataRecord" and len(record) == 0, "a record's element")
        require(list(record.attrib) == expected, "the attributes: " + " ".join(record.attrib))
        yield [record.attrib.get(name, "") for name in ATTRIBUTES]


def main(paths):
    for path in paths:
        try:
            for values in records(path):
                text = "\x1f".join([os.path.basename(path), *values]) + "\x1e"
                sys.stdout.buffer.write(text.encode("utf-8"))
        except (ElementTree.ParseError, ValueError) as error:
            sys.exit(f"{path}: {error}")


if __name__ == "__main__":
    main(sys.argv[1:])
