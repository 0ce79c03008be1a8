#!/bin/bash
# Holds the library to the description of its released interface: abi.sh ROOT BUILD LIBRARY TRIPLET
set -euo pipefail
root=$1 build=$2 library=$3 triplet=$4
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
