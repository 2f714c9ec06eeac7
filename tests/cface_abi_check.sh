#!/usr/bin/env bash
# cface_abi_check.sh OBJDUMP SOURCE-FOLDER DLL [accept]: what the flat face promises to those who were compiled long
# ago. The DLL exports the header's functions by their plain names, these and no others that begin alike; and what stands in
# tests/abi/cface.txt stands in the header unchanged. New lines are fine, and come into the list with "accept".
set -euo pipefail
objdump=$1 source=$2 dll=$3
header=$source/core/h/cvcore_c.h known=$source/tests/abi/cface.txt
status=0
fail() { echo "flat face: $*" >&2; status=1; }

# One line a function and a constant, without comments and line breaks.
bare() {
    tr '\n' ' ' <"$header" | sed -E 's#/\*([^*]|\*+[^*/])*\*+/# #g; s/[[:space:]]+/ /g' |
        grep -oE 'CVCORE_C_API [^;#]*;|typedef [^;{#]*;|\bCV_[A-Z0-9_]+ = -?[0-9]+' | sed 's/^CVCORE_C_API //' | LC_ALL=C sort
}
if [ "${4:-}" = accept ]; then
    bare >"$known"
fi

declared=$(bare | sed -nE 's/.*CVCORE_CALL (cv_[a-z0-9_]+)\(.*/\1/p' | LC_ALL=C sort)
# Whatever else a compiler would make of the names has them inside.
exported=$("$objdump" -p "$dll" | sed -nE 's/^[[:space:]]*\[ *[0-9]+\] (_?cv_[^ ]*)$/\1/p' | LC_ALL=C sort)
[ "$(wc -l <<<"$declared")" -ge 60 ] || fail "the header was not understood"
diff <(echo "$declared") <(echo "$exported") >&2 || fail "'<' is declared and not exported, '>' exported and not declared"

gone=$(LC_ALL=C comm -23 "$known" <(bare))
[ -z "$gone" ] || fail $'these were promised and are gone or changed:\n'"$gone"
fresh=$(LC_ALL=C comm -13 "$known" <(bare))
[ -z "$fresh" ] || fail $'these are new; accept them with "accept" when they are as they shall stay:\n'"$fresh"

# Pages for other languages are not compiled: at least every name in them is one of the header's.
for name in $(grep -ohE '\b(cv|CV)_[A-Za-z0-9_]+' "$source/docs/c-face.md" | sort -u); do
    grep -qwF -- "$name" "$header" || { [[ $name == *_ ]] && grep -q -- "\b$name" "$header"; } ||
        fail "docs/c-face.md says $name, which the header does not know"
done
echo "$(wc -l <<<"$exported") functions, $(wc -l <"$known") promises"
exit $status
