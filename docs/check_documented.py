#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Fails when a public name of the given headers has no documentation in doxygen's XML output.

Doxygen's own warnings miss two kinds of names: enum values (the warning only exists from doxygen 1.9.7 on) and
destructors. This walks every class, struct, union, namespace and file that doxygen read and asks each non-private
member, each enum value and each class for a brief or a detailed description.

Usage: check_documented.py <doxygen xml dir> <source root> <header or directory under the root>...
Doxygen records paths relative to the source root (STRIP_FROM_PATH); they are resolved against the given root.
"""
import os
import sys
import xml.etree.ElementTree as ET

COMPOUND_KINDS = {"class", "struct", "union", "namespace", "file"}
RECORD_KINDS = {"class", "struct", "union"}


def described(element):
    """True when the element's brief or detailed description holds any text."""
    for tag in ("briefdescription", "detaileddescription"):
        node = element.find(tag)
        if node is not None and "".join(node.itertext()).strip():
            return True
    return False


def in_scope(element, source_root, roots):
    """True when the element's declaration lies in one of the checked headers or directories."""
    location = element.find("location")
    if location is None:
        return False
    path = os.path.realpath(os.path.join(source_root, location.get("file", "")))
    return any(path == root or path.startswith(root + os.sep) for root in roots)


def line_of(element):
    location = element.find("location")
    return "{}:{}".format(location.get("file"), location.get("line"))


def names_of(compound, source_root, roots, seen):
    """Yields (documented, where, what) for the compound and each of its members declared in the checked headers."""
    kind = compound.get("kind")
    name = compound.findtext("compoundname")
    if kind in RECORD_KINDS and in_scope(compound, source_root, roots):
        yield described(compound), line_of(compound), "{} {}".format(kind, name)
    for member in compound.iter("memberdef"):
        if member.get("prot") == "private" or member.get("id") in seen or not in_scope(member, source_root, roots):
            continue
        seen.add(member.get("id"))
        qualified = "{}::{}".format(name, member.findtext("name"))
        yield described(member), line_of(member), "{} {}".format(member.get("kind"), qualified)
        for value in member.iter("enumvalue"):
            yield described(value), line_of(member), "enum value {}::{}".format(qualified, value.findtext("name"))


def main(argv):
    if len(argv) < 4:
        sys.stderr.write(__doc__)
        return 2
    xml_dir = argv[1]
    source_root = os.path.realpath(argv[2])
    roots = [os.path.join(source_root, path) for path in argv[3:]]
    absent = [root for root in roots if not os.path.exists(root)]
    if absent:
        print("no such header or directory: {}".format(", ".join(absent)), file=sys.stderr)
        return 2
    index = ET.parse(os.path.join(xml_dir, "index.xml")).getroot()
    seen = set()
    documented = 0
    missing = []
    for entry in index.findall("compound"):
        if entry.get("kind") not in COMPOUND_KINDS:
            continue
        compound = ET.parse(os.path.join(xml_dir, entry.get("refid") + ".xml")).getroot().find("compounddef")
        for ok, where, what in names_of(compound, source_root, roots, seen):
            if ok:
                documented += 1
            else:
                missing.append("{}: error: {} is not documented.".format(where, what))
    for line in sorted(missing):
        print(line, file=sys.stderr)
    if missing:
        print("{} public names lack documentation".format(len(missing)), file=sys.stderr)
        return 1
    if documented == 0:
        print("no public names found under {}: wrong XML directory or header paths?".format(argv[3:]),
              file=sys.stderr)
        return 1
    print("{} public names documented".format(documented))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
