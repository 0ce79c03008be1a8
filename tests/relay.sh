#!/bin/bash
# Kills relay, and the server whose jobs it does, at random moments. No job may be lost: relay.sh RELAY
set -euo pipefail
relay=$(realpath "$1") jobs=1500 port=$((20000 + RANDOM % 10000)) work=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || :; rm -rf "$work"' EXIT
cd "$work" && mkdir log && : >out

serve() {
  beanstalkd -l 127.0.0.1 -p "$port" -b log -f0 2>>err & server=$!
  until (: <>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; do kill -0 $server; done
}

start() {  # a relay, with ARGUMENTS: start ARGUMENTS...
  "$relay" "$@" "127.0.0.1:$port" test >>out 2>>err <<<'7 ours' & worker=$!
}

reach() {  # waits until COUNT jobs are done: reach COUNT
  until [ "$(grep -o 'job.*' out | sort -u | wc -l)" -ge "$1" ]; do
    [ $SECONDS -lt 60 ] || { tail -n 5 out err && exit 1; }
  done
}

serve
{
  printf 'use test\r\n' >&3
  for job in $(seq $jobs); do
    printf 'put %d 0 5 %d\r\njob %d\r\n' $((RANDOM % 100)) $((4 + ${#job})) "$job"
  done >&3
  head -n $((jobs + 1)) <&3 >>err  # the answers
} 3<>"/dev/tcp/127.0.0.1/$port"

start -j 1
reach 100
kill $worker && wait $worker
grep -v ours out | sort -snc && grep -qx '7 ours' out  # the most urgent first

for round in $(seq 20); do
  start
  reach $((100 + round * 50 + RANDOM % 50))
  [ $((round % 5)) -ne 0 ] || { kill -KILL $server; wait $server || serve; }
  reach $((150 + round * 50))
  kill -KILL $worker && ! wait $worker
done 2>>err
start
reach $jobs
kill $worker && wait $worker
diff <(seq -f 'job %g' $jobs | sort) <(grep -o 'job.*' out | sort -u)
echo "of $jobs jobs $(($(grep -c job out) - jobs)) were done twice, none was lost"
