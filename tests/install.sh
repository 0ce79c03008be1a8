#!/bin/sh
# Builds the README's client in each way that the README names, and runs it. ROOT holds the README,
# PREFIX the installed library: install.sh ROOT PREFIX COMPILER [EMULATOR]
set -eu
root=$1 prefix=$2 compiler=$3 emulator=${4:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

block() { sed -n "/^\`\`\`$1\$/,/^\`\`\`\$/ { /^\`\`\`\$/ q; /^\`\`\`/ ! p }" "$root/README.md"; }
block cpp >client.cpp
block text >expected

with_cmake() {  # COMMAND: what finds the library
  printf '%s\n' 'cmake_minimum_required(VERSION 3.16)' 'project(client LANGUAGES CXX)' "$1" \
    'add_executable(client client.cpp)' \
    'target_link_libraries(client PRIVATE vimo_util::vimo_util)' >CMakeLists.txt
  rm -rf build
  cmake -G Ninja -S . -B build -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_SYSTEM_NAME=Linux \
    -DCMAKE_PREFIX_PATH="$prefix" >log
  cmake --build build >log || { cat log && exit 1; }
  ${emulator:+"$emulator"} build/client | diff expected -
}
with_cmake 'find_package(vimo_util 7 REQUIRED)'
[ ! -f "$root/CMakeLists.txt" ] || with_cmake "add_subdirectory($root vimo_util)"

PKG_CONFIG_PATH=$prefix/lib/pkgconfig:$prefix/lib/$("$compiler" -dumpmachine)/pkgconfig
export PKG_CONFIG_PATH
# Word splitting is how pkg-config is used.
# shellcheck disable=SC2046
"$compiler" client.cpp $(pkg-config --cflags --libs vimo_util) -o client
LD_LIBRARY_PATH=$(pkg-config --variable=libdir vimo_util) ${emulator:+"$emulator"} ./client |
  diff expected -
