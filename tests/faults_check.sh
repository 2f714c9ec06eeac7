#!/usr/bin/env bash
# faults_check.sh TOOLS PROGRAM SOURCE-FOLDER: what the sample shows: counted problems, a failure with its place, two
# machine faults survived with destructors run, and the records of all that.
set -uo pipefail
tools=$1 program=$2 source=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
bad=0
cd "$folder" || exit 1

cp "$source/samples/faults/malformed.txt" .
"$tools/wine" "$program" malformed.txt >out 2>err </dev/null
status=$?
[ "$status" -eq 0 ] || { echo "faults: ended with $status"; bad=1; }
while IFS= read -r line; do
    grep -qF -- "$line" out || { echo "faults: no '$line'"; bad=1; }
done <<'END'
    malformed.txt(2) : Error: 13 bytes that are not UTF-8
    malformed.txt(4) : Error: 17 bytes that are not UTF-8
    malformed.txt(4) : Warning: the rest is not looked at
    SEEncodingException: this is no UTF-8 text
samples/faults/main.cpp(
3 errors, 1 warnings
    the guest of WriteNowhere leaves
    survived: SEMachineFault: access violation (0xC0000005) writing 0x00000000
    the guest of DivideByZero leaves
    survived: SEMachineFault: integer division by zero (0xC0000094)
*** Fault caught by a guard
at faults.exe+0x
*** For the log alone: std::out_of_range: row 12 of 10
END
[ "$(grep -c '^==== ' out)" -eq 3 ] || { echo "faults: not three records"; bad=1; }
[ "$bad" -eq 0 ] || cat out err

"$tools/wine" "$program" missing.txt >out 2>err </dev/null
status=$?
{ [ "$status" -eq 2 ] && [ ! -s out ] && grep -qF "faults: missing.txt: " err; } ||
    { echo "faults missing.txt: ended with $status"; cat out err; bad=1; }
[ "$bad" -eq 0 ] && echo "faults: all as wanted"
exit "$bad"
