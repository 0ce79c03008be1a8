#!/bin/bash
# Builds the packages for amd64 and armhf from a copy of SOURCE in TARGET, and once more elsewhere: later, by another
# clock and file mask, with one job. Both must be equal byte for byte: twice.sh SOURCE TARGET
set -euo pipefail
source=$1 target=$2 elsewhere=$(mktemp -d)/else/where

build() {
  cp -r --preserve=mode "$source" "$1" && cd "$1/${source##*/}"
  dpkg-buildpackage -us -uc && dpkg-buildpackage -us -uc -B -aarmhf -Pcross,nocheck
}
logged() {
  ("$@") >"$target/log" 2>&1 || { tail -n 50 "$target/log" && exit 1; }
}
mkdir -p "$target" "$elsewhere"
logged build "$target"
umask 077
TZ=Pacific/Kiritimati DEB_BUILD_OPTIONS='nocheck parallel=1' logged build "$elsewhere"
for file in "$target"/*.{deb,dsc,tar.xz}; do
  cmp "$file" "$elsewhere/${file##*/}"
done
rm -r "${target:?}"/{log,"${source##*/}"}
