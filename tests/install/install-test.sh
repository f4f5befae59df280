#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# install-test.sh <step> <build folder> <work folder>; the steps are those of CMakeLists.txt. From the environment:
# CMAKE, CXX, CXXFLAGS, LIBDIR, VERSION, that of the library, and LAUNCHER, for the compiler cache.
set -euo pipefail

step=$1 build=$2 work=$3
tests=$(cd "$(dirname "$0")" && pwd)
source=${tests%/tests/install}
prefix=$work/moved
export ZELMO_CAMEMU=1 ZELMO_GIGE=off
unset ZELMO_TL_PATH ZELMO_CONFIG_FILE_REGISTRY_PATH ZELMO_DEVICE_FILTER

refuse() { # text on standard input: fails when there is any
    if grep .; then
        exit 1
    fi
}

# It must be the installed libraries that were found, at the place where they are now.
run() { # program
    "$1" 1 | tee "$work/output"
    grep -qF " in $prefix/$LIBDIR, rules in $prefix/$LIBDIR/" "$work/output"
    grep -q 'rules in .*/share/zelmo/ConfigFileRegistry, ' "$work/output"
    ldd "$1" | grep -E 'lib(zelmo|genicam)|not found' | { grep -vF "$prefix/$LIBDIR/" || true; } | refuse
}

configure() { # source build arguments…
    "$CMAKE" -S "$1" -B "$2" -G Ninja -DCMAKE_CXX_COMPILER="$CXX" -DCMAKE_CXX_FLAGS="$CXXFLAGS" "${@:3}" >/dev/null
}

case $step in
tree) # installs and moves the result away, so that no absolute path can be of use
    rm -rf "$work"
    "$CMAKE" --install "$build" --prefix "$work/installed" >/dev/null
    mv "$work/installed" "$prefix"
    { grep -rlF -e "$work/installed" -e "$build" "$prefix" --include='*.cmake' --include='*.pc' || true; } | refuse
    test -f "$prefix/share/zelmo/ConfigFileRegistry/BindingRules.xsd"
    test -f "$prefix/include/zelmo/internal/PixelTypePrivate.h"
    ;;
find-package)
    configure "$tests/consumer" "$work/find-package" -DCMAKE_PREFIX_PATH="$prefix" -DVERSION="$VERSION"
    "$CMAKE" --build "$work/find-package"
    run "$work/find-package/consumer"
    ;;
pkg-config)
    export PKG_CONFIG_PATH=$prefix/$LIBDIR/pkgconfig LD_LIBRARY_PATH=$prefix/$LIBDIR
    mkdir -p "$work/pkg-config"
    # shellcheck disable=SC2046,SC2086
    "$CXX" $CXXFLAGS -std=c++17 "$tests/consumer/main.cpp" -o "$work/pkg-config/consumer" $(pkg-config --cflags --libs zelmo)
    run "$work/pkg-config/consumer"
    ;;
tool)
    test "$("$prefix/bin/zelmo" list --json | grep -c HarlixCamEmu)" -ge 1
    "$prefix/bin/zelmo" serve --list-faults | grep -F packet-loss # by a program that the tool looks for beside itself
    ldd "$prefix/bin/zelmo" | grep -F "$prefix/bin/../$LIBDIR/libzelmo.so"
    ;;
plugin) # by the lines that docs/writing-a-plugin.md tells
    mkdir -p "$work/plugin-source"
    cp "$source"/examples/minimal-plugin/*.{cpp,h} "$work/plugin-source"
    {
        printf 'cmake_minimum_required(VERSION 3.25)\nproject(minimal LANGUAGES CXX)\nset(CMAKE_CXX_STANDARD 20)\n'
        sed -n '/^```cmake$/,/^```$/{/^```/!p}' "$source/docs/writing-a-plugin.md"
    } >"$work/plugin-source/CMakeLists.txt"
    configure "$work/plugin-source" "$work/plugin" -DCMAKE_PREFIX_PATH="$prefix"
    "$CMAKE" --build "$work/plugin"
    NM=nm "$tests/../exports/exports-test.sh" zelmo_TL_minimal "$work/plugin/libzelmo_TL_minimal.so"
    ZELMO_TL_PATH=$work/plugin "$prefix/bin/zelmo" list | grep -F ExampleMinimal
    ;;
part) # by default the two libraries and nothing else; our warnings are not other people's errors
    part=$build-part
    rm -rf "$part"
    configure "$tests/part" "$part" -DZELMO="$source"
    { grep -E '^(ZELMO_(BUILD_\w+|WERROR)|CMAKE_BUILD_TYPE):.*=.*[^F=]$' "$part/CMakeCache.txt" || true; } | refuse
    # Compiled as the build that this test belongs to, and beside it: the compiler cache has most of it.
    configure "$tests/part" "$part" -DZELMO="$source" -DZELMO_WERROR=ON -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_CXX_COMPILER_LAUNCHER="$LAUNCHER"
    "$CMAKE" --build "$part"
    "$part/consumer" 0
    ;;
esac
