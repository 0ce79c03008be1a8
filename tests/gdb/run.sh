#!/bin/bash
# Has gdb show objects with the library as it was built, and with it installed aside without its debug information:
# run.sh PROGRAM BUILD EMULATOR...
set -euo pipefail
transcripts=$(dirname "$(realpath "$0")") program=$1 build=$2 && shift 2
emulator=("$@")

work=$(realpath "$(mktemp -d)")
trap 'rm -rf "$work"; kill $(jobs -p) 2>/dev/null || :' EXIT
cd "$work"

# Gives gdb the commands of a transcript, and compares what it answers: shows TRANSCRIPT TREE
shows() {
  local library
  library=$(dirname "$(find "$2" -name libvimo_util.so.7)")
  local start=(-ex run)
  export LD_LIBRARY_PATH=$library
  if [ ${#emulator[@]} -gt 0 ]; then
    rm -f socket
    "${emulator[@]}" -g "$work/socket" "$program" &
    until grep -q " 00010000 .* $work/socket$" /proc/net/unix; do kill -0 $!; sleep 0.1; done  # it listens
    start=(-ex "set sysroot ${emulator[-1]}" -ex "set solib-search-path $library"
      -ex "target remote $work/socket" -ex continue)
  fi
  sed -n 's/^+//p' "$transcripts/$1" >commands
  gdb-multiarch -nx -batch -iex "set debuginfod enabled off" -iex "add-auto-load-safe-path $2" \
    -iex "add-auto-load-scripts-directory $2/share/gdb/auto-load" \
    -ex "break stop" "${start[@]}" -ex up -ex "echo ==\n" -ex "set trace-commands on" \
    -x commands "$program" >out 2>&1 || :  # it ends at an error, which is in `out`
  # Without what differs from target to target, from compiler to compiler and from run to run.
  sed -E '1,/^==$/d; s/^\++/+/; s/_vptr.\w+ = \w+ <vtable for ([^+]+)\+[0-9]+>/vtable of \1/g; s/0x[0-9a-f]+/ADDRESS/g
    s/-?[0-9]{6,}/NUMBER/g; s/(descriptor = )[0-9]+/\1NUMBER/' out |
    diff "$transcripts/$1" - || { cat out && return 1; }
}

shows built.txt "$build"
cmake --install "$build" --prefix "$work/prefix" --strip >/dev/null
shows installed.txt "$work/prefix"
