# SPDX-License-Identifier: Apache-2.0

# Shared by the scripts beside it; sourced, never run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

die() { # exit-code message…
    local code=$1
    shift
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit "$code"
}

# Configures a preset when it was not yet, and builds it; without changes neither does anything.
build_preset() { # preset [target…]
    local preset=$1
    shift
    if [ ! -f "build/$preset/build.ninja" ]; then
        cmake --preset "$preset" >"/tmp/zelmo-configure-$preset.log" 2>&1 ||
            { cat "/tmp/zelmo-configure-$preset.log" >&2; die 1 "cannot configure preset $preset"; }
    fi
    cmake --build "build/$preset" -- "$@"
}
