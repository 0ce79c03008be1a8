#!/bin/sh
# Checks how hardened the installed library is, and builds and runs the client that the README shows in each of the ways
# that it names: run.sh ROOT BUILD COMPILER SYSTEM EMULATOR... It is installed aside from BUILD or, where that is empty,
# is the library that the system has.
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

with_cmake() {
  cmake -G Ninja -S "$work" -B "$work/$1" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_SYSTEM_NAME="$system" "$2" >/dev/null
  cmake --build "$work/$1" >/dev/null
}
if [ -n "$build" ]; then
  cmake --install "$build" --prefix "$work/prefix" >/dev/null
  with_cmake subdirectory -DVIMO_UTIL_SOURCE="$root"
  runs add_subdirectory "$@" "$work/subdirectory/client"
  pc=$(find "$work/prefix" -name vimo_util.pc)
else
  pc=/usr/lib/$("$compiler" -dumpmachine)/pkgconfig/vimo_util.pc
fi
"$root/tests/hardening.sh" "$(dirname "$pc")/../libvimo_util.so.7"
with_cmake package -DCMAKE_PREFIX_PATH="$work/prefix"
runs find_package "$@" "$work/package/client"

PKG_CONFIG_PATH=$(dirname "$pc") && export PKG_CONFIG_PATH
# Word splitting is how pkg-config is used.
# shellcheck disable=SC2046
"$compiler" $(pkg-config --cflags vimo_util) "$work/client.cpp" $(pkg-config --libs vimo_util) -o "$work/client"
[ -z "$build" ] || { LD_LIBRARY_PATH=$(pkg-config --variable=libdir vimo_util) && export LD_LIBRARY_PATH; }
runs pkg-config "$@" "$work/client"
