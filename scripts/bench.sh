#!/usr/bin/env bash
# Builds the benchmark programs in Release and runs them one after the other; writes all results to one JSON file and
# prints a table of them.
#
#   scripts/bench.sh                                all, natively; build/bench-native/results.json
#   scripts/bench.sh --windows                      the Windows programs, under Wine; build/bench/results.json
#   scripts/bench.sh --benchmark_filter=Decode      other arguments go to each program
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

road=native
bench=$tarnelBuild/bench-native
suffix=
if [ "${1:-}" = --windows ]; then
    road=windows
    bench=$tarnelBuild/bench
    suffix=.exe
    shift
fi
configure() {
    (cd "$tarnelRoot" && cmake --preset $road -B "$bench" -DTARNEL_BUILD_BENCH=ON -DTARNEL_BUILD_TESTS=OFF)
}

if [ $road = native ]; then roads=(native); else roads=(native windows); fi
"$tarnelRoot/scripts/install-packages.sh" "${roads[@]}"
"$tarnelRoot/scripts/deps.sh" "${roads[@]}"
step configure-bench "configuring the benchmark build" configure
step build-bench "building the benchmark programs" ninja -C "$bench"

# One program that fails does not keep the others from running.
runAll() {
    local program name status=0
    rm -rf results && mkdir results
    for program in bin/*Bench"$suffix"; do
        name=$(basename "$program" "$suffix")
        printf '== %s\n' "$name"
        "${launcher[@]}" "$program" "--benchmark_out=results/$name.json" --benchmark_out_format=json "$@" \
            >"results/$name.txt" 2>&1 || { status=1; printf '   FAILED, see %s\n' "$bench/results/$name.txt"; }
    done
    return $status
}

cd "$bench"
status=0
if [ $road = native ]; then
    launcher=(env)
    runAll "$@" || status=1
else
    # Arrays and functions do not go through the environment, so the session gets the definitions.
    "$tarnelRoot/scripts/with-wine-session.sh" bash -euo pipefail -c "
        bench=$(printf %q "$bench"); suffix=$suffix; launcher=($(printf %q "$tarnelRoot/scripts/wine.sh"))
        $(declare -f runAll)
        runAll \"\$@\"" runAll "$@" || status=1
fi
"$tarnelRoot/tools/merge-benchmarks" results.json results/*.json
printf '\nAll results: %s\n' "$bench/results.json"
exit $status
