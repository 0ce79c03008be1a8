#!/bin/sh
# Installs the library aside, checks how hardened it is and builds the client that the README shows in each of the three
# ways that it names: run.sh ROOT BUILD COMPILER SYSTEM EMULATOR...
set -eu
root=$1 build=$2 compiler=$3 system=$4 && shift 4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$root/tests/install/CMakeLists.txt" "$work"
awk '/^```cpp/ { inside = 1; next } /^```/ { if (inside) exit } inside' "$root/README.md" >"$work/client.cpp"

runs() {
  echo "-- $1" && shift
  [ "$("$@")" = "$(awk '/^```text/ { inside = 1; next } /^```/ { if (inside) exit } inside' "$root/README.md")" ]
}

cmake --install "$build" --prefix "$work/prefix" >/dev/null
"$root/tests/hardening.sh" "$(find "$work/prefix" -name 'libvimo_util.so.7')"

with_cmake() {
  cmake -G Ninja -S "$work" -B "$work/$1" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_SYSTEM_NAME="$system" "$2" >/dev/null
  cmake --build "$work/$1" >/dev/null
}
with_cmake package "-Dvimo_util_DIR=$(dirname "$(find "$work/prefix" -name vimo_utilConfig.cmake)")"
runs find_package "$@" "$work/package/client"
with_cmake subdirectory -DVIMO_UTIL_SOURCE="$root"
runs add_subdirectory "$@" "$work/subdirectory/client"

PKG_CONFIG_PATH=$(dirname "$(find "$work/prefix" -name vimo_util.pc)") && export PKG_CONFIG_PATH
libdir=$(pkg-config --variable=libdir vimo_util)
# Word splitting is how pkg-config is used.
# shellcheck disable=SC2046
"$compiler" $(pkg-config --cflags vimo_util) "$work/client.cpp" $(pkg-config --libs vimo_util) -o "$work/client"
LD_LIBRARY_PATH=$libdir runs pkg-config "$@" "$work/client"
