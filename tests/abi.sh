#!/bin/bash
# Holds the library to the description of its released interface, and shows that a break would be seen:
# abi.sh ROOT BUILD LIBRARY TRIPLET COMPILER SYSTEM
set -euo pipefail
root=$1 build=$2 library=$3 triplet=$4 compiler=$5 system=$6
released=$root/abi/$(basename "$library").$triplet.abi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# describe BUILD LIBRARY: what the installed headers show of it, without a trace of this machine's paths. All below
# /usr/include would count as shown, and fill the description with the insides of the standard library.
describe() {
  cmake --install "$1" --prefix "$work/prefix" >/dev/null
  LC_ALL=C sed 's|/usr/include/|/not/include/|g' "$2" >"$work/library"
  abidw --headers-dir "$work/prefix/include" --exported-interfaces-only --drop-private-types --drop-undefined-syms \
    --no-corpus-path --no-comp-dir-path --no-show-locs --no-elf-needed --no-parameter-names --type-id-style hash "$work/library" |
    sed "s| path='[^']*/vimo_util/| path='vimo_util/|"
}

describe "$build" "$library" >"$build/$(basename "$released")"
if ! abidiff --no-added-syms "$released" "$build/$(basename "$released")"; then
  echo "abi: compiled clients would break; only a library of another name may" && exit 1
elif ! abidiff "$released" "$build/$(basename "$released")"; then
  echo "abi: the interface has grown; with its next release: cp $build/$(basename "$released") $root/abi" && exit 1
fi

# Each of these changes passes the compiler, the linker and the list of exported names.
cp -r "$root/CMakeLists.txt" "$root/vimo_util" "$root/examples" "$work"
cd "$work/vimo_util"
sed -i 's/^  int fd;/  int fd, extra;/; s/^  int length()/  long length()/' file/File.h
sed -i 's/^int File::length()/long File::length()/' file/File.cpp
sed -i 's/^  void pop();/  virtual void pop();/' priq/PrioritizedQueue.h
sed -i '/^  int clientValue;/ { h; d }; /^  unsigned int priority;/ G' priq/PriorRequest.h
cmake -S "$work" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_UNITY_BUILD=ON \
  -DCMAKE_UNITY_BUILD_BATCH_SIZE=0 -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_SYSTEM_NAME="$system" >/dev/null
cmake --build "$work/build" --target vimo_util >/dev/null
describe "$work/build" "$work/build/vimo_util/$(basename "$library")" >"$work/broken.abi"
abidiff --no-added-syms "$released" "$work/broken.abi" >"$work/report" && echo "abi: the alarm is silent" && exit 1
for break in "'int extra'" "from 'int' to 'long int'" "'int clientValue' offset changed" 'pop() is now declared virtual'; do
  grep -qF "$break" "$work/report" || { cat "$work/report" && echo "abi: no alarm for: $break" && exit 1; }
done
