#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The host IPC's costs beside their floors, after the normal build: the curve benchmarks in both modes (CSV), the
# goal ratios of xproc_benchmark idle and beside two spinning processes (5 repetitions, medians), and the curves
# drawn as PNG plots with gnuplot, the floor on each. Benchmarks, not tests: nothing here passes or fails on a time.
# Usage: scripts/bench_report.sh [build dir] [output dir]   (defaults: build, <build dir>/bench)
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$(realpath "${1:-$root/build}")"
out="${2:-$build/bench}"
bin="$build/benchmarks"
mkdir -p "$out"
command -v gnuplot >/dev/null || { echo "gnuplot is missing: apt-get install gnuplot-nox" >&2; exit 1; }

# The library and the runtime log to stderr; the log of a run goes next to its table.
for mode in xproc inproc; do
    echo "== curves, $mode =="
    "$bin/curves_benchmark" --mode "$mode" --csv-dir "$out" --benchmark_min_time=0.2 --benchmark_color=false \
        >"$out/curves_$mode.txt" 2>"$out/curves_$mode.log"
done
for load in 0 2; do
    echo "== goal ratios beside $load spinning processes =="
    "$bin/xproc_benchmark" --background-load "$load" --benchmark_repetitions=5 \
        --benchmark_enable_random_interleaving=true --benchmark_report_aggregates_only=true --benchmark_color=false \
        >"$out/goals_load$load.txt" 2>"$out/goals_load$load.log"
    grep '^medians:' "$out/goals_load$load.txt"
done

echo "== p99 / p50 of the cross-process round trip with 4 client threads, idle (goal <= 3x) =="
awk -F, 'NR > 1 && $1 == 4 { printf "p50 %.1f us, p99 %.1f us: %.2fx\n", $3, $5, $5 / $3 }' "$out/xproc_Latency.csv"
echo "== memory (goals: <= 64 KiB per idle connection, <= 1 KiB per callback object) =="
awk -F, 'NR > 1 { printf "per idle connection: %.0f bytes\n", $2 }' "$out/xproc_MemoryPerIdleConnection.csv"
awk -F, 'NR > 1 { printf "per callback object: %.0f bytes in the service, %.0f in the client\n", $3, $2 }' \
    "$out/xproc_MemoryPerCallbackObject.csv"

gnuplot -e "dir='$out'" "$root/scripts/bench_plots.gp"
echo "plots: $(cd "$out" && ls ./*.png | tr '\n' ' ')"
