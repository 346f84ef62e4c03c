#!/usr/bin/env bash
# Builds the benchmark programs for Windows in Release and runs them one after the other; arguments go to each of
# them (--benchmark_filter=... for instance).
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

bench=$tarnelBuild/bench
configure() { (cd "$tarnelRoot" && cmake --preset windows -B "$bench" -DTARNEL_BUILD_BENCH=ON -DTARNEL_BUILD_TESTS=OFF); }

"$tarnelRoot/scripts/install-packages.sh"
"$tarnelRoot/scripts/deps.sh"
step configure-bench "configuring the benchmark build" configure
step build-bench "building the benchmark programs" ninja -C "$bench"

runAll() {
    local program
    for program in "$bench"/bin/*Bench.exe; do
        printf '\n%s\n' "$(basename "$program" .exe)"
        "$tarnelRoot/scripts/wine.sh" "$program" "$@" 2>&1 | tr -d '\r'
    done
}
export -f runAll
export tarnelRoot bench
"$tarnelRoot/scripts/with-wine-session.sh" bash -euo pipefail -c 'runAll "$@"' runAll "$@"
