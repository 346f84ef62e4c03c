#!/usr/bin/env bash
# Runs a test program of the address sanitizer's build for CTest: scripts/asan-test.sh PROGRAM [ARGUMENTS]. At its end the
# leak checker stops all threads, those of the drivers among them, and once in many hundred programs it crashes itself
# in that. Only a program whose tests have passed and whose leak checker crashed is run again, twice at most; leaks,
# errors and failed tests count at once.
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
for attempt in 1 2 3; do
    "$@" 2>"$folder/errors" | tee "$folder/output"
    status=${PIPESTATUS[0]}
    cat "$folder/errors" >&2
    if [ "$status" -eq 0 ] || ! grep -q '^Tracer caught signal' "$folder/errors" ||
        ! grep -qF '[  PASSED  ]' "$folder/output" || grep -qF '[  FAILED  ]' "$folder/output"; then
        break
    fi
    echo "asan-test.sh: the leak checker crashed, attempt $attempt of 3" >&2
done
exit "$status"
