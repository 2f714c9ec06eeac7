#!/usr/bin/env bash
# no_windows_check.sh OBJDUMP FILE...: fails for a file that imports user32 or gdi32.
set -euo pipefail
objdump=$1
shift
for file in "$@"; do
    imports=$("$objdump" -p "$file" | sed -n 's/.*DLL Name: //p')
    [ -n "$imports" ] || { echo "$file: imports nothing, so this looked at the wrong thing" >&2; exit 1; }
    if windows=$(grep -iE '^(user32|gdi32)\.dll' <<<"$imports"); then
        echo "$file imports" $windows >&2
        exit 1
    fi
    echo "$(basename "$file") imports" $imports
done
