# SPDX-License-Identifier: Apache-2.0
"""Prints the flags of one pkg-config package as a JSON object that `gn` reads with exec_script."""
import json
import subprocess
import sys


def flags(package, option):
    return subprocess.run(["pkg-config", option, package], check=True, capture_output=True, text=True).stdout.split()


def main():
    package = sys.argv[1]
    cflags = flags(package, "--cflags")
    libs = flags(package, "--libs")
    print(json.dumps({
        "include_dirs": [f[2:] for f in cflags if f.startswith("-I")],
        "cflags": [f for f in cflags if not f.startswith("-I")],
        "lib_dirs": [f[2:] for f in libs if f.startswith("-L")],
        "libs": [f[2:] for f in libs if f.startswith("-l")],
    }))


main()
