#!/usr/bin/env bash
# desk_check.sh TOOLS PROGRAM SOURCE-FOLDER: drives the windowed sample by a script and looks at what it reports and shows.
set -uo pipefail
tools=$1 program=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
bad=0
cd "$folder" || exit 1
fail() { echo "desk: $*"; bad=1; }

cat >drive.txt <<'END'
report
menu 102
type hello
report
menu 101
type second
report
menu 101
menu 201
select 1
select 0
label Renamed
report
menu 999
report
menu 102
menu 201
report
quit
END
timeout 60 "$tools/wine" "$program" --script drive.txt --shot shot.png 'open("from outside")' >out 2>err </dev/null
status=$?
[ "$status" -eq 0 ] || fail "ended with $status"
[ "$(wc -l <out)" -eq 6 ] || fail "not six reports"
# What the menu says is from when it was last opened, before the command that it was opened for.
cat >wanted <<'END'
notes 0, selections 0, clear enabled, grid off, label "", idle yes
notes 1, selections 0, clear grey, grid off, label "", idle yes
notes 2, selections 2, clear enabled, grid off, label "Renamed", idle yes
notes 2, selections 2, clear enabled, grid on, label "Renamed", idle yes
notes 0, selections 2, clear grey, grid on, label "Renamed", idle yes
END
tr -d '\r' <out | sed -n '2,$p' | diff wanted - >difference || { fail "other reports than wanted:"; cat difference; }
[ "$(head -c 8 shot.png | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ] || fail "no picture"

for asked in Microsoft.Windows.Common-Controls PerMonitorV2 longPathAware; do
    grep -q "$asked" "$program" || fail "its manifest does not ask for $asked"
done

timeout 60 "$tools/wine" "$program" 'quit()' >out2 2>err2 </dev/null || fail "quit() from outside"
timeout 60 "$tools/wine" "$program" nonsense >out2 2>err2 </dev/null
[ $? -eq 2 ] && grep -q '^desk: usage' err2 || fail "nonsense was taken"
[ "$bad" -eq 0 ] && echo "desk: all as wanted" || cat out err
exit "$bad"
