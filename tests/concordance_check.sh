#!/usr/bin/env bash
# concordance_check.sh TOOLS PROGRAM SOURCE-FOLDER: what the sample prints and how it ends, good input and bad.
set -uo pipefail
tools=$1 program=$2 source=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
bad=0

# expect STATUS STREAM TEXT ARGUMENT...: that status, and a line of that stream with the text; a failure says one line
# on standard error and nothing else.
expect() {
    local status=$1 stream=$2 text=$3 got=0
    shift 3
    "$tools/wine" "$program" "$@" >"$folder/out" 2>"$folder/err" </dev/null || got=$?
    if [ "$got" -ne "$status" ]; then
        echo "concordance $*: ended with $got, wanted $status"
        bad=1
    fi
    if ! grep -qF -- "$text" "$folder/$stream"; then
        echo "concordance $*: no '$text' in:"
        cat "$folder/$stream"
        bad=1
    fi
    if [ "$status" -ne 0 ] && { [ -s "$folder/out" ] || [ "$(wc -l <"$folder/err")" -ne 1 ]; }; then
        echo "concordance $*: a failure is one line on standard error"
        bad=1
    fi
}

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
