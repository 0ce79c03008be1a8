#!/bin/sh
# Compiles each public header alone, in each language version that it promises, without a warning:
# headers.sh ROOT COMPILER
set -eu
cd "$1"
sed -n 's/^ *\([a-z]*\/[A-Za-z]*\.h\).*/\1/p' vimo_util/CMakeLists.txt | while read -r header; do
  for standard in 11 14 17 20 2b; do
    echo "#include \"vimo_util/$header\"" |
      "$2" -x c++ -std=c++$standard -Wall -Wextra -Wpedantic -Wshadow -Wconversion \
        -Wold-style-cast -Werror -fsyntax-only -I. - || { echo "C++$standard: $header" && exit 1; }
  done
done
