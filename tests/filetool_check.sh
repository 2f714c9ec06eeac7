#!/usr/bin/env bash
# filetool_check.sh TOOLS PROGRAM SOURCE-FOLDER: every command of the sample on real files, good input and bad.
set -uo pipefail
tools=$1 program=$2 source=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
bad=0
cd "$folder" || exit 1

# expect STATUS TEXT ARGUMENT...: that status, and a line with the text: of standard output for 0 and 1; for others of
# standard error, which is one line and all there is.
expect() {
    local status=$1 text=$2 got=0 stream=out
    shift 2
    "$tools/wine" "$program" "$@" >out 2>err </dev/null || got=$?
    [ "$status" -lt 2 ] || stream=err
    if [ "$got" -ne "$status" ] || { [ -n "$text" ] && ! grep -qF -- "$text" "$stream"; }; then
        echo "filetool $*: ended with $got, wanted $status and '$text' in:"
        cat out err
        bad=1
    fi
    if [ "$status" -ge 2 ] && { [ -s out ] || [ "$(wc -l <err)" -ne 1 ]; }; then
        echo "filetool $*: a failure is one line on standard error"
        bad=1
    fi
}

mkdir -p tree/deep/er "a folder"
cp "$source/samples/concordance/psalms.txt" tree/deep/er/
printf 'GIF89a' >tree/picture.gif
printf 'hello' >tree/deep/hello.txt
: >empty

expect 0 'bytes in 3 files' list tree
expect 0 '           6  GIF        tree\picture.gif' list tree
expect 0 "$(printf '%12d' "$(stat -c %s tree/deep/er/psalms.txt)")" list tree
expect 0 'bytes in 0 files' list 'a folder'
expect 2 'missing: ' list missing
expect 2 'this is no directory' list empty

psalms=tree/deep/er/psalms.txt
cp $psalms same
sed '500s/./X/' $psalms >other
expect 0 equal compare $psalms same
expect 1 "different from byte $(($(cmp $psalms other | sed 's/.*byte \([0-9]*\).*/\1/') - 1)) on" compare $psalms other
expect 1 'different from byte 0 on' compare empty same
expect 2 'missing: ' compare same missing

expect 0 '00000000  68 65 6C 6C 6F                                   hello' hex tree/deep/hello.txt
expect 2 'a folder: this is a directory' hex 'a folder'

expect 0 '' encode $psalms text
[ "$(base64 -w0 $psalms)" = "$(cat text)" ] || { echo "filetool encode: not what base64 writes"; bad=1; }
base64 $psalms >wrapped
expect 0 '' decode wrapped back
cmp -s back $psalms || { echo "filetool decode: not the same bytes"; bad=1; }
cp back kept
expect 2 'hello.txt: this is not Base64' decode tree/deep/hello.txt back
cmp -s back kept || { echo "filetool decode: bad input changed the target"; bad=1; }
[ -z "$(find . -name '*.tmp')" ] || { echo "filetool left temporary files"; bad=1; }

expect 0 'file:///C%3A/a%20b/%C3%A9.txt' url 'C:\a b\é.txt'
expect 0 'C:\a b\é.txt' url 'file:///C%3A/a%20b/%C3%A9.txt'
expect 0 'file://server/share/x' url '\\server\share\x'
expect 2 'neither a path nor the URL of a file' url http://x
expect 2 'usage: filetool' hex
expect 2 'usage: filetool' fly away
[ "$bad" -eq 0 ] && echo "filetool: all as wanted"
exit "$bad"
