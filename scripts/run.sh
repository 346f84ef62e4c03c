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
echo "Writing a sample data set, a panorama and a mesh to out/sample"
tarnel sample out/sample
echo "Drawing it"
tarnel thumbnail out/sample --output out/thumbnail.png
tarnel render out/sample.png --cloud out/sample --size 1280x720
tarnel render out/height.png --cloud out/sample --size 1280x720 --mode ColorizeByPlaneDistance --color-map Viridis
tarnel render out/boxes.png --cloud out/sample --size 1280x720 --boxes
# Cloud, panorama and mesh together, from where the panorama was taken. The clipping plane stands upright through the
# eye and keeps the points to its right: to its left there is the panorama alone.
tarnel render out/combined.png --size 1280x720 --fov 50 --eye 637137,5651153,261.02 --target 637108,5651124,260 \
    --clip=-0.820398,0.571793,0,-2708581.7887 --cloud out/sample --pano out/sample/panorama \
    --mesh out/sample/windmill.obj --transform 637000,5651000,250,0,1
echo "Pictures:"
ls -1 "$PWD"/out/*.png
