#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# run-example.sh <program> <expected>…: fails with the program, and when an expression matches no line of its output.
set -euo pipefail
unset ZELMO_TL_PATH ZELMO_DEVICE_FILTER
output=$("$1")
printf '%s\n' "$output"
for expected in "${@:2}"; do
    grep -qE -- "$expected" <<<"$output"
done
