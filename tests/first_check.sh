#!/usr/bin/env bash
# first_check.sh TOOLS PROGRAM SOURCE-FOLDER: whether the README's client prints what it says.
set -uo pipefail
tools=$1 program=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

# Into a file: a process that Wine starts meanwhile would hold a pipe open.
timeout 60 "$tools/wine" "$program" >out 2>err </dev/null || { echo "first: ended with $?"; cat err; exit 1; }
printf '%s\n' '2: 1' 'C: 1' 'R: 1' 'S: 1' >wanted
tr -d '\r' <out | diff - wanted && echo "first: as wanted"
