#!/usr/bin/env bash
# dll_file_check.sh OBJDUMP CXXFILT DLL DEF SOURCES: what the file must be like for the clients who get it.
set -euo pipefail
objdump=$1 cxxfilt=$2 dll=$3 def=$4 sources=$5
status=0
fail() { echo "$(basename "$dll"): $*" >&2; status=1; }
facts=$("$objdump" -p "$dll")

# Which machine it is for, and what differs: on 32 bits the compiler's start code counts up libgcc, which is loaded by then.
case $(sed -n 's/.*file format pei-//p' <<<"$facts") in
    i386) unwinder=libgcc_s_dw2-1 may_load=$'LoadLibraryA\nLoadLibraryW' ;;
    x86-64) unwinder=libgcc_s_seh-1 may_load=LoadLibraryW ;;
    *) fail "is for another machine"; exit 1 ;;
esac

# Exactly three run-time DLLs go with ours; every other import is part of Windows.
ours="$unwinder libstdc++-6 libwinpthread-1"
windows='advapi32 comctl32 comdlg32 gdi32 gdiplus kernel32 msimg32 msvcrt ole32 oleaut32 shell32 shlwapi user32'
windows+=' version'
for import in $(sed -n 's/.*DLL Name: //p' <<<"$facts" | tr 'A-Z' 'a-z'); do
    case " $ours $windows " in
        *" ${import%.dll} "*) ;;
        *) fail "imports $import" ;;
    esac
done

name=$(sed -n 's/^Name[[:space:]]*[0-9a-f]*[[:space:]]*\(.*\.dll\)$/\1/p' <<<"$facts" | head -n 1)
[ "$name" = CVCore16.dll ] || fail "calls itself '$name'"

characteristics=$((16#$(sed -n 's/^DllCharacteristics[[:space:]]*\([0-9a-f]*\).*/\1/p' <<<"$facts")))
((characteristics & 0x40)) || fail "does not say that it may be moved (dynamicbase)"
[ "$unwinder" = libgcc_s_dw2-1 ] || ((characteristics & 0x20)) || fail "does not say that it may be moved anywhere (highentropyva)"
((characteristics & 0x100)) || fail "does not say that data is no code (nxcompat)"
"$objdump" -h "$dll" | grep -q '\.reloc' || fail "cannot be moved: it has no relocations"

# objdump's own word for a section is no help (it calls all of them DATA), so the headers are read: 40 bytes each behind
# the optional header, the flags in the last four.
word() { od -An -v -t "u$2" -j "$1" -N "$2" "$dll" | tr -d ' '; }
header=$(word 60 4)
sections=$(word $((header + 6)) 2)
table=$((header + 24 + $(word $((header + 20)) 2)))
readonly executable=0x20000000 writable=0x80000000
code=0
for ((i = 0; i < sections; i++)); do
    flags=$(word $((table + 40 * i + 36)) 4)
    ((flags & executable)) || continue
    code=$((code + 1))
    ((flags & writable)) && fail "section $i can be written and executed"
done
((code == 1)) || fail "has $code sections of code"

# A DLL that is asked for by its bare name may come from the current directory. One function loads, by the system folder's
# full path.
loads=$(sed -n 's/^[[:space:]]*[0-9a-f]*[[:space:]]*[0-9a-f]*[[:space:]]*\(LoadLibrary[A-Za-z]*\|LoadPackagedLibrary\|LdrLoadDll\)$/\1/p' <<<"$facts")
[ "$loads" = "$may_load" ] || fail "loads libraries by: ${loads//$'\n'/ }"
loaders=$(cd "$sources" && grep -lE '\bLoadLibrary(Ex)?[AW]?[[:space:]]*\(' -r . | tr '\n' ' ')
[ "$loaders" = "./src/systemlibrary.cpp " ] || fail "LoadLibrary is called in: $loaders"

# The library's own names only, and no type of the standard library in a signature: its layout is the
# compiler's.
exports=$(sed -n '/^EXPORTS/,$s/^ *\([^ ]*\) @.*/\1/p' "$def" | "$cxxfilt" -n)
[ -n "$exports" ] || fail "exports nothing"
if foreign=$(grep -E '(^|[^A-Za-z_])(std|__gnu_cxx|__cxxabiv1)::' <<<"$exports"); then
    fail "exports names with the standard library's types:"
    printf '    %s\n' "$foreign" >&2
fi
echo "$(wc -l <<<"$exports") exports"
exit $status
