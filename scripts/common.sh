# SPDX-License-Identifier: Apache-2.0

# Shared by the scripts beside it; sourced, never run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
export ZELMO_GIGE=off # nothing that they run looks for cameras on the networks

die() { # exit-code message…
    local code=$1
    shift
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit "$code"
}

# Where the presets are built: in the project, or in the user's cache when the project belongs to somebody else.
builds=$PWD/build
mkdir -p "$builds" 2>/dev/null && [ -w "$builds" ] ||
    builds=${XDG_CACHE_HOME:-$HOME/.cache}/zelmo/build-$(cksum <<<"$PWD" | cut -d' ' -f1)

# Configures a preset when it was not yet, and builds it; without changes neither does anything.
build_preset() ( # preset [target…]
    folder=$builds/$1
    mkdir -p "$folder"
    exec 9>"$folder/.lock"
    flock 9 # who builds the same folder at the same time waits: ninja itself does not look
    if [ ! -f "$folder/build.ninja" ]; then
        cmake --preset "$1" -B "$folder" >"$folder/configure.log" 2>&1 9>&- ||
            { cat "$folder/configure.log" >&2; die 1 "cannot configure preset $1"; }
    fi
    cmake --build "$folder" -- "${@:2}" 9>&-
)
