#!/bin/sh
# Compares what a library exports with the list: exports.sh LIBRARY LIST
set -eu
nm -D --defined-only -C "$1" | cut -d' ' -f3- | LC_ALL=C sort -u | diff "$2" -
