#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Mutation sweep of the library and the host layer: applies each mutant of scripts/mutants.txt alone to a scratch copy of the tree, rebuilds what
# changed (ccache keeps the unmutated objects), runs the library's test binaries (stopping at the first failure) and
# records whether the mutant was killed. A mutant whose anchor is not found exactly once, or that does not build, is
# reported and not counted.
#   Usage: scripts/mutation_sweep.sh [results-file] [mutant-id...]
#   Env:   SWEEP_DIR (scratch folder, default build/mutation), SWEEP_TESTS (test binaries), SWEEP_TIMEOUT (s per binary)
set -uo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
results="${1:-$root/build/mutation/results.txt}"
shift || true
only=("$@")
work="${SWEEP_DIR:-$root/build/mutation}"
tests="${SWEEP_TESTS:-callback_skeleton_test collaboration_test media_transfer_test pending_test records_test service_access_test c_utils_test ipc_test ipc_wire_test hilog_test xproc_test xproc_test:simulated write_fault_sweep_test panel_api_test}"
limit="${SWEEP_TIMEOUT:-180}"
src="$work/src"
build="$work/build"

mkdir -p "$work"
rm -rf "$src"
mkdir -p "$src"
(cd "$root" && git ls-files -co --exclude-standard | tar -cf - -T -) | tar -xmf - -C "$src" # fresh times: objects of an earlier mutant never look newer
if [ ! -f "$build/build.ninja" ]; then
    cmake -S "$src" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTARNBY_BUILD_BENCHMARKS=OFF \
        -DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache >/dev/null || exit 1
fi

build_tests()
{
    # shellcheck disable=SC2086
    cmake --build "$build" -j2 --target ${tests//:simulated/} tarnby_demo >"$work/build.log" 2>&1
}

# A test "binary:simulated" runs that cross-process binary's in-process cases (its wait-time and thread-cap tests).
run_tests()
{
    local test binary args
    for test in $tests; do
        binary="${test%%:*}"
        args=(--gtest_fail_fast)
        if [ "$binary" != "$test" ]; then
            args+=(--simulated "--gtest_filter=WaitTimeTest.*:ThreadCapTest.*")
        fi
        if ! timeout "$limit" "$build/$(find_binary "$binary")" "${args[@]}" >"$work/run.log" 2>&1; then
            echo "$test"
            return 1
        fi
    done
    return 0
}

find_binary()
{
    (cd "$build" && find . -name "$1" -type f -perm -u+x | head -1)
}

# Replaces the one occurrence of an anchor ("\n" stands for a line break); prints nothing and fails otherwise.
mutate()
{
    python3 - "$@" <<'PY'
import sys
path, old, new = sys.argv[1], sys.argv[2].replace("\\n", "\n"), sys.argv[3].replace("\\n", "\n")
text = open(path).read()
if text.count(old) != 1:
    sys.exit(1)
open(path, "w").write(text.replace(old, new))
PY
}

build_tests || { echo "the unmutated tree does not build; see $work/build.log"; exit 1; }
if failed="$(run_tests)"; then :; else
    echo "the unmutated tree fails $failed; see $work/run.log"
    exit 1
fi

: >"$results"
killed=0
survived=0
skipped=0
while IFS= read -r line; do
    case "$line" in '#'* | '') continue ;; esac
    id="${line%% |> *}"
    rest="${line#* |> }"
    file="${rest%% |> *}"
    rest="${rest#* |> }"
    old="${rest%% |> *}"
    new="${rest#* |> }"
    if [ ${#only[@]} -gt 0 ] && [[ ! " ${only[*]} " == *" $id "* ]]; then
        continue
    fi
    cp "$src/$file" "$work/original"
    if ! mutate "$src/$file" "$old" "$new"; then
        verdict="anchor-not-found"
        skipped=$((skipped + 1))
    elif ! build_tests; then
        verdict="does-not-build"
        skipped=$((skipped + 1))
    elif failed="$(run_tests)"; then
        verdict="SURVIVED"
        survived=$((survived + 1))
    else
        verdict="killed by $failed"
        killed=$((killed + 1))
    fi
    cp "$work/original" "$src/$file"
    touch "$src/$file"
    printf '%-36s %s\n' "$id" "$verdict" | tee -a "$results"
done <"$src/scripts/mutants.txt"
build_tests
summary="killed $killed, survived $survived, not applicable $skipped"
echo "$summary" | tee -a "$results"
