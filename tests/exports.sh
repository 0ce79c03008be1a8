#!/bin/bash
# Compares what a library exports with what its package promises, and looks at how it is hardened:
# exports.sh LIBRARY SYMBOLS
set -euo pipefail
export LC_ALL=C
diff <(sed -n 's/^ \((c++)"\)\?\(.*\)@Base.*/\2/p' "$2" | sort) \
  <(nm -D --defined-only "$1" | cut -d' ' -f3 | c++filt | sort -u)

found=$(readelf -lW "$1" && readelf -dW "$1" && nm -D --undefined-only "$1")
for must in GNU_RELRO 'GNU_STACK .* RW ' 'BIND_NOW|Flags: .*NOW' 'FLAGS_1.*NODELETE' \
  ' __stack_chk_fail' ' __[a-z]+_chk(@|$)' 'SONAME.*\[libvimo_util\.so\.7\]'; do
  grep -qE "$must" <<<"$found" || { echo "exports: no $must" && exit 1; }
done
! grep -E 'TEXTREL|RPATH|RUNPATH' <<<"$found"
