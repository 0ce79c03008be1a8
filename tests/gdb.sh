#!/bin/sh
# Gives gdb the commands of gdb.txt, and compares what it shows of the library's objects:
# gdb.sh PROGRAM BUILD
set -eu
transcript=$(dirname "$0")/gdb.txt
sed -n 's/^+//p' "$transcript" >"$2/gdb.commands"
gdb -nx -batch -iex 'set debuginfod enabled off' -iex "add-auto-load-safe-path $2" \
  -ex 'break stop' -ex run -ex up -ex 'echo ==\n' -ex 'set trace-commands on' \
  -x "$2/gdb.commands" "$1" 2>&1 | sed '1,/^==$/d; /^++/d' | diff "$transcript" -
