#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# install-test.sh <step> <build folder> <work folder>; the steps are those of CMakeLists.txt. From the environment:
# CMAKE, CXX, CXXFLAGS, LIBDIR and DEVICES, the number of emulated devices that the installed library must find.
set -euo pipefail

step=$1 build=$2 work=$3
consumer=$(cd "$(dirname "$0")" && pwd)/consumer
prefix=$work/moved
export ZELMO_CAMEMU=1
unset ZELMO_TL_PATH ZELMO_CONFIG_FILE_REGISTRY_PATH ZELMO_DEVICE_FILTER

refuse() { # text on standard input: fails when there is any
    if grep .; then
        exit 1
    fi
}

# It must be the installed libraries that were found, at the place where they are now.
run() { # program
    "$1" "$DEVICES" | tee "$work/output"
    grep -qF " in $prefix/$LIBDIR, rules in $prefix/$LIBDIR/" "$work/output"
    grep -q 'rules in .*/share/zelmo/ConfigFileRegistry, ' "$work/output"
    ldd "$1" | grep -E 'lib(zelmo|genicam)|not found' | { grep -vF "$prefix/$LIBDIR/" || true; } | refuse
}

case $step in
tree) # installs and moves the result away, so that no absolute path can be of use
    rm -rf "$work"
    "$CMAKE" --install "$build" --prefix "$work/installed" >/dev/null
    mv "$work/installed" "$prefix"
    { grep -rlF -e "$work/installed" -e "$build" "$prefix" --include='*.cmake' --include='*.pc' || true; } | refuse
    test -d "$prefix/share/zelmo/ConfigFileRegistry"
    test -f "$prefix/include/zelmo/internal/PixelTypePrivate.h"
    ;;
find-package)
    "$CMAKE" -S "$consumer" -B "$work/find-package" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$CXX" \
        -DCMAKE_CXX_FLAGS="$CXXFLAGS" >/dev/null
    "$CMAKE" --build "$work/find-package"
    run "$work/find-package/consumer"
    ;;
pkg-config)
    export PKG_CONFIG_PATH=$prefix/$LIBDIR/pkgconfig LD_LIBRARY_PATH=$prefix/$LIBDIR
    mkdir -p "$work/pkg-config"
    # shellcheck disable=SC2046,SC2086
    "$CXX" $CXXFLAGS -std=c++17 "$consumer/main.cpp" -o "$work/pkg-config/consumer" $(pkg-config --cflags --libs zelmo)
    run "$work/pkg-config/consumer"
    ;;
tool)
    test "$("$prefix/bin/zelmo" list --json | grep -c HarlixCamEmu)" -ge "$DEVICES"
    ldd "$prefix/bin/zelmo" | grep -F "$prefix/bin/../$LIBDIR/libzelmo.so"
    ;;
esac
