#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# The library's binary interface, checked against its record (interfaces/innerkits/abi/, written by abidw):
#   - the exported symbols are the library's namespace only (with its classes' type information, virtual tables and
#     thunks);
#   - abidiff of the record and the built library: an incompatible change fails with the report; a compatible one
#     (an added function, say) passes and asks for the record to be refreshed.
# Usage: scripts/abi_check.sh <build dir> [--update]   (--update rewrites the record from the built library)
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="$(realpath "$1")"
library="$build/interfaces/innerkits/libtarnby_client.z.so"
record="$root/interfaces/innerkits/abi/libtarnby_client.abi.xml"
current="$build/libtarnby_client.abi.xml"

echo "== exported symbols of $(basename "$library") =="
foreign="$(nm -DC --defined-only "$library" | cut -d' ' -f3- |
    grep -Ev '^((typeinfo|typeinfo name|vtable|VTT) for |(non-)?virtual thunk to )?OHOS::Tarnby::' || true)"
if [ -n "$foreign" ]; then
    echo "exported beyond OHOS::Tarnby:"
    echo "$foreign"
    exit 1
fi
echo "$(nm -D --defined-only "$library" | wc -l) symbols, all of OHOS::Tarnby"

abidw --no-corpus-path --no-comp-dir-path --no-show-locs --headers-dir "$root/interfaces/innerkits/include" \
    --drop-private-types "$library" >"$current"
# The record names translation units relative to the source tree, wherever the tree is.
sed -i "s|path='$root/|path='|" "$current"
if [ "${2:-}" = "--update" ]; then
    cp "$current" "$record"
    echo "record refreshed: $record"
    exit 0
fi

echo "== ABI against the record =="
status=0
abidiff --no-show-locs "$record" "$current" >"$build/abidiff.txt" || status=$?
# abidiff's status bits: 1 error, 2 usage error, 4 ABI change, 8 incompatible ABI change.
if ((status & 11)); then
    cat "$build/abidiff.txt"
    echo "the ABI changed incompatibly (abidiff status $status): bump the SONAME, or keep the old interface"
    exit 1
fi
if ((status & 4)); then
    cat "$build/abidiff.txt"
    echo "compatible ABI change: refresh the record with scripts/abi_check.sh $1 --update"
    exit 0
fi
echo "ABI as recorded"
