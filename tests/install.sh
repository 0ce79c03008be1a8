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
cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.16)
project(client LANGUAGES CXX)
if(ROOT)
  add_subdirectory(${ROOT} vimo_util)
else()
  find_package(vimo_util 7 REQUIRED)
endif()
add_executable(client client.cpp)
target_link_libraries(client PRIVATE vimo_util::vimo_util)
END

with_cmake() {
  cmake -G Ninja -S . -B "$1" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_SYSTEM_NAME=Linux "$2" >log
  cmake --build "$1" >log || { cat log && exit 1; }
  ${emulator:+"$emulator"} "$1/client" | diff expected -
}
with_cmake package -DCMAKE_PREFIX_PATH="$prefix"
[ ! -f "$root/CMakeLists.txt" ] || with_cmake subdirectory -DROOT="$root"

PKG_CONFIG_PATH=$prefix/lib/pkgconfig:$prefix/lib/$("$compiler" -dumpmachine)/pkgconfig
export PKG_CONFIG_PATH
# Word splitting is how pkg-config is used.
# shellcheck disable=SC2046
"$compiler" client.cpp $(pkg-config --cflags --libs vimo_util) -o client
LD_LIBRARY_PATH=$(pkg-config --variable=libdir vimo_util) ${emulator:+"$emulator"} ./client |
  diff expected -
