#!/usr/bin/env bash
# docs_check.sh [-l LANGUAGE] PAGE SOURCE...: every piece of code in the page stands in one of the sources, line after line. The
# language is the one that the pieces are marked with, cpp when it is not given.
set -euo pipefail
language=cpp
if [ "$1" = -l ]; then
    language=$2
    shift 2
fi
page=$1
shift
awk -v page="$page" -v fence='```'"$language" '
    function bare(line) { sub(/\r$/, "", line); sub(/^ +/, "", line); return line }
    BEGIN {
        for (i = 1; i < ARGC; ++i) {
            text = text "\n"
            while ((getline line < ARGV[i]) > 0)
                text = text bare(line) "\n"
        }
        while ((getline line < page) > 0) {
            ++number
            if (line == fence) { inside = 1; piece = "\n"; from = number; continue }
            if (inside && line == "```") {
                inside = 0; ++pieces
                if (!index(text, piece)) { print page ":" from ": this code is in no sample and no test"; bad = 1 }
                continue
            }
            if (inside)
                piece = piece bare(line) "\n"
        }
        print pieces + 0 " pieces of code in " page
        exit bad || pieces == 0
    }' "$@"
