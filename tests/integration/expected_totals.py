#!/usr/bin/env python3
"""What the agent must make of a change log, found without any of the agent's code.

usage: expected_totals.py CHANGE_LOG FILTER_FILE

Prints one figure a line ("kept 12", "code 20001 5"), then every kept event in the log's order as
"event UTC DATE|CODE|USER|NODE|OBJECT|ATTRIBUTE|VALUE|SECOND OBJECT".
"""

import base64
import collections
import re
import sys
import time
import xml.etree.ElementTree as ElementTree

OPERATIONAL = {"entrycsn", "entryuuid", "modifiersname", "modifytimestamp", "creatorsname",
               "createtimestamp", "structuralobjectclass"}
# Attribute: the code when a value comes, the code when one goes.
SPECIAL = {
    "userpassword": (20007, 20007),
    "member": (20008, 20009),
    "uniquemember": (20008, 20009),
    "groupmembership": (20008, 20009),
    "securityequals": (20008, 20009),
    "olcsyncrepl": (20010, 20011),
    "olcmirrormode": (20010, 20011),
    "olcattributetypes": (20012, 20013),
    "olcobjectclasses": (20014, 20015),
    "olcldapsyntaxes": (20016, 20016),
    "olcditcontentrules": (20016, 20016),
    "olcobjectidentifier": (20016, 20016),
}
PASSWORD = 20007
MEMBER = (20008, 20009)

Event = collections.namedtuple("Event", "date code user node object attribute value second")


def components(name):
    """The (type, value) pairs of a distinguished name without escapes, the entry's own first."""
    return [tuple(part.strip().split("=", 1)) for part in name.split(",") if part.strip()]


def dotted(name):
    if "\\" in name:
        raise ValueError("this script knows no escaped characters: " + name)
    return ".".join(value for _, value in components(name))


def parent(name):
    return [(kind.lower(), value.lower()) for kind, value in components(name)[1:]]


def records(path):
    """Yields (comment, lines) of each record; a line is (attribute, text), or None for "-"."""
    with open(path, "rb") as log:
        text = log.read().decode("utf-8")
    for block in re.split(r"\n\s*\n", text):
        unfolded = block.replace("\n ", "").split("\n")
        comment = next((line for line in unfolded if re.match(r"# (add|delete|mod)", line)), None)
        lines = [value(line) for line in unfolded if line and not line.startswith("#")]
        if comment and lines:
            yield comment, lines


def value(line):
    if line == "-":
        return None
    attribute, encoded, text = re.fullmatch(r"([^:]+):(:?) ?(.*)", line).groups()
    return attribute, base64.b64decode(text).decode("utf-8") if encoded else text


def changes(lines):
    """Splits the lines of a modify record into (kind, attribute, values)."""
    change = None
    for line in lines + [None]:
        if line is None:
            if change:
                yield change
            change = None
        elif change is None:
            change = (line[0], line[1], [])
        else:
            change[2].append(line[1])


def touched(attribute, values, removed):
    """Yields (code, attribute, value, second object) for each value of one change."""
    name = attribute.split(";")[0].lower()
    if name in OPERATIONAL:
        return
    come, go = SPECIAL.get(name, (20005, 20006))
    code = go if removed else come
    for text in values or [""]:
        second = dotted(text) if code in MEMBER and text else ""
        yield code, attribute, "" if code == PASSWORD else text, second


def additions(lines):
    for attribute, text in lines:
        yield from touched(attribute, [text], False)


def modifications(lines):
    for kind, attribute, values in changes(lines):
        removed = kind == "delete" or (kind == "replace" and not values)
        yield from touched(attribute, values, removed)


