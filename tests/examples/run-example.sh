#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# run-example.sh <program> <expected>: fails with the program, and when no line of its output matches.
set -euo pipefail
unset ZELMO_TL_PATH ZELMO_DEVICE_FILTER
output=$("$1")
printf '%s\n' "$output"
grep -qE -- "$2" <<<"$output"
