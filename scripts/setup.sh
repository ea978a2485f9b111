#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Installs what the build needs on a Debian machine (only the packages that are missing), then configures and builds
# one build folder. Usage: scripts/setup.sh <build-dir> [extra cmake arguments...]
set -euo pipefail

PACKAGES=(cmake ninja-build g++ clang libclang-rt-dev pkg-config libgtest-dev libgmock-dev libbenchmark-dev
    libjsoncpp-dev generate-ninja python3 ccache abigail-tools doxygen graphviz gnuplot-nox
    libcpp-httplib-dev chromium chromium-driver python3-selenium)

install_missing_packages()
{
    local missing=()
    for package in "${PACKAGES[@]}"; do
        if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
            missing+=("$package")
        fi
    done
    if [ ${#missing[@]} -eq 0 ]; then
        return
    fi
    echo "Installing: ${missing[*]}"
    local sudo=""
    if [ "$(id -u)" -ne 0 ]; then
        sudo="sudo"
    fi
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
}

main()
{
    local root build_dir
    root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
    build_dir="$1"
    shift
    install_missing_packages
    cmake -S "$root" -B "$build_dir" -G Ninja "$@"
    cmake --build "$build_dir" -j "$(nproc)"
}

main "$@"
