#!/usr/bin/env bash
# docs_check.sh PAGE SOURCE [LANGUAGE]: every piece of code in the page stands in the source, line after line. The language is
# the one that the pieces are marked with, cpp when it is not given.
set -euo pipefail
awk -v page="$1" -v source="$2" -v fence='```'"${3:-cpp}" '
    function bare(line) { sub(/\r$/, "", line); sub(/^ +/, "", line); return line }
    BEGIN {
        while ((getline line < source) > 0)
            text = text bare(line) "\n"
        while ((getline line < page) > 0) {
            ++number
            if (line == fence) { inside = 1; piece = "\n"; from = number; continue }
            if (inside && line == "```") {
                inside = 0; ++pieces
                if (!index(text, piece)) { print page ":" from ": this code is not in " source; bad = 1 }
                continue
            }
            if (inside)
                piece = piece bare(line) "\n"
        }
        print pieces + 0 " pieces of code in " page
        exit bad || pieces == 0
    }'
