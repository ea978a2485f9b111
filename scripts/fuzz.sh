#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Runs every libFuzzer target for <seconds> (default 1800), two at a time, from its seed corpus in the repository;
# new inputs are kept in build-asan/test/fuzztest/<name>_corpus, findings go to build-asan/test/fuzztest/findings/.
# Prints executions and coverage per target; fails on any finding. Usage: scripts/fuzz.sh [seconds]
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
seconds="${1:-1800}"
build="$root/build-asan"
targets=(client parcel emulator frame)

bash "$root/scripts/setup.sh" "$build" -DCMAKE_BUILD_TYPE=Debug -DTARNBY_SANITIZE=ON -DTARNBY_BUILD_BENCHMARKS=OFF \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++

run_target()
{
    local name="$1" dir="$build/test/fuzztest"
    mkdir -p "$dir/${name}_corpus" "$dir/findings"
    "$dir/${name}_fuzzer" -max_total_time="$seconds" -timeout=10 -print_final_stats=1 \
        -artifact_prefix="$dir/findings/$name-" "$dir/${name}_corpus" "$root/test/fuzztest/${name}_fuzzer/corpus" \
        >"$dir/$name.log" 2>&1
}

failed=0
for ((i = 0; i < ${#targets[@]}; i += 2)); do
    pids=()
    for name in "${targets[@]:i:2}"; do
        run_target "$name" &
        pids+=("$!")
    done
    for pid in "${pids[@]}"; do
        wait "$pid" || failed=1
    done
done
for name in "${targets[@]}"; do
    log="$build/test/fuzztest/$name.log"
    echo "$name: $(grep -E '^#[0-9]+[[:space:]]+DONE' "$log" | tail -n1) $(grep -E 'SUMMARY|deadly' "$log" | head -n1)"
done
exit "$failed"
