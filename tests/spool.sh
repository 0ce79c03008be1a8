#!/bin/bash
# Tries spool as an adversary would: spool.sh SPOOL
# Each row has a folder of its own with in, out, a configuration, and victim, which must not change.
# shellcheck disable=SC2015,SC2094,SC2317
set -u
spool=$1 bad=0
work=$(mktemp -d)
trap 'umount "$work"/*/out 2>/dev/null; rm -rf "$work"' EXIT

files() {  # COUNT SIZE: the first of SIZE bytes, the second of twice as many, and so on
  for i in $(seq "$1"); do head -c $((i * $2)) /dev/urandom >in/"$i"; done && sums in >sums
}
sums() { (cd "$1" && find . -type f ! -name '.*' -exec md5sum {} + | sort); }
stay() { diff sums <(sums in); }
came() { diff sums <(sums out) && [ -z "$(ls in)" ]; }
whole() { diff sums <(sort -u <(sums in) <(sums out)); }  # at the end of a delivery in both
kills() {
  for _ in $(seq 30); do
    $spool in out & sleep "0.0$((RANDOM % 3))$((RANDOM % 10))"
    kill -KILL $! && wait $! || whole || return
  done 2>/dev/null && $spool in out
}
grows() {
  while echo >>in/1; do :; done & until [ -n "$(find in -size +50000000c)" ]; do :; done
  $spool -c config in out; set -- $? && kill $! && return "$1"
}
watched() {  # an alarm comes while files wait; a signal ends it
  $spool -c config -w in out & until [ -e out/1 ]; do :; done
  echo 1 >in/.new && mv in/.new in/new.alarm && until [ -z "$(ls in)" ]; do :; done
  kill -TERM $! && wait $!
}
waits() {  # RULE...: in the order of their longest waits
  diff <(printf '%s\n' "$@") <(awk 'NR > 2 { print $6, $1 }' stdout | sort -n | cut -d' ' -f2)
}

while IFS='~' read -r -u 3 name status error output prepare command check; do
  mkdir -p "$work/$name"/{in,out} && cd "$work/$name" && echo v >victim
  printf 'poll=10\nworkers=1\nrules=rules\n' >config && printf '.alarm,0\n.bulk,999\n' >rules
  eval "$prepare" || { echo "spool.sh: left out: $name" && continue; }
  eval "${command:-$spool in out}" >stdout 2>stderr; got=$?
  [ $got -eq "$status" ] && grep -qE "$error" <<<"$(cat stderr)" &&
    grep -qE "$output" <<<"$(cat stdout)" &&
    eval "${check:-came}" && [ "$(cat victim)" = v ] && [ -z "$(find out -name '.spool.part-*')" ] ||
    { echo "spool.sh: $name: status $got: $(head -n 5 stdout stderr)" && bad=1; }
done 3<<'TABLE'
killed at 30 moments~0~~~files 1000 9~kills~
names of any bytes~0~^$~^4 files~for i in "$(printf 'n%.0s' {1..255})" $'\n' $'\e[31m' $'\xff'; do echo 1 >in/"$i"; done; sums in >sums~~
names that would steer a terminal~1~in/.x0a.x1b\[31m.xff: ~~echo 1 >$'in/\n\e[31m\xff' && echo 2 >$'out/\n\e[31m\xff'~~true
no files~0~left out, .*: 5$~^0 files~mkfifo in/f && ln -s ../victim in/l && ln -s no in/n && mkdir in/d && : >in/.h~~[ "$(ls -A in | wc -l)" = 5 ]
permissions, and a delivery without its end~0~^$~^2 files~files 2 90000 && chmod 7751 in/1 && cp in/2 out~~came && [ "$(stat -c %a out/1)" = 751 ]
a conflict~1~in/1: out/1: differs~ 1 failed~files 1 9 && echo other >out/1~~stay && [ "$(cat out/1)" = other ]
a link in a file's place~1~in/1: out/1~ 1 failed~cp victim in/1 && sums in >sums && ln -s ../victim out/1~~stay && [ -L out/1 ]
links in the place of its own files~0~starts anew~ ever 1 files~files 1 9 && ln -s ../victim out/.spool.part-9 && ln -s ../victim out/.spool.state~~
totals since ever, and then damaged~0~damaged; it starts anew~ever 0 files~for i in 1 2; do files 1 9 && $spool in out >first && rm out/1; done && printf x | dd bs=1 seek=20 conv=notrunc of=out/.spool.state status=none~~grep -q 'ever 2 files, 18 bytes' first
a file that grows~1~in/1: keeps changing~^0 files~files 1 50000000~grows~[ -z "$(ls out)" ]
a full disk~1~No space left on device~ failed~mount -t tmpfs -o size=256k none out && files 9 10000~~whole
a secret file~1~in/2: .*: Permission denied~^1 files~files 2 9 && chmod 0 in/2~setpriv --bounding-set=-all --inh-caps=-all $spool in out~[ "$(ls in)" = 2 ]
two at once~2~out may be in use~^$~files 1 9~flock in $spool in out 2>first; flock out $spool in out~stay && grep -q 'in may be in use' first
one directory~2~the same directory~~files 1 9 && ln -s in twin~$spool in twin~stay
the most urgent first~0~^$~^3 files~for i in 1.bulk 2 3.alarm; do head -c 1000000 /dev/zero >in/$i; done; sums in >sums~$spool -c config in out~came && waits '*.alarm' other '*.bulk'
an alarm that overtakes~0~^$~^301 files~files 300 9~watched~waits '*.bulk' '*.alarm' other
TABLE
exit $bad
