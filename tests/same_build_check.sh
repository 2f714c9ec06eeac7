#!/usr/bin/env bash
# same_build_check.sh CMAKE SOURCE DLL FOLDER: builds the DLL a second time, from a copy of the sources at
# another path and in another build folder, and compares.
set -euo pipefail
cmake=$1 source=$2 dll=$3 folder=$4
copy="$folder/a copy"
parts=(CMakeLists.txt CMakePresets.json cmake core)
mkdir -p "$copy"

# Only files that differ are copied and get the time of now, so that those alone are built again.
while IFS= read -r -d '' file; do
    if ! cmp -s "$source/$file" "$copy/$file"; then
        mkdir -p "$copy/$(dirname "$file")"
        cp "$source/$file" "$copy/$file"
    fi
done < <(cd "$source" && find "${parts[@]}" -type f -print0)
while IFS= read -r -d '' file; do
    [ -e "$source/$file" ] || rm "$copy/$file"
done < <(cd "$copy" && find "${parts[@]}" -type f -print0)

cd "$copy"
"$cmake" --preset win32 -DCVCORE_CLIENTS=OFF >/dev/null
"$cmake" --build build/win32 --target CVCore16
if ! cmp "$dll" build/win32/bin/CVCore16.dll; then
    echo "two builds of the same sources differ" >&2
    find "$source/core" -type f -newer "$dll" -exec echo "edited since the first build:" {} \; >&2
    exit 1
fi
echo "identical: $(wc -c <"$dll") bytes"
