#!/usr/bin/env bash
# cclient_check.sh TOOLS PROGRAM SOURCE-FOLDER: what the sample in C prints and how it ends, good input and bad.
. "$(dirname "$0")/sample_expect.sh"

cd "$folder"
export CV_SHIP=Bounty
printf '{\\rtf1{\\b cut' >cut.rtf
printf '\377\376d\000\351\000j\000\340\000' >utf16.txt
printf 'Dear %%NAME%%, %%?:NOTE%%the %%$CV_SHIP%% has %%.U:STATE%%%%$CV_NO_SUCH%%.' >form.txt
letters=("$source"/tests/data/rtf/{memo-richedit,notes-pandoc}.rtf)

expect 0 out "2 documents" merge all.rtf "${letters[@]}"
for text in 'Memo on naming' 'Release notes' '\page '; do
    grep -qF "$text" all.rtf || fail "no '$text' in the merged document"
done
expect 2 err 'cut.rtf: the text ends with 2 groups open' merge none.rtf all.rtf cut.rtf
expect 2 err 'missing.rtf: ' merge none.rtf missing.rtf
[ -e none.rtf ] && fail "a failed merge leaves a file behind"
expect 0 out "déjà" show utf16.txt
expect 0 err "code page 1200" show utf16.txt
expect 0 out "Dear Ann, the Bounty has SUNK." fill form.txt NAME=Ann STATE=sunk
expect 0 err "1 values are missing" fill form.txt NAME=Ann STATE=sunk
expect 2 err "cclient: usage:" merge all.rtf
[ "$bad" -eq 0 ] && echo "cclient: all as wanted"
exit "$bad"
