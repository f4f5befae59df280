#!/usr/bin/env bash
# SPDX-License-Identifier: Apache-2.0
# try.sh <folder of packages>: installs them in a bare Debian 12, a folder of its own, runs what they bring and removes them.
# Exit 77, with a line, where this user may not do that or no Debian mirror answers.
set -euo pipefail

packages=$(cd "$1" && pwd)
consumer=$(cd "$(dirname "$0")/../install/consumer" && pwd)/main.cpp
skip() { echo "skipped: $*"; exit 77; }
[ "$(id -u)" -eq 0 ] || skip "only root may set up a root folder and install there"

# Setting it up takes a minute: it is kept for a week.
bare=${XDG_CACHE_HOME:-$HOME/.cache}/zelmo/bookworm.tar
if [ -z "$(find "$bare" -mtime -7 2>/dev/null)" ]; then
    mkdir -p "$(dirname "$bare")"
    mmdebstrap --quiet --variant=apt --format=tar bookworm "$bare.$$" || { rm -f "$bare.$$"; skip "mmdebstrap made no bare Debian"; }
    mv "$bare.$$" "$bare"
fi

root=$(mktemp -d)
trap 'rm -rf --one-file-system "$root"' EXIT
tar -xf "$bare" -C "$root"
mkdir "$root/packages"
cp "$packages"/*.deb "$root/packages"
cp /etc/resolv.conf "$root/etc/resolv.conf"

# In a name space of its own, so that /proc goes away with the commands.
inside() { # commands
    # shellcheck disable=SC2016
    unshare --mount --pid --fork --kill-child sh -c 'mount -t proc proc "$0/proc" && exec chroot "$0" env -i \
        PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root ZELMO_GIGE=off DEBIAN_FRONTEND=noninteractive sh -exc "$1"' "$root" "$1"
}
installs='apt-get install -y -qq -o Dpkg::Use-Pty=0 >/dev/null'
no_compiler="! ls /usr/bin | grep -xE '(g?cc|[gc][+][+]|cpp|clang|ld)(-.*)?'"

inside 'apt-get update -qq' || skip "no Debian mirror answers"
inside "$installs /packages/libgenicam3_* /packages/libzelmo6_* /packages/zelmo-tools_*; $no_compiler
    ZELMO_CAMEMU=2 zelmo list | tee /list
    test \$(grep -c HarlixCamEmu /list) -eq 2
    ZELMO_CAMEMU=1 zelmo grab -n 3 -o /image-%d.png
    test -s /image-3.png
    echo quit | zelmo serve --address 127.1.0.2 | grep -F 127.1.0.2
    test -s /usr/share/man/man1/zelmo.1.gz -a -s /usr/share/bash-completion/completions/zelmo"

inside "$installs /packages/libzelmo-dev_* /packages/zelmo-doc_*; $no_compiler
    test -s /usr/share/doc/zelmo/README.md"
flags=$(PKG_CONFIG_LIBDIR=$(echo "$root"/usr/lib/*/pkgconfig) pkg-config --cflags --libs zelmo)
# shellcheck disable=SC2086
g++ -std=c++17 "$consumer" -o "$root/consumer" $flags
inside 'ZELMO_CAMEMU=1 /consumer 1'

inside 'apt-get purge -y -qq -o Dpkg::Use-Pty=0 $(ls /packages | sed s/_.*//) >/dev/null
    ! find /etc /usr /var/lib /run | grep -iE "zelmo|genicam"'
