#!/bin/sh
# Reads from a library as it is installed whether it is hardened and where it can be moved: hardening.sh LIBRARY
set -eu
headers=$(readelf -lW "$1") dynamic=$(readelf -dW "$1") imports=$(nm -D --undefined-only "$1")
bad=0

has() {
  echo "$2" | grep -qE "$3" || { echo "$1" && bad=1; }
}
has_no() {
  if echo "$2" | grep -qE "$3"; then echo "$1" && bad=1; fi
}

has 'no relocations are made read-only' "$headers" 'GNU_RELRO'
has 'the stack may be executed' "$headers" 'GNU_STACK .* RW '
has 'no immediate binding' "$dynamic" 'BIND_NOW|Flags: .*NOW'
has 'no stack protector' "$imports" ' __stack_chk_fail'
has 'no fortified call' "$imports" ' __[a-z]+_chk(@|$)'
has 'another soname' "$dynamic" 'SONAME.*\[libvimo_util\.so\.7\]'
has_no 'relocations in the text' "$dynamic" TEXTREL
has_no 'a search path' "$dynamic" 'RPATH|RUNPATH'
exit $bad
