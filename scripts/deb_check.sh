#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# Packs the SDK of a CMake build as Debian packages (cpack -G DEB), installs them on this machine with apt-get and
# builds and runs the out-of-tree consumer against the installed packages. Installs system packages: run it by hand
# or in a throw-away machine, not in the test command. Usage: scripts/deb_check.sh [cmake-build-dir]
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$(realpath "${1:-$root/build}")"
sudo=""
if [ "$(id -u)" -ne 0 ]; then
    sudo="sudo"
fi

rm -f "$build"/*.deb
(cd "$build" && cpack -G DEB)
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y "$build"/libtarnby-client*.deb
dpkg -L libtarnby-client1 libtarnby-client-dev
bash "$root/scripts/consumer_test.sh" /usr "$build/consumer-deb"
