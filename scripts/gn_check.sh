#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Host check of the device build files (bundle.json and the BUILD.gn files): gn builds the library and its unit tests
# from them with the stand-in templates of host/gn, against the host platform pieces of a CMake build, and runs the
# tests. Also fails when gn and CMake compile different sets of the component's sources.
# Usage: scripts/gn_check.sh [cmake-build-dir]   (default: build; its platform pieces are built first)
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
cmake_build="$(realpath "${1:-$root/build}")"
gn_dir="$root/build-gn"

dest_path="$(python3 -c 'import json,sys; print(json.load(open(sys.argv[1]))["segment"]["destPath"])' "$root/bundle.json")"
component="//$dest_path"

# A source root laid out like the device's: //build is the stand-in, the component sits at its destPath.
assemble_root()
{
    rm -rf "$gn_dir/root"
    mkdir -p "$gn_dir/root/$(dirname "$dest_path")"
    ln -s "$root/host/gn/.gn" "$gn_dir/root/.gn"
    ln -s "$root/host/gn/build" "$gn_dir/root/build"
    ln -s "$root" "$gn_dir/root/$dest_path"
}

generate()
{
    local wrapper=""
    if command -v ccache >/dev/null; then
        wrapper="ccache"
    fi
    gn gen "$gn_dir/out" --root="$gn_dir/root" \
        --args="host_platform_dir=\"$cmake_build\" component_dir=\"$component\" cc_wrapper=\"$wrapper\""
    gn check "$gn_dir/out" --root="$gn_dir/root"
}

run_unit_tests()
{
    local failed=0 test_binary
    for test_binary in $(gn ls "$gn_dir/out" --root="$gn_dir/root" "$component/test/unittest/*" \
        --type=executable --as=output); do
        if ! (cd "$gn_dir/out" && "./$test_binary" --gtest_brief=1 >"$test_binary.log" 2>&1); then
            echo "FAILED: $test_binary (log: $gn_dir/out/$test_binary.log)"
            tail -n 30 "$gn_dir/out/$test_binary.log"
            failed=1
        else
            echo "passed: $test_binary"
        fi
    done
    return $failed
}

cmake --build "$cmake_build" --target c_utils hilog ipc samgr
assemble_root
generate
python3 "$root/host/gn/compare_sources.py" "$root" "$cmake_build/compile_commands.json" "$gn_dir/out"
ninja -C "$gn_dir/out" -j 2 "${dest_path}/test/unittest:unittest"
run_unit_tests
