#!/bin/bash
# Runs mirror on a small tree with awkward things in it: mirror.sh MIRROR, with the emulator ahead of it if there is one.
set -u
mirror=("$@")
work=$(mktemp -d)
trap 'chmod -R u+rwx "$work"; rm -rf "$work"' EXIT
cd "$work" || exit 1
bad=0

wrong() {
  echo "$1" && bad=1
}

# expect STATUS OUTPUT-PATTERN ERROR-PATTERN ARGUMENTS...
expect() {
  local status=$1 output=$2 error=$3 && shift 3
  "${mirror[@]}" "$@" >out 2>err
  local got=$?
  [ $got -eq "$status" ] || wrong "mirror $*: status $got, not $status: $(cat err)"
  grep -qE -- "$output" <<<"$(cat out)" || wrong "mirror $*: no '$output' in: $(cat out)"
  grep -qE -- "$error" <<<"$(cat err)" || wrong "mirror $*: no '$error' in: $(cat err)"
}

same() {
  diff -r --exclude .mirror "$1" "$2" || bad=1
}

modes() {
  (cd "$1" && find . ! -name .mirror -printf '%p %m\n' | sort)
}

mkdir -p source/deep/er source/empty source/closed
printf 'one\n' >'source/a name with  blanks'
printf 'two\n' >$'source/deep/\xff\n=#-j'
: >source/deep/er/nothing
head -c 300000 /dev/urandom >source/deep/large
printf 'x' >source/closed/inside
chmod 640 source/deep/large && chmod 751 source/deep/er && chmod 444 source/closed/inside && chmod 555 source/closed

expect 0 '^5 files, 300009 bytes, .*; 0 unchanged$' '^$' source target
same source target
[ "$(modes source)" = "$(modes target)" ] || wrong "modes: $(modes target)"

# Only what differs is copied again; a record that cannot be whole is no record.
printf 'three\n' >>'source/a name with  blanks'
rm target/deep/er/nothing
expect 0 '^2 files, 10 bytes, .*; 3 unchanged$' '^$' source target
same source target
truncate -s -3 target/.mirror
expect 0 '^5 files, .*; 0 unchanged$' 'damaged' source target
expect 0 '^0 files, .*; 5 unchanged$' '^$' source target

# What cannot be copied is named, and the rest is copied.
mkfifo source/fifo && ln -s nowhere source/link && : >source/.mirror
: >target/.mirror.part-40
mkdir target/taken && printf 'y' >source/taken && printf 'z' >source/new
expect 1 '^1 files' 'taken: rename failed' -j 3 source target
for left_out in fifo link .mirror; do
  grep -q "left out: .*/source/$left_out" err || wrong "not named: $left_out"
done
[ "$(find target -name '.mirror*')" = target/.mirror ] || wrong "left behind: $(find target -name '.mirror*')"
rm -r source/taken target/taken source/fifo source/link source/.mirror

# Without a superuser's power over files: one that may only be read, and one that may not.
[ "$(id -u)" -ne 0 ] || mirror=(setpriv --bounding-set=-all --inh-caps=-all "$@")
printf 's' >source/secret && chmod 000 source/secret
mkdir source/unsearched && : >source/unsearched/file && chmod 644 source/unsearched
expect 1 '^6 files' 'secret: ' source plain
expect 1 '^0 files, .*; 6 unchanged' 'unsearched/file: Permission' source plain
chmod 755 source/unsearched && rm -r source/secret source/unsearched plain/unsearched
same source plain
mirror=("$@")

# What is urgent goes first: one worker's copies bear the times of its work.
printf 'workers=1\nverify=on\nrules=rules.csv # beside this file\n' >config
printf '.last,20\n#.first,9\n.first,10\n' >rules.csv
mkdir order && for i in 1.last 9.none 2.some 3.first; do head -c "${i%.*}000" /dev/zero >order/$i; done
expect 0 '^4 files' '^$' -c config order ordered
[ "$(cd ordered && stat -c '%y %n' -- *.* | sort | cut -d. -f3 | tr '\n' ' ')" = 'first last some none ' ] ||
  wrong "order: $(ls -l --full-time ordered)"

# On a disk that fills up, from sources that may only be read: no short file under its name.
if [ "$(id -u)" -eq 0 ] && mkdir full && mount -t tmpfs -o size=512k none full 2>/dev/null; then
  mkdir large && for i in 1 2 3 4 5 6 7 8; do head -c 100000 /dev/zero >large/$i && chmod 444 large/$i; done
  mirror=(setpriv --bounding-set=-all --inh-caps=-all "$@")
  expect 1 ' files' 'cannot be copied' -j 3 large full/target
  [ -z "$(find full -type f ! -name '.mirror*' ! -size 100000c)" ] || wrong "cut short: $(ls -l full/target)"
  mirror=("$@")
  umount full
fi

# Interrupted, it leaves whole files only, and goes on from there, also when a source goes back to what the record says.
interrupt() {  # when the copy of many/1 has SIZE bytes: interrupt SIZE
  "${mirror[@]}" many cut >/dev/null 2>&1 &
  while [ "$(stat -c %s cut/1 2>/dev/null)" != "$1" ] && kill -0 $! 2>/dev/null; do :; done
  kill -TERM $! 2>/dev/null  # a shell lets its background jobs ignore SIGINT
  wait $!
  [ $? -eq 143 ] || wrong 'not interrupted'
  [ -z "$(find cut -type f ! -name '.mirror*' ! -name 1 ! -size 200000c)" ] || wrong "cut short: $(ls -l cut)"
}
mkdir -m 751 many && for i in $(seq 300); do head -c 200000 /dev/zero >many/"$i"; done
head -c 9 /dev/zero >many/1 && cp -p many/1 former
interrupt 9
expect 0 ' files' '^$' many cut
same many cut
[ "$(stat -c %a cut)" = 751 ] || wrong "TARGET has not the mode of SOURCE: $(stat -c %a cut)"
printf x >many/1 && touch many/*
interrupt 1
cp -p former many/1 && chmod 555 cut
expect 0 ' files' '^$' many cut
same many cut
[ "$(stat -c %a cut)" = 555 ] || wrong "TARGET has lost its mode: $(stat -c %a cut)"

printf 'workers=many\n' >workers && printf 'verify=yes\n' >verify
printf 'rules=absent.csv\n' >rules && printf 'rules=bad.csv\n' >row && printf '.h,1\n.c,one\n' >bad.csv
while read -r pattern arguments; do
  # shellcheck disable=SC2086
  expect 2 '^$' "${pattern//_/ }" $arguments
done <<'CASES'
is_inside source source/deep/new
is_inside source source
absent_is_no_directory absent target
no_directory out target
no_directory source out
missing/:_there_is_no source missing/target
needs_a_SOURCE source
unknown_option -z source target
-j:_takes_a_number_from_1_to_64 -j 0 source target
-j:_takes_a_number_from_1_to_64 -j 4x source target
nofile:_cannot_be_opened -c nofile source target
source:_cannot_be_read -c source source target
workers:_workers:_takes -c workers source target
verify:_verify:_is_on -c verify source target
rules:_rules:_absent.csv_cannot -c rules source target
row:_rules:_bad.csv:_row_2: -c row source target
CASES
exit $bad
