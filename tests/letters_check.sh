#!/usr/bin/env bash
# letters_check.sh TOOLS PROGRAM SOURCE-FOLDER: what the sample writes and how it ends, good input and bad.
. "$(dirname "$0")/sample_expect.sh"

cd "$folder"
mkdir "a folder"
: >empty.rtf
printf '{\\rtf1{\\b cut' >cut.rtf
printf '{\\rtf1\\ansi\\ansicpg1251 \310\354\377}' >bytes.rtf
real=("$source"/tests/data/rtf/{memo-richedit,notes-pandoc,minutes-abi,gloss-latex,review-writer}.rtf)

expect 0 out "all.rtf: 5 documents, 16 fonts, 22 colours, 98 styles" all.rtf "${real[@]}"
[ "$(grep -c '{\\rtf1' all.rtf)" -eq 1 ] || fail "one document has one header"
[ "$(grep -o '\\page ' all.rtf | wc -l)" -eq 4 ] || fail "five documents have four page breaks between them"
LC_ALL=C grep -q '[^ -~[:space:]]' all.rtf && fail "not all of 7 bits"
for text in 'Memo on naming' 'Release notes' 'Minutes of the modelling round' 'Glossary' 'Data model review'; do
    grep -qF "$text" all.rtf || fail "no '$text' in the merged document"
done
expect 0 out "again.rtf: 2 documents" -p again.rtf all.rtf bytes.rtf
grep -qF '\u1048?\u1084?\u1103?' again.rtf || fail "bytes of another code page are other characters"
expect 2 err "letters: usage: letters [-p] OUT.rtf FILE.rtf..."
expect 2 err "letters: usage:" -p none.rtf
expect 2 err "letters: cut.rtf: the text ends with 2 groups open; the innermost begins at character 6" none.rtf bytes.rtf cut.rtf
expect 2 err "letters: empty.rtf: this is not RTF" none.rtf empty.rtf
expect 2 err "a folder: this is a directory" none.rtf "a folder"
expect 2 err "no such.rtf: " none.rtf "no such.rtf"
expect 2 err "a folder: " "a folder" bytes.rtf
[ -e none.rtf ] && fail "a failed merge leaves a file behind"
[ "$bad" -eq 0 ] && echo "letters: all as wanted"
exit "$bad"
