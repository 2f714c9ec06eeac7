#!/usr/bin/env bash
# concordance_check.sh TOOLS PROGRAM SOURCE-FOLDER: what the sample prints and how it ends, good input and bad.
. "$(dirname "$0")/sample_expect.sh"

cd "$folder"
mkdir "a folder"
: >empty.txt
expect 0 out "11538 words, 1512 different" "$source/samples/concordance/psalms.txt"
expect 0 out "     779  the" "$source/samples/concordance/psalms.txt" 3
expect 0 out "Str17" "$source/samples/concordance/psalms.txt" 0
expect 0 out "words, " "$source/tests/data/sampler-utf8-bom-crlf.txt"
expect 0 out "empty.txt: 0 words, 0 different" empty.txt
expect 2 err "concordance: usage: concordance FILE [HOW_MANY]"
expect 2 err "concordance: usage:" empty.txt many
expect 2 err "no such file.txt: " "no such file.txt"
expect 2 err "a folder: this is a directory" "a folder"
expect 2 err "this is not valid UTF-8" "$source/tests/data/malformed-utf8.txt"
[ "$bad" -eq 0 ] && echo "concordance: all as wanted"
exit "$bad"
