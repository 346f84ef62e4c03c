#!/usr/bin/env bash
# The whole check: formatting, layers, headers, all tests with a Direct3D device under the sanitizers on this host, all
# tests as Windows programs under Wine, all tests here by another compiler, which looks at the sources too, programs that use
# the install tree of either, and the pictures of both; the reference of the interface.
# Installs what it needs on a fresh Debian machine. Logs lie in build/logs.
set -uo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
cd "$tarnelRoot"

# Lets the cache bear precompiled headers, and spares it preprocessing everything a second time.
export CCACHE_DEPEND=1 CCACHE_SLOPPINESS=pch_defines,time_macros
# And serve another clone: nothing that is built depends on where the sources lie, but for what is told so by a macro.
export CCACHE_BASEDIR=$tarnelRoot CCACHE_NOHASHDIR=1
failed=()
failedChecks=0
summaries=()

# check <name> <what happens> <command...>: a step whose failure is remembered; the others still run.
check() {
    if ! step "$@"; then
        failed+=("$1")
        failedChecks=$((failedChecks + 1))
        return 1
    fi
}

# countTests <preset>: in CTest's record of its last run, whose tests are suites of GoogleTest or programs of another kind.
countTests() {
    awk '/^\[  PASSED  \] [0-9]+ test/ { suite = 1; passed += $4 }
        /^\[  FAILED  \] [0-9]+ tests?, listed/ { faults = $4 }
        /^Test (Passed|Failed)\./ || /^Test .*(Timeout|Exception)/ {
            if ($2 != "Passed.") failed += faults ? faults : 1
            else if (!suite) passed++
            suite = faults = 0
        }
        END { printf "%d passed, %d failed", passed, failed }' "$tarnelBuild/$1/Testing/Temporary/LastTest.log"
}

# tests <name> <what happens> --preset <preset> <arguments...>: the same, keeping the line that counts the tests.
tests() {
    local name=$1 text=$2
    shift 2
    if ! step "$name" "$text" ctest --no-tests=error \
        --test-output-size-passed 1000000 --test-output-size-failed 1000000 "$@"; then
        failed+=("$name")
        echo "   what failed:"
        grep -vE ' Passed | Start +[0-9]+: |^\[ +(RUN|OK) +\]' "$tarnelLogs/$name.log" | tail -n 200 | cut -c1-300 | sed 's/^/   | /'
    fi
    local counts
    counts=$(countTests "$2")
    [ "$counts" != "0 passed, 0 failed" ] || failedChecks=$((failedChecks + 1))
    summaries+=("$name: $counts")
}

# Clang's builds are not kept, and are made in half the time so.
lessOptimized=(-DCMAKE_CXX_FLAGS_RELEASE="-O1 -DNDEBUG")

# build <preset> <what> <arguments...>: configures and builds; tells whether that worked.
build() {
    check "configure-$1" "configuring $2" \
        cmake --preset "$1" -DTARNEL_QUICK_TESTS=ON -DTARNEL_TEST_SUITES=ON "${@:3}" &&
        check "build-$1" "building $2" cmake --build --preset "$1"
}

# What Clang's programs for Windows do: a test of the library as it is shipped, a picture, and an error that crosses the
# borders of libraries as an exception.
windowsClang() {
    local bin=$tarnelBuild/windows-clang/bin folder=$tarnelBuild/windows-clang/smoke
    rm -rf "$folder" && mkdir -p "$folder" &&
        TARNEL_REQUIRE_DEVICE=1 scripts/wine-test.sh "$bin/RenderLibraryTests.exe" &&
        scripts/wine.sh "$bin/tarnel.exe" thumbnail tests/data/autzen_brotli --output "$folder/picture.png" &&
        [ -s "$folder/picture.png" ] &&
        ! scripts/wine.sh "$bin/tarnel.exe" info "$folder" 2>"$folder/error" &&
        grep 'no data set here' "$folder/error"
}

windowsTests() {
    tests windows "running the device's and the tool's tests as they are shipped" --preset windows -L device
    export TARNEL_WINE_D3D=wined3d
    tests wined3d "running the device layer's tests on Wine's own Direct3D" --preset windows -L gpu
    unset TARNEL_WINE_D3D
}

# withAvx2 <command...>: runs it where the processor can.
withAvx2() {
    if grep -qw avx2 /proc/cpuinfo; then
        "$@"
    else
        echo "NOT RUN, this processor has no AVX2: $*"
    fi
}

# consumer <preset> <toolchain arguments...>: programs built against the install tree only, in a folder that knows nothing
# of the sources.
consumer() {
    local preset=$1 install=$tarnelBuild/install/$1 build=$tarnelBuild/consumer/$1 ending= runner=()
    shift
    if [ "$preset" = windows ]; then
        ending=.exe runner=(env "WINEPATH=Z:$install/bin" "$tarnelRoot/scripts/wine.sh")
    fi
    rm -rf "$install" "$build"
    cmake --install "$tarnelBuild/$preset" --prefix "$install" &&
        tools/update-notices --check-tree "$install" &&
        cmake -G Ninja -S tests/consumer -B "$build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$install" "$@" &&
        cmake --build "$build" &&
        "${runner[@]}" "$build/consumer$ending" tests/data/autzen_brotli "$build/picture.png" &&
        withAvx2 "${runner[@]}" "$build/consumer-avx2$ending" tests/data/autzen_brotli "$build/avx2.png" &&
        "${runner[@]}" "$install/bin/tarnel$ending" sample "$build/shown/out/sample" --points 50000 --cloud-only &&
        (cd "$build/shown" && "${runner[@]}" "$build/readme$ending" && [ -s picture.png ] &&
            "${runner[@]}" "$build/coordinates$ending" && "${runner[@]}" "$build/extending$ending" && [ -s room.png ] &&
            "${runner[@]}" "$build/hosting$ending" && [ -s hosting.png ]) &&
        examples "$@"
}

