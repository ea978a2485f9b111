# SPDX-License-Identifier: Apache-2.0
"""Fails when the gn build and the CMake build compile different sets of the component's sources.

The host platform pieces, their tests, the benchmarks and the fuzzers are host-side only and left out of the
comparison. Usage: compare_sources.py <repository> <cmake compile_commands.json> <gn out dir>
"""
import json
import os
import subprocess
import sys

HOST_ONLY = ("host/", "benchmarks/", "test/unittest/c_utils/", "test/unittest/hilog/", "test/unittest/ipc/",
             "test/fuzztest/", "test/unittest/platform_component/",
             "test/unittest/emulator_panel/")


def component_sources(entries, repository):
    sources = set()
    for entry in entries:
        path = os.path.realpath(os.path.join(entry["directory"], entry["file"]))
        relative = os.path.relpath(path, repository)
        if not relative.startswith("..") and not relative.startswith(HOST_ONLY):
            sources.add(relative)
    return sources


def main():
    repository, cmake_commands, gn_out = os.path.realpath(sys.argv[1]), sys.argv[2], sys.argv[3]
    with open(cmake_commands) as commands:
        cmake = component_sources(json.load(commands), repository)
    compdb = subprocess.run(["ninja", "-C", gn_out, "-t", "compdb", "cc", "cxx"], check=True, capture_output=True,
                            text=True).stdout
    gn = component_sources(json.loads(compdb), repository)
    for name, missing in (("gn", cmake - gn), ("CMake", gn - cmake)):
        for source in sorted(missing):
            print(f"not compiled by {name}: {source}")
    if cmake != gn:
        sys.exit("gn and CMake build different sources")
    print(f"gn and CMake compile the same {len(gn)} sources")


main()
