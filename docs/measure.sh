#!/usr/bin/env bash
# Measures anew what docs/choosing.md shows: runs the command that each mark names and puts its table below the mark.
set -euo pipefail
cd "$(dirname "$0")/.."

awk '
  /^<!-- measured: / {
    print
    command = substr($0, 16, length($0) - 19)
    printf "```sh\n%s\n```\n", command
    while ((command | getline line) > 0) if (line !~ /^## /) print line
    if (close(command) != 0) exit 1
    print ""
    skipping = 1
    next
  }
  /^<!-- end -->/ { skipping = 0 }
  !skipping
' docs/choosing.md >build/choosing.md
mv build/choosing.md docs/choosing.md
