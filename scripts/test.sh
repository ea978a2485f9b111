#!/usr/bin/env bash
# Builds and runs every test twice: a normal build, then an AddressSanitizer + UndefinedBehaviorSanitizer build in
# which any sanitizer report fails the run. Installs missing packages first. After the normal build: the device
# build files built and tested with gn on the host, and an out-of-tree consumer of the installed SDK.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
jobs="$(nproc)"

run_suite()
{
    local build_dir="$1"
    ctest --test-dir "$build_dir" --output-on-failure -j "$jobs"
}

echo "== normal build =="
bash "$root/scripts/setup.sh" "$root/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo
run_suite "$root/build"

echo "== device build files (gn host check) =="
bash "$root/scripts/gn_check.sh" "$root/build"

echo "== installed SDK and an out-of-tree consumer =="
rm -rf "$root/build/sdk-prefix"
cmake --install "$root/build" --prefix "$root/build/sdk-prefix" >/dev/null
bash "$root/scripts/consumer_test.sh" "$root/build/sdk-prefix" "$root/build/consumer"

echo "== sanitizer build (ASan + UBSan) =="
bash "$root/scripts/setup.sh" "$root/build-asan" -DCMAKE_BUILD_TYPE=Debug -DTARNBY_SANITIZE=ON \
    -DTARNBY_BUILD_BENCHMARKS=OFF
ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1" \
UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1" \
    run_suite "$root/build-asan"
