#!/usr/bin/env bash
# gallery_check.sh TOOLS PROGRAM SOURCE-FOLDER: pages through the gallery by a script, and has the sheet drawn.
set -uo pipefail
tools=$1 program=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
bad=0
cd "$folder" || exit 1
fail() { echo "gallery: $*"; bad=1; }

cat >drive.txt <<'END'
report
key right
key down
key down
key plus
key space
report
key left
key left
key left
key up
key minus
key minus
report
quit
END
timeout 60 "$tools/wine" "$program" --script drive.txt --shot shot.png >out 2>err </dev/null
status=$?
[ "$status" -eq 0 ] || fail "ended with $status"
cat >wanted <<'END'
From top to bottom: RECT, sea, 100 %, painted yes
From left to right: ROUNDRECT, ember, 125 %, painted yes
Glass buttons: ELLIPSE, ember, 75 %, painted yes
END
tr -d '\r' <out | diff wanted - >difference || { fail "other reports than wanted:"; cat difference; }

timeout 60 "$tools/wine" "$program" --sheet sheet.png >out2 2>err2 </dev/null || fail "no sheet: $(cat err2)"
for picture in shot.png sheet.png; do
    [ "$(head -c 8 $picture | od -An -tx1 | tr -d ' \n')" = 89504e470d0a1a0a ] || fail "$picture is no picture"
done
# An empty sheet of this size packs into a few kilobytes.
[ "$(wc -c <sheet.png)" -gt 60000 ] || fail "there is not much on the sheet"

timeout 60 "$tools/wine" "$program" --sheet >out2 2>err2 </dev/null
[ $? -eq 2 ] && grep -q '^gallery: usage' err2 || fail "nonsense was taken"
timeout 60 "$tools/wine" "$program" --sheet no-such-folder/sheet.png >out2 2>err2 </dev/null
[ $? -eq 3 ] || fail "a sheet in a folder that is not there"
[ "$bad" -eq 0 ] && echo "gallery: all as wanted" || cat out err
exit "$bad"
