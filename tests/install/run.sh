#!/bin/sh
# Checks how hardened the installed library is, builds the client that the README shows in each of the ways that it
# names, and in the last of them the programs of the guide too. Each must print what its page shows.
# run.sh ROOT BUILD COMPILER SYSTEM EMULATOR... The library is installed aside from BUILD or, where that is empty, is the
# one that the system has.
set -eu
root=$1 build=$2 compiler=$3 system=$4 && shift 4

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$root/tests/install/CMakeLists.txt" "$work"

# The first block of a language on a page.
block() { awk -v fence="\`\`\`$1" '$0 == fence { inside = 1; next } /^```/ { if (inside) exit } inside' "$2"; }

runs() {
  echo "-- $1" && shift
  mkdir "$work/run"
  (cd "$work/run" && "$@") >"$work/output"
  rm -r "$work/run"
  block text "$page" | diff - "$work/output"
}

with_cmake() {
  cmake -G Ninja -S "$work" -B "$work/$1" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_SYSTEM_NAME="$system" "$2" >/dev/null
  cmake --build "$work/$1" >/dev/null
}

page=$root/README.md
block cpp "$page" >"$work/client.cpp"
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
[ -z "$build" ] || { LD_LIBRARY_PATH=$(pkg-config --variable=libdir vimo_util) && export LD_LIBRARY_PATH; }
for page in "$root"/README.md "$root"/docs/*.md; do
  block cpp "$page" >"$work/client.cpp"
  [ -s "$work/client.cpp" ] || continue
  # Word splitting is how pkg-config is used.
  # shellcheck disable=SC2046
  "$compiler" $(pkg-config --cflags vimo_util) "$work/client.cpp" $(pkg-config --libs vimo_util) -o "$work/client"
  runs "pkg-config, $page" "$@" "$work/client"
done
