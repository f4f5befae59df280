#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# exports-test.sh <target> <file>: prints and fails on symbols that are visible and not the library's own. NM is nm.
set -euo pipefail

target=$1 file=$2
required=
case $target in
genicam) own='((.* for |.*thunk to )?(GenApi|GenICam)::.*)' required='typeinfo for GenICam::GenericException' ;;
zelmo) own='((.* for |.*thunk to )?(Zelmo|hxlog|Harlix_[A-Za-z]*Params)::.*|GetZelmoVersion(String)?)' required='typeinfo for Zelmo::CTlInfo' ;;
zelmo_TL_*) own='(Create|Destroy|GetTLInfoList)' required=$'Create\nDestroy\nGetTLInfoList' ;;
esac
visible=$("$NM" -DC --defined-only "$file" | sed -E 's/^[0-9a-f]* +[A-Za-z] //' | sort -u)
if leaks=$(grep -vxE "$own" <<<"$visible"); then
    printf '%s shows more than its own:\n%s\n' "$file" "$leaks"
    exit 1
fi
while read -r symbol; do
    if ! grep -qxF "$symbol" <<<"$visible"; then
        printf '%s does not show %s\n' "$file" "$symbol"
        exit 1
    fi
done <<<"$required"
