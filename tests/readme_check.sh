#!/usr/bin/env bash
# readme_check.sh SOURCE-FOLDER: the client in the README is the sample, to the letter.
set -euo pipefail
diff <(sed -n '/^```cpp$/,/^```$/p' "$1/README.md" | sed '1d;$d') "$1/samples/first/main.cpp"
