#!/bin/sh
# SPDX-License-Identifier: MIT
# Builds this tree anew, compares what the library exports, and tries the clients:
# tree.sh COMPILER [OPTION-OF-CMAKE...]
set -eu
root=$(realpath "$(dirname "$0")/..") compiler=$1 && shift
build=$(mktemp -d)
trap 'rm -rf "$build"' EXIT

cmake -G Ninja -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_CXX_COMPILER="$compiler" "$@"
cmake --build "$build"
library=$build/vimo_util/libvimo_util.so.7
[ ! -e "$library" ] || "$root/tests/exports.sh" "$library" "$root/debian/libvimo-util7.symbols"
cmake --install "$build" --prefix "$build/prefix"
"$root/tests/install.sh" "$root" "$build/prefix" "$compiler"

# Where a cross-build keeps the target's files, their paths have its root in front, once.
DESTDIR=$build/root cmake --install "$build" --prefix /opt
PKG_CONFIG_PATH=$(dirname "$(find "$build/root" -name vimo_util.pc)")
export PKG_CONFIG_PATH
[ "$(PKG_CONFIG_SYSROOT_DIR=$build/root pkg-config --cflags vimo_util | tr -d ' ')" = \
  "-I$build/root/opt/include" ]
