#!/bin/bash
# Runs mirror on a small tree with awkward things in it: mirror.sh MIRROR, with the emulator ahead of it if there is one.
set -u
mirror=("$@")
work=$(mktemp -d)
trap 'chmod -R u+rwx "$work"; rm -rf "$work"' EXIT
cd "$work" || exit 1
bad=0

# expect STATUS ERROR-PATTERN ARGUMENTS...
expect() {
  local status=$1 pattern=$2 && shift 2
  "${mirror[@]}" "$@" >out 2>err
  local got=$?
  [ $got -eq "$status" ] || { echo "mirror $*: status $got, not $status" && cat err && bad=1; }
  grep -qE -- "$pattern" <<<"$(cat err)" || { echo "mirror $*: no '$pattern' in: $(cat err)" && bad=1; }
}

mkdir -p source/deep/er source/empty source/closed
printf 'one\n' >'source/a name with  blanks'
printf 'two\n' >$'source/deep/\xff\n-j'
: >source/deep/er/nothing
head -c 300000 /dev/urandom >source/deep/large
printf 'x' >source/closed/inside
chmod 640 source/deep/large && chmod 751 source/deep/er && chmod 555 source/closed

expect 0 '^$' source target
diff -r source target || bad=1
[ "$(cd source && find . -printf '%p %m\n' | sort)" = "$(cd target && find . -printf '%p %m\n' | sort)" ] || { echo modes && bad=1; }
grep -qE '^5 files, 300009 bytes, [0-9.]+ s$' out || { echo "summary: $(cat out)" && bad=1; }

# Once more over its own result, with what it cannot copy added.
mkfifo source/fifo && ln -s nowhere source/link
: >target/.mirror.part-40
mkdir target/taken && printf 'y' >source/taken
expect 1 'taken' -j 3 source target
expect 1 'left out: .*/source/fifo' source target
expect 1 'left out: .*/source/link' source target
rm -r source/taken target/taken
expect 0 . -j 1 source target
[ -z "$(find target -name '.mirror*')" ] || { echo "left behind: $(find target -name '.mirror*')" && bad=1; }

# Interrupted, it leaves whole files only.
mkdir many && for i in $(seq 300); do head -c 200000 /dev/zero >many/"$i"; done
"${mirror[@]}" many cut >/dev/null 2>&1 &
while [ ! -e cut/7 ] && kill -0 $! 2>/dev/null; do :; done
kill -INT $! 2>/dev/null
wait $!
[ -z "$(find cut -type f ! -name '.mirror*' ! -size 200000c)" ] || { echo "cut short: $(find cut -type f ! -name '.mirror*' ! -size 200000c)" && bad=1; }
expect 0 '^$' many cut
diff -r many cut || bad=1

expect 2 'is inside' source source/deep/new
expect 2 'is inside' source source
expect 2 'absent' absent target
expect 2 'no directory' out target
expect 2 'unknown option' -z source target
expect 2 '1 to 64' -j 0 source target
expect 2 '1 to 64' -j 4x source target
expect 2 'SOURCE' source
exit $bad
