#!/usr/bin/env python3
"""Parses audit files and prints what they hold, in document order.

Usage: check_audit_file.py FILE...

Prints the lines "file PATH", "element DEPTH NAME" and "attribute NAME VALUE"; paths, names and
values are percent-encoded. Ends with status 1 at the first file that is not well-formed XML, that
has another declaration than version 1.0, or that holds anything but elements and white space.
"""

import sys
from urllib.parse import quote
from xml.parsers import expat


class AuditFile:
    def __init__(self, path):
        self.depth = 0
        self.declared = False
        self.lines = ["file " + quote(path)]
        parser = expat.ParserCreate()
        parser.ordered_attributes = True
        parser.XmlDeclHandler = self.declaration
        parser.StartElementHandler = self.start
        parser.EndElementHandler = self.end
        parser.CharacterDataHandler = self.text
        parser.DefaultHandler = self.other
        with open(path, "rb") as file:
            parser.ParseFile(file)
        if not self.declared:
            raise ValueError("no XML declaration")

    def declaration(self, version, encoding, standalone):
        if (version, encoding, standalone) != ("1.0", None, -1):
            raise ValueError(f"declaration {version} {encoding} {standalone}")
        self.declared = True

    def start(self, name, attributes):
        self.lines.append(f"element {self.depth} {quote(name)}")
        for key, value in zip(attributes[::2], attributes[1::2]):
            self.lines.append(f"attribute {quote(key)} {quote(value)}")
        self.depth += 1

    def end(self, _name):
        self.depth -= 1

    def text(self, text):
        if text.strip(" \n"):
            raise ValueError(f"text {text!r}")

    def other(self, data):
        if data.strip(" \n"):
            raise ValueError(f"unexpected {data!r}")


def main(paths):
    for path in paths:
        try:
            print("\n".join(AuditFile(path).lines))
        except (expat.ExpatError, ValueError, OSError) as error:
            print(f"{path}: {error}")
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
