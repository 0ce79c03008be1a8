#!/bin/sh
# Runs each program that a page of the guide includes, in an empty folder, and compares its output
# with the text block that follows it: examples.sh ROOT PROGRAMS. PROGRAMS is where they were built.
set -eu
root=$1 programs=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

awk -v work="$work" '
  /^```\{literalinclude\} .*examples\/.*\.cpp$/ {
    if (program) { print FILENAME ": no output of " program; exit 1 }
    program = $2
    gsub(/.*\/|\.cpp$/, "", program)
  }
  /^```$/ && output { close(output); print program > (work "/list"); output = program = "" }
  output { print > output }
  /^```text$/ && program { output = work "/" program ".txt"; printf "" > output }
  END { if (program) { print "no output of " program; exit 1 } }' "$root"/docs/*.md

while read -r program; do
  echo "-- $program"
  mkdir "$work/run"
  (cd "$work/run" && timeout 60 "$programs/$program" </dev/null) >"$work/output"
  diff "$work/$program.txt" "$work/output"
  rm -r "$work/run"
done <"$work/list"
