#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Builds the project (installing missing packages first) and runs the demo against the service emulator.
# Arguments go to tarnby_demo (e.g. `collaboration --log`; `--help` lists them).
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
bash "$root/scripts/setup.sh" "$root/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
exec "$root/build/tools/tarnby_demo/tarnby_demo" "$@"
