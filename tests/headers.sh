#!/bin/sh
# Compiles each public header alone, without a warning, under every language version that it promises.
# headers.sh ROOT COMPILER...
set -eu
root=$1 && shift

cd "$root"
grep -q '/ntz\.h' vimo_util/CMakeLists.txt  # the list is where it is looked for
sed -n 's/^ *\([a-z]*\/[A-Za-z]*\.h\).*/\1/p' vimo_util/CMakeLists.txt | while read -r header; do
  for standard in 11 14 17 20 2b; do
    echo "#include \"vimo_util/$header\"" |
      "$@" -x c++ -std=c++$standard -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I. - ||
      { echo "$header, C++$standard" && exit 1; }
  done
done
