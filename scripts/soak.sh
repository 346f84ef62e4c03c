#!/usr/bin/env bash
# Does everything that a host can do, at random, and looks at what the process uses: scripts/soak.sh [--windows] MINUTES [SEED]
#
# Two clouds, a panorama and a mesh come and go, camera, size and settings change, points are picked, exported and queried.
# At the end the slope of the memory is printed, and how many handles and threads are left. The exit status tells whether
# memory was flat and none of them stayed. A seed repeats the decisions, not the times at which data arrive.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

preset=native
if [ "${1:-}" = --windows ]; then
    preset=windows
    shift
fi
if [ $# -lt 1 ]; then
    sed -n '2,6s/^# //p' "$0"
    exit 1
fi

scripts/install-packages.sh "$preset" tests
scripts/deps.sh "$preset"
build=build/soak-$preset # of its own: others build this preset without tests
mkdir -p build
cmake --preset "$preset" -B "$build" -DTARNEL_BUILD_TESTS=ON -DTARNEL_QUICK_TESTS=ON >build/soak-configure.log ||
    { cat build/soak-configure.log; exit 1; }
cmake --build "$build" --target soak
if [ "$preset" = windows ]; then
    exec scripts/with-wine-session.sh scripts/wine.sh "$build/bin/soak.exe" "$@"
fi
exec "$build/bin/soak" "$@"
