#!/usr/bin/env bash
# Fuzzes the readers of files: scripts/fuzz.sh [TARGET] [SECONDS]
#
# TARGET is octree, ept, copc, panorama, mesh or region; all of them one after the other without it, or with "all". SECONDS is the
# time for each, 60 without it. Builds what it needs with Clang. What is found interesting stays in build/fuzz/corpus, and
# what is wrong ends the run: its input then lies in build/fuzz/findings. Mend it, and put the input into
# fuzz/regressions/TARGET, which the tests replay.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

targets=(octree ept copc panorama mesh region)
if [ $# -ge 1 ] && [ "$1" != all ]; then
    targets=("$1")
fi
seconds=${2:-60}

scripts/install-packages.sh native tests fuzz
scripts/deps.sh native
mkdir -p build
cmake --preset fuzz >build/fuzz-configure.log || { cat build/fuzz-configure.log; exit 1; }
cmake --build build/fuzz --target fuzz-seeds "${targets[@]/#/fuzz-}"

export ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=0
export UBSAN_OPTIONS=print_stacktrace=1
for target in "${targets[@]}"; do
    corpus=build/fuzz/corpus/$target
    findings=build/fuzz/findings/$target
    mkdir -p "$corpus" "$findings" "fuzz/regressions/$target"
    build/fuzz/bin/fuzz-seeds "$target" "build/fuzz/seeds/$target"
    echo "fuzz: $target, $seconds seconds"
    build/fuzz/bin/"fuzz-$target" -max_total_time="$seconds" -max_len=65536 -timeout=20 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="$findings/" \
        "$corpus" "build/fuzz/seeds/$target" "fuzz/regressions/$target" 2>"build/fuzz/$target.log" ||
        { tail -n 60 "build/fuzz/$target.log"; echo "fuzz: $target has found something, see $findings"; exit 1; }
    grep -m 1 -E 'inline 8-bit counters' "build/fuzz/$target.log" # how many edges there are; cov: those that were seen
    grep -E 'cov:' "build/fuzz/$target.log" | tail -n 1
    grep -E 'stat::(number_of_executed_units|average_exec_per_sec|peak_rss_mb)' "build/fuzz/$target.log"
done
