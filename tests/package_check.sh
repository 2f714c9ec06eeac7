#!/usr/bin/env bash
# package_check.sh SOURCE BUILD VERSION CXX FOLDER: installs the library and uses it the ways that a client can. The
# package is moved after it was made, to a path with a blank in it.
set -euo pipefail
source=$1 build=$2 version=$3 cxx=$4 folder=$5
fail() { echo "package: $*" >&2; exit 1; }
step() { echo "== $* (${SECONDS}s)"; }
# Through a file: a process that Wine starts meanwhile would hold a pipe open.
run() {
    local status=0
    timeout 60 "$source/tools/wine" "$@" >"$folder/ran" </dev/null || status=$?
    tr -d '\r' <"$folder/ran"
    return $status
}
rm -rf "$folder"
mkdir -p "$folder/a client"
cd "$folder/a client"

step "one version in every file"
[ "$(sed -n 's/^## \([0-9.]*\).*/\1/p' "$source/CHANGELOG.md" | head -n 1)" = "$version" ] ||
    fail "CHANGELOG.md does not begin with $version"
cmake --install "$build" --prefix "$folder/first place" >install.log
package="$folder/a package"
mv "$folder/first place" "$package"
grep -qx "Version: $version" "$package/lib/pkgconfig/cvcore16.pc" || fail "cvcore16.pc has another version"
grep -q "set(PACKAGE_VERSION \"$version\")" "$package/lib/cmake/CVCore16/CVCore16ConfigVersion.cmake" ||
    fail "CVCore16ConfigVersion.cmake has another version"

step "what belongs into the package is there, and no path of this machine"
for file in README.txt bin/CVCore16.dll bin/libgcc_s_dw2-1.dll bin/libstdc++-6.dll bin/libwinpthread-1.dll \
    lib/libCVCore16.dll.a lib/CVCore16.def share/cvcore16/docs/strings.md share/cvcore16/samples/first/main.cpp \
    share/cvcore16/gdb/cvcore16.py share/cvcore16/cvcore16.natvis \
    share/cvcore16/licences/README.txt share/cvcore16/licences/zlib.txt share/cvcore16/licences/GPL-3.txt \
    share/cvcore16/licences/gcc-mingw-w64-base.txt share/cvcore16/licences/mingw-w64-i686-dev.txt; do
    [ -s "$package/$file" ] || fail "$file is missing"
done
grep -q 'This software is provided' "$package/share/cvcore16/licences/zlib.txt" || fail "zlib.txt is no licence"
for header in "$source"/core/h/*.h; do
    cmp "$header" "$package/include/cvcore/${header##*/}"
done
! grep -rlF -e "$source" -e "$build" "$package" || fail "these name the folder that they were made in"

check_output() {
    printf 'consumer: %s, compiled for %d\nconsumer: caught\n' "$version" \
        "$(awk -F. '{ print $1 * 10000 + $2 * 100 + $3 }' <<<"$version")" | diff - "$1" || fail "the client of $1 is wrong"
}

step "a client with find_package"
cp "$source"/tests/consumer/* .
# The toolchain file of the package, as a client without the checkout has it.
cmake -G Ninja -S . -B build -DCMAKE_TOOLCHAIN_FILE="$package/share/cvcore16/cmake/i686-w64-mingw32.cmake" \
    -DCMAKE_PREFIX_PATH="$package" >configure.log
cmake --build build >build.log || { cat build.log; fail "the client does not build"; }
run build/consumer.exe >by-cmake
check_output by-cmake
grep -q PerMonitorV2 build/consumer.exe || fail "cvcore_manifest put no manifest into the program"

step "a client with pkg-config"
mkdir by-hand
flags=$(PKG_CONFIG_LIBDIR="$package/lib/pkgconfig" pkg-config --cflags --libs cvcore16)
eval "set -- $flags"
"$cxx" -std=c++17 -Wall -Wextra -Werror main.cpp -o by-hand/consumer.exe "$@"
cp "$package"/bin/*.dll by-hand
run by-hand/consumer.exe >by-pkg-config
check_output by-pkg-config

step "a client in C"
"${cxx/g++/gcc}" -std=c99 -Wall -Wextra -pedantic -Werror -municode "$package/share/cvcore16/samples/cclient/main.c" \
    -o by-hand/cclient.exe "$@"
cp "$package/README.txt" .
run by-hand/cclient.exe show README.txt 2>/dev/null | diff - <(tr -d '\r' <README.txt) || fail "the client in C reads another text"

step "a client with a run-time of its own ends on the first exception, as documented"
"$cxx" -std=c++17 main.cpp -o by-hand/static.exe "$@" -static-libgcc -static-libstdc++
status=0
run by-hand/static.exe >by-static 2>/dev/null || status=$?
[ "$status" -eq 3 ] || fail "the client with a static run-time ended with $status, the README says 3"
! grep -q caught by-static || fail "the client with a static run-time caught the exception: the README is wrong"

step "the archive is the same tree, and its README holds"
cpack --config "$build/CPackConfig.cmake" -G ZIP -B "$folder/cpack" >cpack.log
name=CVCore16-$version-win32-mingw
unzip -q "$folder/cpack/$name.zip" -d "$folder/unpacked here"
archive="$folder/unpacked here/$name"
diff -r "$package" "$archive" || fail "the archive and the installed package differ"
line=$(sed -n 's/^    g++ \(.*first.*\)/\1/p' "$archive/README.txt")
[ -n "$line" ] || fail "README.txt has no line for the compiler"
mkdir one-line && cd one-line
ln -s "$archive" DIR
eval "\"\$cxx\" $line"
cp DIR/bin/*.dll .
run first.exe >printed
grep -qx 'C: 1' printed || fail "the sample of README.txt printed: $(cat printed)"
cmake -G Ninja -S DIR/share/cvcore16/samples -B build -DCMAKE_PREFIX_PATH="$PWD/DIR" \
    -DCMAKE_TOOLCHAIN_FILE="$PWD/DIR/share/cvcore16/cmake/i686-w64-mingw32.cmake" >configure.log
cmake --build build --target first concordance >build.log || { cat build.log; fail "the samples do not build"; }
[ -e build/concordance/libstdc++-6.dll ] || fail "the samples have no DLLs beside them"
run build/first/first.exe | diff printed - || fail "the sample built with CMake prints something else"
step "all as wanted"
