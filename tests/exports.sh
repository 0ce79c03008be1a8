#!/bin/bash
# Compares the names that a library exports with those that its package promises: exports.sh LIBRARY SYMBOLS
set -euo pipefail
export LC_ALL=C
diff <(sed -n 's/^ \((c++)"\)\?\(.*\)@Base.*/\2/p' "$2" | sort) <(nm -D --defined-only "$1" | cut -d' ' -f3 | c++filt | sort -u)
