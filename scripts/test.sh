#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds and runs every test three times: a normal build; an AddressSanitizer + UndefinedBehaviorSanitizer build
# (clang) that also runs each libFuzzer target for a short while; and a ThreadSanitizer build. Any sanitizer report
# or fuzzer finding fails the run. Installs missing packages first. After the normal build: the device build files
# built and tested with gn on the host, and an out-of-tree consumer of the installed SDK.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
jobs="$(nproc)"

run_suite()
{
    local build_dir="$1"
    shift
    ctest --test-dir "$build_dir" --output-on-failure -j "$jobs" "$@"
}

echo "== normal build =="
bash "$root/scripts/setup.sh" "$root/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
run_suite "$root/build"

echo "== API reference (doxygen; an undocumented public name or a warning fails) =="
cmake --build "$root/build" --target docs

echo "== device build files (gn host check) =="
bash "$root/scripts/gn_check.sh" "$root/build"

echo "== installed SDK and an out-of-tree consumer =="
rm -rf "$root/build/sdk-prefix"
cmake --install "$root/build" --prefix "$root/build/sdk-prefix" >/dev/null
bash "$root/scripts/consumer_test.sh" "$root/build/sdk-prefix" "$root/build/consumer"

echo "== examples against the installed SDK, in one process and against tarnby_emulator_server =="
bash "$root/scripts/examples_test.sh" "$root/build/sdk-prefix" "$root/build/examples"

echo "== binary interface (exported symbols, abidiff against the record) =="
bash "$root/scripts/abi_check.sh" "$root/build"

echo "== sanitizer build (ASan + UBSan, clang, with the fuzz targets) =="
bash "$root/scripts/setup.sh" "$root/build-asan" -DCMAKE_BUILD_TYPE=Debug -DTARNBY_SANITIZE=ON \
    -DTARNBY_BUILD_BENCHMARKS=OFF -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++
ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1" \
UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1" \
    run_suite "$root/build-asan"

echo "== ThreadSanitizer build =="
bash "$root/scripts/setup.sh" "$root/build-tsan" -DCMAKE_BUILD_TYPE=Debug -DTARNBY_TSAN=ON \
    -DTARNBY_BUILD_BENCHMARKS=OFF
TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1" \
    run_suite "$root/build-tsan"
