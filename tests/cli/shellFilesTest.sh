#!/usr/bin/env bash
# shellFilesTest.sh FOLDER: what bash completes with FOLDER/tarnel.bash, and whether zsh and groff can read the other files.
set -euo pipefail
folder=$1
source "$folder/tarnel.bash"
failures=0

# expectCompletions <expected, one a line> <words, the last of which is completed>...
expectCompletions() {
    local expected=$1 actual
    shift
    COMP_WORDS=("$@")
    COMP_CWORD=$(($# - 1))
    _tarnel || true # compopt fails where nothing is being completed
    actual=$(printf '%s\n' "${COMPREPLY[@]}")
    if [ "$actual" != "$expected" ]; then
        echo "\"$*\" is completed by \"$actual\", expected was \"$expected\""
        failures=$((failures + 1))
    fi
}

temporary=$(mktemp -d)
trap 'rm -rf "$temporary"' EXIT
touch "$temporary/a cloud" "$temporary/other"

expectCompletions render tarnel re
expectCompletions --version tarnel --v
expectCompletions $'TomographicDark\nTomographicBright' tarnel render x.png --mode Tomo
expectCompletions "$temporary/a cloud" tarnel render --cloud "$temporary/a"
expectCompletions "$temporary/other" tarnel info "$temporary/o"
expectCompletions "" tarnel render --eye ""
expectCompletions --oriented-box tarnel query cloud --or
expectCompletions "" tarnel sample --mo
expectCompletions "" tarnel devices ""

zsh -n "$folder/_tarnel" || failures=$((failures + 1))
warnings=$(groff -man -ww -z -Tutf8 "$folder/tarnel.1" 2>&1)
if [ -n "$warnings" ]; then
    echo "groff: $warnings"
    failures=$((failures + 1))
fi
[ $failures -eq 0 ]
