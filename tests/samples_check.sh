#!/usr/bin/env bash
# samples_check.sh TOOLS PROGRAM-FOLDER SOURCE-FOLDER: each sample has a README whose first line ./run lists, and the transcripts
# there are what the programs print. A line "..." in a transcript stands for any lines.
set -uo pipefail
tools=$1 programs=$2 source=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
bad=0
fail() { echo "samples: $*"; bad=1; }

cd "$folder" || exit 1
ln -s "$source/samples" samples
mkdir build
# As the root's ./run, for programs that are built.
printf '#!/bin/bash\nname=$1; shift\nexec "%s/wine" "%s/$name.exe" "$@"\n' "$tools" "$programs" >run
chmod +x run

# same WANTED GOT: line by line, where a line "..." of the first may be any number of lines of the second.
same() {
    awk -v wanted="$1" -v got="$2" '
        function matches(i, j,   k) { # those of wanted from i on, and those of got from j on
            for (; i <= n; ++i) {
                if (w[i] == "...") {
                    for (k = j; k <= m + 1; ++k)
                        if (matches(i + 1, k)) return 1
                    return 0
                }
                if (j > m || w[i] != g[j++]) return 0
            }
            return j == m + 1
        }
        BEGIN {
            while ((getline line < wanted) > 0) w[++n] = line
            while ((getline line < got) > 0) { sub(/\r+$/, "", line); g[++m] = line }
            exit !matches(1, 1)
        }'
}

# Runs the last command read, and compares with what was read behind it.
command=
finish() {
    [ -n "$command" ] || return 0
    eval "$command" >got 2>&1 </dev/null
    commands=$((commands + 1))
    same wanted got || { fail "$sample: '$command' prints other than its README says:"; cat got; }
}

"$source/run" --list >listed || fail "./run --list fails"
for main in samples/*/main.c*; do
    sample=$(basename "$(dirname "$main")")
    readme=samples/$sample/README.md
    [ -f "$readme" ] || { fail "$sample has no README.md"; continue; }
    title=$(sed -n "1s/^# $sample: \(.\)/\1/p" "$readme")
    [ -n "$title" ] || fail "$readme does not begin with '# $sample: ...'"
    grep -qE "^  $sample +$title\$" listed || fail "./run --list does not name $sample"
    commands=0 inside=
    while IFS= read -r line; do
        case $inside$line in
            '```console') inside=. command= ;;
            '.```') finish; inside= ;;
            '.$ '*) finish; command=${line#'$ '}; : >wanted ;;
            .*) printf '%s\n' "$line" >>wanted ;;
        esac
    done <"$readme"
    [ "$commands" -gt 0 ] && grep -q "^\$ ./run $sample\b" "$readme" || fail "$readme has no transcript of ./run $sample"
done
status=0
"$source/run" no-such-sample >/dev/null 2>err || status=$?
[ "$status" -eq 2 ] && grep -q 'neither a sample nor a file' err || fail "./run takes a name that is none"
[ "$bad" -eq 0 ] && echo "samples: all as wanted"
exit "$bad"
