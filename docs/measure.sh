#!/usr/bin/env bash
# Measures anew what pages show, by default docs/choosing.md and docs/testing.md: runs the command that each mark names
# and puts its table below the mark.
set -euo pipefail
cd "$(dirname "$0")/.."

[ $# -gt 0 ] || set -- docs/choosing.md docs/testing.md
for page in "$@"; do
  awk '
    /^<!-- measured: / {
      print
      command = substr($0, 16, length($0) - 19)
      printf "```sh\n%s\n```\n\n", command
      while ((command | getline line) > 0) if (line !~ /^## /) print line
      if (close(command) != 0) exit 1
      print ""
      skipping = 1
      next
    }
    /^<!-- end -->/ { skipping = 0 }
    !skipping
  ' "$page" >build/measured.md
  mv build/measured.md "$page"
done
