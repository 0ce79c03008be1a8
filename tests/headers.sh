#!/bin/sh
# Compiles each public header alone in the first and the last language version that it promises, and
# all of them in those between, without a warning: headers.sh ROOT COMPILER
set -eu
cd "$1" && compiler=$2
compile() {
  standard=$1 && shift
  printf '#include "vimo_util/%s"\n' "$@" |
    "$compiler" -x c++ -std=c++"$standard" -Wall -Wextra -Wpedantic -Wshadow -Wconversion \
      -Wold-style-cast -Werror -fsyntax-only -I. - || { echo "C++$standard: $*" && exit 1; }
}
headers=$(sed -n 's/^ *\([a-z]*\/[A-Za-z]*\.h\).*/\1/p' vimo_util/CMakeLists.txt)
for header in $headers; do compile 11 "$header" && compile 2b "$header"; done
# shellcheck disable=SC2086
for standard in 14 17 20; do compile $standard $headers; done
