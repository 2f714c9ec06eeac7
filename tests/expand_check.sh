#!/usr/bin/env bash
# expand_check.sh TOOLS PROGRAM SOURCE-FOLDER: the sample on good and bad input, its cache, and what streamdump shows of it.
set -uo pipefail
tools=$1 program=$2
dump=$(dirname "$program")/streamdump.exe
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
bad=0
cd "$folder" || exit 1
fail() { echo "expand: $*"; bad=1; }

# run STATUS PROGRAM ARGUMENT...: that status; output in out and err.
run() {
    local status=$1 got=0
    shift
    "$tools/wine" "$@" >out 2>err </dev/null || got=$?
    [ "$got" -eq "$status" ] || { fail "$* ended with $got, wanted $status"; cat out err; }
}
has() { grep -qF -- "$2" "$1" || { fail "no '$2' in $1:"; cat "$1"; }; }

printf 'NAME = Ann\n# a comment\n\nCITY=Z\xC3\xBCrich\nNOTE =\n' >values.txt
printf 'Dear %%NAME%%,\n%%-10:CITY%%|%%.q:NAME%%|%%?:NOTE%%\n' >letter.txt
run 0 "$program" letter.txt values.txt letter.out
[ "$(cat letter.out)" = "$(printf "Dear Ann,\n    Z\xC3\xBCrich|'Ann'|")" ] || { fail "the output:"; cat letter.out; }
[ -f values.txt.cache ] || fail "no cache"
run 0 "$dump" values.txt.cache string ulong ulong ulong map
has out '00000000  string   "expand values 1"'
has out '0000001D  map      3 pairs'
has out '00000021           [0] "CITY" = "Zürich"'

# From the cache, and not written again; a damaged cache is read over.
touch -d '2020-01-01' letter.out
run 0 "$program" letter.txt values.txt letter.out
[ "$(date -r letter.out +%Y)" = 2020 ] || fail "the same output was written again"
for size in 3 20 40; do
    truncate -s $size values.txt.cache
    run 0 "$program" letter.txt values.txt letter.out
done
run 0 "$dump" values.txt.cache string ulong ulong ulong map

printf 'no sign\n=nameless\nNAME=1\nNAME=2\n' >bad.txt
run 2 "$program" letter.txt bad.txt other.out
has err 'bad.txt(1) : Warning: no "=" in this line'
has err 'bad.txt(2) : Error: a value without a name'
has err 'bad.txt(4) : Warning: another value for NAME'
has err 'letter.txt(2) : Warning: CITY is unknown'
[ ! -e bad.txt.cache ] || fail "values with problems were cached"
printf 'NAME=Bo\n' >few.txt
run 1 "$program" letter.txt few.txt other.out
run 2 "$program" --strict letter.txt few.txt other.out
has err 'letter.txt(2) : Error: CITY is unknown'
printf '$NAME$ 100%%\n' >dollar.txt
run 0 "$program" --delimiter '$' dollar.txt few.txt other.out
has other.out 'Bo 100%'
run 2 "$program" missing.txt few.txt other.out
has err 'expand: missing.txt: '
run 2 "$program" letter.txt
has err 'expand: usage: expand'

printf '\x07\x00\x00\x00\x02a\x00\x05abcd' >cut.bin
run 2 "$dump" cut.bin long string string
has out '00000000  long     7'
has out '00000004  string   "a"'
has err 'streamdump: cut.bin ends at 12, within a value'
run 0 "$dump" cut.bin long byte*
has out '0000000B  byte     100'
run 0 "$dump" cut.bin long
has out '00000004  8 bytes more'
run 2 "$dump" cut.bin word
has err 'word: not one of'
[ "$bad" -eq 0 ] && echo "expand: all as wanted"
exit "$bad"
