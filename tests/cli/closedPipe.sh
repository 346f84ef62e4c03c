#!/usr/bin/env bash
# closedPipe.sh TARNEL DATASET: a reader that has seen enough is no error, whatever the caller does with SIGPIPE.
set -uo pipefail
tarnel=$1
dataset=$2
errors=$(mktemp)
trap 'rm -f "$errors"' EXIT
failures=0

# expectQuietEnd WORDS...: tarnel with these words, into a pipe of which one line is read
expectQuietEnd() {
    local codes first
    first=$("$tarnel" "$@" 2>"$errors" | head -n 1; echo "${PIPESTATUS[0]}")
    codes=${first##*$'\n'}
    if [ "$codes" != 141 ] || [ "$(wc -l <<<"$first")" != 2 ] || [ -s "$errors" ]; then
        echo "'$*' into a closed pipe: exit code $codes, expected 141; said: $(cat "$errors")"
        failures=$((failures + 1))
    fi
}

expectQuietEnd dump "$dataset" --all
expectQuietEnd query "$dataset" --every 1
(
    trap '' PIPE # as services have it
    expectQuietEnd dump "$dataset" --all
    exit "$failures"
) || failures=$((failures + 1))

# A full disk is an error.
if "$tarnel" dump "$dataset" --all 2>"$errors" >/dev/full || ! grep -q "standard output cannot be written" "$errors"; then
    echo "a full disk was not told: $(cat "$errors")"
    failures=$((failures + 1))
fi
exit "$failures"
