#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the examples (examples/) against an installed SDK, as an application is built, and runs each one twice:
# with the service emulator in its own process, and against tarnby_emulator_server in a second process. Each example
# checks what it saw and ends with "<name>: ok".
# Usage: scripts/examples_test.sh <installed prefix> <work dir>
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
prefix="$(realpath "$1")"
work="$2"
rm -rf "$work"
mkdir -p "$work"

cmake -S "$root/examples" -B "$work" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work"

failed=0
for example in chat audio surface device_connect; do
    for mode in in-process server; do
        args=()
        if [ "$mode" = server ]; then
            args=(--server "$prefix/bin/tarnby_emulator_server")
        fi
        output="$("$work/$example" "${args[@]}" 2>"$work/$example.$mode.log")" || true
        last="$(printf '%s\n' "$output" | tail -n 1)"
        if [ "$last" = "${example//_/-}: ok" ]; then
            echo "$example ($mode): ok"
        else
            echo "$example ($mode) FAILED:"
            printf '%s\n' "$output"
            tail -n 20 "$work/$example.$mode.log"
            failed=1
        fi
    done
done
exit "$failed"
