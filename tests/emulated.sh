#!/bin/sh
# Builds the library for another processor with Debian's compiler and passes its tests under qemu:
# emulated.sh TRIPLET QEMU
set -eu
root=$(realpath "$(dirname "$0")/..") triplet=$1 qemu=$2
apt-get -qq update
apt-get -qq -y --no-install-recommends install \
  cmake g++ "g++-$triplet" googletest ninja-build pkg-config qemu-user

cmake -S "$root" -B "$root/build/$triplet" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DVIMO_UTIL_TESTS=ON -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_CXX_COMPILER="$triplet-g++" \
  -DCMAKE_CROSSCOMPILING_EMULATOR="$qemu;-L;/usr/$triplet" \
  -DCMAKE_CXX_STANDARD_LIBRARIES='-Wl,--as-needed -latomic'  # for the spooler on soft-float ARM
cmake --build "$root/build/$triplet"
# The others hold the tree, or what only a shipped target has.
ctest --test-dir "$root/build/$triplet" -j "$(nproc)" --output-on-failure -E '^(abi|gdb)$'
