#!/usr/bin/env bash
# Runs a test program under Wine for CTest: scripts/wine-test.sh PROGRAM.exe [ARGUMENTS]. About once in five thousand
# starts Wine gives up before the program's main. The main of the test programs leaves a file behind; a program that
# fails without having done so never ran, and is started again, twice at most.
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export TARNEL_TEST_STARTED=$folder/started
for attempt in 1 2 3; do
    "$root/scripts/wine.sh" "$@"
    status=$?
    if [ $status -eq 0 ] || [ -e "$TARNEL_TEST_STARTED" ]; then
        break
    fi
    echo "wine-test.sh: status $status before the program's main, attempt $attempt of 3" >&2
done
exit $status
