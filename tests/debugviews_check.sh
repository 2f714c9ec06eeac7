#!/usr/bin/env bash
# debugviews_check.sh SOURCE GDB PROGRAM: stops a program where it has one of everything, and looks at what the
# debugger shows with our views. Wine's debugger serves the process, GDB reads it from there.
set -euo pipefail
source=$1 gdb=$2 program=$3
export LC_ALL=C.UTF-8
folder=$(mktemp -d)
server=
clean_up() {
    [ -z "$server" ] || kill "$server" 2>/dev/null || true
    rm -rf "$folder"
}
trap clean_up EXIT
trap 'exit 143' TERM INT HUP

cat >"$folder/wanted" <<'END'
text: L"café \"😀\"\n"
copy: L"café \"😀\"\n"
empty: L""
locked: L"abc" (locked)
wild: <damaged: length -1, capacity -1, owners -1>
null: SBlob, null
none: SBlob of 0 bytes
bytes: SBlob of 3 bytes, shared by 2: 00 FF 7A
large: SBlob of 100 bytes: 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ...
stock: SMap of 3 = {[L"apples"] = 6, [L"figs"] = 4, [L"pears"] = 5}
numbers: SMap of 10 = {[0] = 0, [1] = 1.5, [2] = 3, [3] = 4.5, [4] = 1, [5] = 2.5, [6] = 4, [7] = 0.5, [8] = 2, [9] = 3.5}
noNumbers: SMap of 0
settings: SStringMap of 2 = {[L"title"] = L"a", [L"width"] = L"100"}
ordered: SStringUnsortedMap of 2 = {[L"z"] = L"1", [L"a"] = L"2"}
squares: STable of 5, shared by 2 = {0, 1, 4, 9, 16}
noSquares: STable of 0
names: STable of 2 = {L"one", L"café \"😀\"\n"}
emptyList: SDList of 0
list: SDList of 2 = {{priority = 1}, {priority = 2}}
tree: STree of 5 = {[0] = {name = L"C:"}, [0.0] = {name = L"Windows"}, [0.0.0] = {name = L"Fonts"}, [0.1] = {name = L"Users"}, [1] = {name = L"D:"}}
*info: class Frame : SCmdTarget, 4 bytes, can be created
*map: SMsgMap of 3 = {WM_COMMAND 101: Frame::OnAdd(), WM_COMMAND 201 to 209: Frame::OnSome(unsigned int), WM_COMMAND 101 (update): Frame::OnUpdateAdd(SCmdUI*)}
natvis: 10 types as the headers have them
END

cat >"$folder/look.py" <<END
import re, sys
sys.path.insert(0, "$source/tests/support")
import gdb
import natvis_check

def say(line):
    sys.__stdout__.buffer.write((line + "\n").encode("utf-8"))
    sys.__stdout__.buffer.flush()

for name in re.findall("^([*a-zA-Z]+):", open("$folder/wanted", encoding="utf-8").read(), re.M):
    if name == "natvis":
        continue
    shown = gdb.execute("output " + name, to_string=True).strip()
    # What the compiler knows of the base of an item depends on the DLL's debug information.
    shown = re.sub(r"<S(?:DList|Tree)Item> = \{.*?\}, (?=priority|name)", "", shown)
    say("%s: %s" % (name, shown.replace("(anonymous namespace)::", "")))
faults, types = natvis_check.check("$source/tools/cvcore16.natvis", ["$source/core/h", "$source/core/src"])
say("natvis: %s" % ("; ".join(faults) or "%d types as the headers have them" % types))
END

# A port that nobody listens at. To ask by connecting would take the server's one connection.
port=$((20000 + $$ % 20000))
listens() { grep -qi ": [0-9A-F]*:$(printf %04X "$port") 0*:0000 0A " /proc/net/tcp; }
while listens; do port=$((port + 1)); done
"$source/tools/wine" winedbg --gdb --no-start --port "$port" "$program" >"$folder/server" 2>&1 </dev/null &
server=$!
for ((i = 0; i < 600; i++)); do
    listens && break
    kill -0 "$server" 2>/dev/null || break
    sleep 0.05
done
listens || { echo "debugviews: Wine's debugger does not serve the program:" >&2; cat "$folder/server" >&2; exit 1; }

timeout 90 "$gdb" -nx -batch -iex 'set width 0' -iex 'set auto-load off' \
    -ex "source $source/tools/gdb/cvcore16.py" \
    -ex "target remote localhost:$port" -ex 'break Stop' -ex continue -ex up -ex "source $folder/look.py" -ex kill \
    "$program" >"$folder/all" 2>"$folder/errors" </dev/null || true
grep -E '^([*a-zA-Z]+): ' "$folder/all" | diff "$folder/wanted" - || {
    echo "debugviews: other views than wanted; what GDB said:" >&2
    cat "$folder/all" "$folder/errors" >&2
    exit 1
}
echo "debugviews: all as wanted"
