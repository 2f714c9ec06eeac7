#!/usr/bin/env bash
# failures_check.sh SOURCE-FOLDER: every exception class and every named failure code of the public headers stands in a table of
# docs/failures.md, codes with their numbers; and the tables know none that is gone.
set -euo pipefail
page=$1/docs/failures.md headers=$1/core/h
status=0 known=0
fail() { echo "failures.md: $*" >&2; status=1; }
rows=$(grep '^|' "$page")

# has WHAT PATTERN...: a row with the name and, where given, the number.
has() {
    local row
    row=$(grep -F -- "\`$1\`" <<<"$rows") || { fail "no row has $1"; return; }
    [ -z "${2:-}" ] || grep -qE -- "[\`|, ]$2[\`|, ]" <<<"$row" || fail "the row of $1 does not say $2"
    known=$((known + 1))
}

for class in $(cat "$headers"/*.h | sed -nE 's/^class CVCORE_API (SE[A-Z][A-Za-z]*|S[A-Za-z]*Exception)( : .*)? \{.*/\1/p'); do
    has "$class"
done
while read -r name number; do
    has "$name" "$number"
done < <(cat "$headers"/*.h | tr '\n' ' ' |
    grep -oE '\bk[A-Za-z]+ *= *static_cast<long>\(0x8[0-9A-F]{7}\)' | sed -E 's/^(k[A-Za-z]+).*\((0x[0-9A-F]+)\)/\1 \2/')
while read -r name number; do
    has "$name" "$number"
done < <(sed -nE 's/.*\b(CV_E_[A-Z_]+) = (-[0-9]+).*/\1 \2/p' "$headers/cvcore_c.h")

for name in $(grep -oE '`(SE[A-Z][A-Za-z]*|CV_E_[A-Z_]+)`' <<<"$rows" | tr -d '`' | sort -u); do
    grep -qwF -- "$name" "$headers"/*.h || fail "$name is in no header"
done
[ "$known" -ge 40 ] || fail "only $known names were found in the headers: they were not understood"
echo "$known names in the tables"
exit $status
