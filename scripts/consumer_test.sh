#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds and runs the out-of-tree consumer (test/consumer) against an installed SDK, once through
# find_package(TarnbyClient) and once through pkg-config alone.
# Usage: scripts/consumer_test.sh <installed prefix> <work dir>
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
prefix="$(realpath "$1")"
work="$2"
consumer="$root/test/consumer"
rm -rf "$work"
mkdir -p "$work"

echo "== consumer through find_package(TarnbyClient) in $prefix =="
cmake -S "$consumer" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake"
"$work/cmake/consumer"

echo "== consumer through pkg-config in $prefix =="
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig:$prefix/lib/$(gcc -print-multiarch)/pkgconfig"
libdir="$(pkg-config --variable=libdir tarnby_client)"
# shellcheck disable=SC2046 # the flags are separate words
g++ -std=c++17 "$consumer/consumer.cpp" $(pkg-config --cflags --libs tarnby_emulator tarnby_client) \
    -Wl,-rpath,"$libdir" -o "$work/consumer-pkg-config"
"$work/consumer-pkg-config"
