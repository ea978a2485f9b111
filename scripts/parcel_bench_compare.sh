#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Compares two builds of benchmarks/parcel_benchmark on the same machine: runs them alternately ROUNDS times
# (default 5) and prints, per benchmark, the median CPU time of each and the ratio new/old (CPU time, because wall
# time is unreliable on a shared machine).
#   [FILTER=regex] scripts/parcel_bench_compare.sh <old parcel_benchmark> <new parcel_benchmark> [rounds]
set -euo pipefail

old="$1"
new="$2"
rounds="${3:-5}"
out="$(mktemp -d)"
trap 'rm -rf "$out"' EXIT

for round in $(seq "$rounds"); do
    for side in old new; do
        "${!side}" --benchmark_format=json --benchmark_min_time=0.2 --benchmark_filter="${FILTER:-BM_Parcel}" \
            >"$out/$side.$round.json"
    done
done

python3 - "$out" "$rounds" <<'PY'
import json, statistics, sys
folder, rounds = sys.argv[1], int(sys.argv[2])
times = {"old": {}, "new": {}}
for side in times:
    for r in range(1, rounds + 1):
        for b in json.load(open(f"{folder}/{side}.{r}.json"))["benchmarks"]:
            times[side].setdefault(b["name"], []).append(b["cpu_time"])
print(f"{'benchmark':40} {'old ns':>12} {'new ns':>12} {'new/old':>8}")
for name, olds in times["old"].items():
    o, n = statistics.median(olds), statistics.median(times["new"][name])
    print(f"{name:40} {o:12.1f} {n:12.1f} {n / o:8.2f}")
PY
