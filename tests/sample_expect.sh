# sample_expect.sh, read by checks with the arguments TOOLS PROGRAM.exe SOURCE-FOLDER: a folder for the run, and what a sample on
# the console is to print and how it is to end. A check ends with `exit "$bad"`.
set -uo pipefail
tools=$1 program=$2 source=$3
sample=$(basename "$program" .exe)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
bad=0

fail() {
    echo "$sample: $*"
    bad=1
}

# expect STATUS STREAM TEXT ARGUMENT...: that status, and a line of that stream with the text; a failure says one line
# on standard error and nothing else.
expect() {
    local status=$1 stream=$2 text=$3 got=0
    shift 3
    "$tools/wine" "$program" "$@" >"$folder/out" 2>"$folder/err" </dev/null || got=$?
    [ "$got" -eq "$status" ] || fail "$*: ended with $got, wanted $status"
    if ! grep -qF -- "$text" "$folder/$stream"; then
        fail "$*: no '$text' in:"
        cat "$folder/$stream"
    fi
    if [ "$status" -ne 0 ] && { [ -s "$folder/out" ] || [ "$(wc -l <"$folder/err")" -ne 1 ]; }; then
        fail "$*: a failure is one line on standard error"
    fi
}
