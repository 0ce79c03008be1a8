#!/usr/bin/env bash
# Builds the guide and the reference as one static site, build/site. It bears no date: equal sources make equal bytes.
set -euo pipefail
cd "$(dirname "$0")/.."

rm -rf build/site build/pictures
mkdir -p build/pictures
for source in docs/pictures/*.dot docs/pictures/*.gp; do
  name=$(basename "${source%.*}")
  case $source in
    *.dot) dot -Tsvg "$source" ;;
    *.gp) gnuplot "$source" ;;
  esac | awk -v theme="$(cat docs/pictures/theme.css)" '
    { print }
    /<svg/ { head = 1 }
    head && />$/ { printf "<style>\n%s\n</style>\n", theme; head = 0 }' >"build/pictures/$name.svg"
done

VERSION=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt) \
HEADERS=$(sed -n 's/^ *\([a-z]*\/[A-Za-z]*\.h\).*/vimo_util\/\1/p' vimo_util/CMakeLists.txt | tr '\n' ' ') \
  doxygen docs/Doxyfile
