#!/usr/bin/env bash
# Builds Tarnel and runs it; installs what that needs on a fresh Debian machine. Later runs only build what changed.
#
#   scripts/run.sh                      writes a sample data set and its pictures below out/
#   scripts/run.sh thumbnail FOLDER     passes all arguments to tarnel; paths are those of the calling shell
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

configure() {
    if [ ! -f "$tarnelBuild/windows/build.ninja" ]; then
        (cd "$tarnelRoot" && cmake --preset windows)
    fi
}

# Everything but tarnel's own output goes to standard error, so that "run.sh info --json" can be piped.
{
    "$tarnelRoot/scripts/install-packages.sh"
    "$tarnelRoot/scripts/deps.sh"
    step configure-windows "configuring the Windows build" configure
    step build-tarnel "building tarnel.exe" ninja -C "$tarnelBuild/windows" tarnel
} >&2

tarnel() { "$tarnelRoot/scripts/wine.sh" "$tarnelBuild/windows/bin/tarnel.exe" "$@"; }

if [ $# -gt 0 ]; then
    tarnel "$@"
    exit
fi

cd "$tarnelRoot"
mkdir -p out
echo "Writing a sample data set to out/sample"
tarnel sample out/sample
echo "Drawing it"
tarnel thumbnail out/sample --output out/thumbnail.png
tarnel render out/sample.png --cloud out/sample --size 1280x720
tarnel render out/height.png --cloud out/sample --size 1280x720 --mode ColorizeByPlaneDistance --color-map Viridis
tarnel render out/boxes.png --cloud out/sample --size 1280x720 --boxes
echo "Pictures:"
ls -1 "$PWD"/out/*.png