def events(path):
    for comment, lines in records(path):
        words = comment.split()
        user = dotted(words[4])
        node = words[5].removeprefix("IP=").rsplit(":", 1)[0]
        date = time.strftime("%Y-%m-%dT%H:%M:%S", time.gmtime(int(words[2])))
        entry = lines[0][1]
        kind = lines[1][1]
        if kind == "add":
            yield Event(date, 20001, user, node, dotted(entry), "", "", "")
            for code, attribute, text, second in additions(lines[2:]):
                yield Event(date, code, user, node, dotted(entry), attribute, text, second)
        elif kind == "delete":
            yield Event(date, 20002, user, node, dotted(entry), "", "", "")
        elif kind == "modrdn":
            asked = dict(lines[2:])
            above = asked.get("newsuperior", entry.split(",", 1)[1])
            target = asked["newrdn"] + "," + above
            code = 20003 if parent(target) == parent(entry) else 20004
            yield Event(date, code, user, node, dotted(entry), "", "", dotted(target))
        else:
            for code, attribute, text, second in modifications(lines[2:]):
                yield Event(date, code, user, node, dotted(entry), attribute, text, second)


class Names:
    """A list of a statement; each entry is laid over what the entries before it left behind."""

    def __init__(self, flag, entries, convert):
        self.every = flag
        self.patterns = []
        scratch = ""
        for entry in entries:
            entry = (dotted(entry) if convert and "=" in entry else entry).upper()
            scratch = entry + scratch[len(entry):]
            self.patterns.append(scratch)

    def covers(self, name):
        return self.every or any(pattern in name.upper() for pattern in self.patterns)


def flag(element, name):
    return int(element.get(name)) != 0


class Statement:
    def __init__(self, element):
        def names(group, entry, every, convert=False):
            entries = [found.get("Name").strip("*") for found in element.iter(entry)]
            return Names(flag(element.find(group), every), entries, convert)

        self.enabled = flag(element, "Enabled")
        self.include = flag(element, "IncludeExclude")
        if not flag(element, "AllDay"):
            raise ValueError("this script knows no times of day")
        self.context = dotted(element.get("Context"))
        self.below = flag(element, "IncludeSubContainers")
        self.all_codes = flag(element.find("Operations"), "AllOperations")
        self.codes = {int(found.get("EventId")) for found in element.iter("Operation")}
        self.users = names("Users", "User", "AllUsers", convert=True)
        self.objects = names("Objects", "Object", "AllObjects", convert=True)
        if not flag(element.find("Classes"), "AllClasses"):
            raise ValueError("this script knows no classes")
        self.attributes = names("Attributes", "Attribute", "AllAttributes")
        self.values = names("AttributeValues", "AttributeValue", "AllAttributeValues")
        self.no_alerts = flag(element.find("Action"), "ExcludeAlert")
        self.alerts = [kind for kind in ("SNMP", "SysLog", "SMTP")
                       if flag(element.find(kind), "Alert")]

    def in_context(self, container):
        if not self.context:
            return True
        if self.below:
            return self.context in container
        return self.context.lower() == container.lower()

    def covers(self, event):
        own, _, container = event.object.partition(".")
        touched = event.attribute != ""
        return (self.enabled
                and (self.all_codes or event.code in self.codes)
                and self.in_context(container or "[Root]")
                and self.users.covers(event.user)
                and self.objects.covers(own)
                and (not touched or self.attributes.covers(event.attribute))
                and (not touched or self.values.covers(event.value)))


def alerts(statements):
    """The number of alerts that the statements which cover a kept event gather."""
    gathered = []
    for statement in statements:
        if statement.no_alerts:
            return 0
        gathered += [kind for kind in statement.alerts if kind == "SMTP" or kind not in gathered]
    return len(gathered)


def main(log, filter_file):
    statements = [Statement(element)
                  for element in ElementTree.parse(filter_file).getroot().iter("Filter")]
    read = gathered = 0
    kept = []
    for event in events(log):
        read += 1
        covering = [statement for statement in statements if statement.covers(event)]
        if covering and all(statement.include for statement in covering):
            kept.append(event)
            gathered += alerts(covering)
    print(f"read {read}\nkept {len(kept)}\ndropped {read - len(kept)}\nalerts {gathered}")
    for code, count in sorted(collections.Counter(event.code for event in kept).items()):
        print(f"code {code} {count}")
    for event in kept:
        print("event " + "|".join(str(field) for field in event))


if __name__ == "__main__":
    main(*sys.argv[1:])
