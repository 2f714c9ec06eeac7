#!/usr/bin/env bash
# runner_check.sh WINE-TEST MISBEHAVE.exe [guarded]: whether the runner sees each way in which a test program can go
# wrong. With a guarded heap one byte too far is such a way.
set -euo pipefail
runner=$1 program=$2
status=0

# expect CASE STATUS TEXT: the run of that case ends with STATUS (or "any" but 0) and prints TEXT.
expect() {
    local got=0 output
    output=$(CV_HUNG_SECONDS="${4:-240}" "$runner" "$program" --gtest_filter="$1" 2>&1) || got=$?
    if { [ "$2" = any ] && [ "$got" -ne 0 ]; } || [ "$2" = "$got" ]; then
        if grep -q -- "$3" <<<"$output"; then
            echo "as it should be: $1"
            return
        fi
    fi
    echo "$1: ended with $got (wanted $2), or did not print '$3':" >&2
    printf '    %s\n' "${output//$'\n'/$'\n'    }" >&2
    status=1
}

expect 'Misbehave.Passes' 0 '^test program passed: 1 tests'
expect 'Misbehave.Fails' 1 'repeat with: CV_SEED=[0-9]* .* --gtest_filter=.Misbehave.Fails.'
expect 'Misbehave.WritesToNull' 99 'CRASH: code 0xc0000005 .* writing 0x0*, at misbehave.exe+0x'
expect 'Misbehave.EndsEarlyWithStatus0' 1 'without its closing line'
expect 'Misbehave.Hangs' 98 'HUNG: .*' 1
expect 'Misbehave.Hangs' 98 ' misbehave.exe+0x' 1
expect 'Misbehave.NoSuchCase' any 'no test ran'
if [ "${3:-}" = guarded ]; then
    for where in BehindABlock BehindAnArray BehindABlockOfAPool BehindAString InABlockThatIsNoMore; do
        expect "OneByteTooFar.$where" 99 'CRASH: code 0xc0000005 .* reading 0x.*, at misbehave.exe+0x'
    done
    expect 'OneByteTooFar.InFrontOfABlock' 99 'something was written in front of a block'
    expect 'OneByteTooFar.BehindABlockOfAnOddSize' 99 'something was written behind a block'
fi
exit $status