# example <folder> <arguments...>: builds it as the users of an install tree do, and runs it.
example() {
    local folder=$1 name=${1#*-}
    shift
    echo "== example $folder"
    cmake -G Ninja -S "examples/$folder" -B "$build/$folder" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_PREFIX_PATH="$install" "${toolchain[@]}" &&
        cmake --build "$build/$folder" &&
        "${runner[@]}" "$build/$folder/$name$ending" "$@"
}

# The window on a display of its own, which is looked at; Wine needs a prefix of its own for that.
window() {
    local inner=("${runner[@]}") status
    runner=(tests/consumer/check-window "${inner[@]}")
    if [ "$preset" = windows ]; then
        cp -a "$tarnelBuild/wineprefix" "$build/wineprefix"
        runner=(env "TARNEL_WINE_PREFIX=$build/wineprefix" "${runner[@]}")
    fi
    example 05-window "$@"
    status=$?
    if [ "$preset" = windows ]; then
        WINEPREFIX=$build/wineprefix /usr/lib/wine/wineserver64 -k
        WINEPREFIX=$build/wineprefix /usr/lib/wine/wineserver64 -w
        rm -rf "$build/wineprefix"
    fi
    runner=("${inner[@]}")
    return $status
}

examples() {
    local cloud=tests/data/autzen_brotli other=tests/data/lonestar_brotli picture=$build/picture toolchain=("$@")
    example 01-first-frame $cloud "$picture-1.png" &&
        example 02-streaming $cloud "$picture-2.png" &&
        example 03-two-clouds $cloud $other "$picture-3.png" &&
        example 04-panorama-and-mesh $cloud "$picture-4.png" &&
        window $cloud 200 &&
        example 06-shared-device $cloud &&
        example 07-lost-device $cloud "$picture-7.png"
}

# A program that has the sources within its own build.
embedded() {
    local build=$tarnelBuild/embedded
    rm -rf "$build"
    cmake -G Ninja -S tests/embedded -B "$build" -DCMAKE_BUILD_TYPE=Release &&
        cmake --build "$build" &&
        "$build/embedder"
}

runAll() {
    check format "checking the formatting" tools/check-format
    check layers "comparing what folders include with what they may" tools/check-layers
    check notices "comparing the third-party notices with what is used" tools/update-notices --check
    check headers "compiling every header alone" tools/check-headers
    if build native-asan "for this host with address and undefined behaviour sanitizers"; then
        tests native-asan "running its tests" --preset native-asan
    fi
    if build native-tsan "for this host with the thread sanitizer"; then
        tests native-tsan "running its tests" --preset native-tsan
    fi
    if build native-clang "for this host by Clang" "${lessOptimized[@]}"; then
        tests native-clang "running its tests" --preset native-clang
        check tidy "looking at the sources with clang-tidy" tools/check-tidy
    fi
    # The tests of this one would repeat those of the sanitizers; it is here to be installed and to draw.
    if check configure-native "configuring for this host" cmake --preset native -DTARNEL_BUILD_TESTS=OFF &&
        check build-native "building for this host" cmake --build --preset native; then
        check docs "writing the reference of the public interface" cmake --build --preset native --target docs
        check shell-files "comparing completions and manual page with the help" tools/update-shell-files --check
        check consumer-native "building and running programs against its install tree" consumer native
    fi
    check embedded "building a program that has the sources within its own build" embedded
    if build windows-debug "for Windows with assertions"; then
        tests windows-debug "running all tests under Wine" --preset windows-debug
    fi
    if build windows "for Windows"; then
        windowsTests
        check consumer-windows "building and running programs against its install tree" \
            consumer windows -DCMAKE_TOOLCHAIN_FILE="$tarnelRoot/cmake/MingwToolchain.cmake"
    fi
    # Its tests would repeat those of the other compiler for Windows and of Clang here.
    if build windows-clang "for Windows by Clang" "${lessOptimized[@]}"; then
        check windows-clang "running some of it" windowsClang
    fi
    check pictures "comparing the pictures of both" tools/compare-pictures
}

if [ "${1:-}" != --in-session ]; then
    scripts/install-packages.sh && scripts/deps.sh || exit 1
    exec scripts/with-wine-session.sh "$0" --in-session
fi

start=$SECONDS
runAll
printf '\n'
printf '%s\n' "${summaries[@]}"
# A failed step that is no test run, such as a build, counts as one.
counts=$(printf '%s\n' "${summaries[@]}" |
    awk -v steps="$failedChecks" '{ passed += $2; failed += $4 } END { printf "%d passed, %d failed", passed, failed + steps }')
if [ ${#failed[@]} -gt 0 ]; then
    echo "Failed steps: ${failed[*]}"
fi
echo "all in $((SECONDS - start)) s"
echo "$counts"
[ ${#failed[@]} -eq 0 ]
