#!/usr/bin/env bash
# docs_check.sh [-l LANGUAGE] PAGE... -- SOURCE...: every piece of code in the pages stands in one of the sources, line after
# line; "..." stands for code that is left out. The language is the one that the pieces are marked with, cpp when it is not given.
set -euo pipefail
language=cpp
if [ "$1" = -l ]; then
    language=$2
    shift 2
fi
awk -v fence='```'"$language" '
    function bare(line) { sub(/\r$/, "", line); sub(/^ +/, "", line); return line }
    function is_shown(piece,   s) {
        for (s = 1; s <= sources; ++s)
            if (index(text[s], piece)) return 1
        return 0
    }
    BEGIN {
        for (i = 1; i < ARGC; ++i) {
            if (ARGV[i] == "--") { between = i; continue }
            if (!between) continue
            text[++sources] = "\n"
            while ((getline line < ARGV[i]) > 0)
                text[sources] = text[sources] bare(line) "\n"
        }
        for (i = 1; i < between; ++i) {
            page = ARGV[i]; number = pieces = inside = 0
            while ((getline line < page) > 0) {
                ++number
                if (line == fence) { inside = 1; piece = "\n"; from = number; continue }
                if (inside && (line == "```" || line == "...")) {
                    inside = line == "..."; ++pieces
                    if (!is_shown(piece)) { print page ":" from ": this code is in no sample and no test"; bad = 1 }
                    piece = "\n"; from = number
                    continue
                }
                if (inside)
                    piece = piece bare(line) "\n"
            }
            print pieces + 0 " pieces of code in " page
            bad = bad || pieces == 0
        }
        exit bad || !between
    }' "$@"
