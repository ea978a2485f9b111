# SPDX-License-Identifier: Apache-2.0
"""Fails when an inner kit's header list in bundle.json differs from the headers in its header_base folder."""
import os
import sys


def main():
    base, listed = sys.argv[1], set(sys.argv[2:])
    present = {name for name in os.listdir(base) if name.endswith(".h")}
    missing, unlisted = sorted(listed - present), sorted(present - listed)
    if missing or unlisted:
        sys.exit(f"bundle.json headers of {base}: missing {missing}, not listed {unlisted}")


main()
