#!/usr/bin/env bash
# same_build_check.sh CMAKE SOURCE DLL FOLDER: builds the DLL a second time, from a copy of the sources at
# another path, in another build folder and as a subfolder of a client's project, and compares.
set -euo pipefail
cmake=$1 source=$2 dll=$3 folder=$4
copy="$folder/a copy"
parts=(CMakeLists.txt cmake core packaging tests/consumer)
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
"$cmake" -G Ninja -S tests/consumer -B build -DCVCORE_SOURCE="$PWD" -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/cmake/i686-w64-mingw32.cmake" >/dev/null
"$cmake" --build build
for name in CVCore16.dll libgcc_s_dw2-1.dll libstdc++-6.dll libwinpthread-1.dll; do
    [ -e "build/$name" ] || { echo "$name is not beside the client's program" >&2; exit 1; }
done
if ! cmp "$dll" build/CVCore16.dll; then
    echo "two builds of the same sources differ" >&2
    find "$source/core" -type f -newer "$dll" -exec echo "edited since the first build:" {} \; >&2
    exit 1
fi
echo "identical: $(wc -c <"$dll") bytes"
