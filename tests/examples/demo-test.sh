#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# demo-test.sh <source folder>: what the demo prints is what the README shows, but for numbers, blanks and folders.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
shape() { sed -E 's,/[^ ":]*/,/,g; s/[0-9.]+/N/g; s/ +/ /g'; }
"$1/scripts/demo" "$folder/zelmo-demo" | shape >"$folder/printed"
sed -n '/^Cameras:$/,/^```$/p' "$1/README.md" | sed '$d' | shape | diff - "$folder/printed"
test "$(find "$folder/zelmo-demo" -name 'camera[01]-*.png' -size +1k | wc -l)" -eq 40
