#!/usr/bin/env bash
# Builds Tarnel and runs it; installs what that needs on a fresh Debian machine. Later runs only build what changed.
#
#   scripts/run.sh                      writes a sample data set and its pictures below out/
#   scripts/run.sh thumbnail FOLDER     passes all arguments to tarnel; paths are those of the calling shell
#   scripts/run.sh --windows ...        the same with the Windows program, under Wine
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

road=native
if [ "${1:-}" = --windows ]; then
    road=windows
    shift
fi
build=$tarnelBuild/$road

# prepare <groups...>: packages and libraries, where what asks for them has changed since the last time.
prepare() {
    local stamp=$build/prepared key
    key=$(cat "$tarnelRoot"/scripts/{install-packages,deps}.sh "$tarnelRoot"/cmake/{dxvk,laszip,vkd3d,vkd3d/include}/*.* |
        sha256sum)
    if [ "$(cat "$stamp" 2>/dev/null)" != "$key" ]; then
        "$tarnelRoot/scripts/install-packages.sh" "$@"
        "$tarnelRoot/scripts/deps.sh" "$@"
        mkdir -p "$build"
        echo "$key" >"$stamp"
    fi
}

# Whoever builds tests here, too, keeps them: only the first configuration leaves them out.
configure() { (cd "$tarnelRoot" && cmake --preset $road -DTARNEL_BUILD_TESTS=OFF); }

isBuilt() { ninja -C "$build" -n tarnel | grep -q 'no work to do'; }

# Everything but tarnel's own output goes to standard error, so that "run.sh info --json" can be piped.
{
    if [ $road = native ]; then prepare native; else prepare native windows; fi
    [ -f "$build/build.ninja" ] || step "configure-$road" "configuring the $road build" configure
    isBuilt || step build-tarnel "building tarnel" ninja -C "$build" tarnel
} >&2

if [ $road = native ]; then
    tarnel() { "$build/bin/tarnel" "$@"; }
else
    tarnel() { "$tarnelRoot/scripts/wine.sh" "$build/bin/tarnel.exe" "$@"; }
fi

if [ $# -gt 0 ]; then
    tarnel "$@"
    exit
fi

cd "$tarnelRoot"
out=out
[ $road = native ] || out=out/windows
mkdir -p $out
echo "Writing a sample data set, a panorama and a mesh to $out/sample"
tarnel sample $out/sample
echo "Drawing it"
tarnel thumbnail $out/sample --output $out/thumbnail.png
tarnel render $out/sample.png --cloud $out/sample --size 1280x720
tarnel render $out/height.png --cloud $out/sample --size 1280x720 --mode ColorizeByPlaneDistance --color-map Viridis
tarnel render $out/boxes.png --cloud $out/sample --size 1280x720 --boxes
# Cloud, panorama and mesh together, from where the panorama was taken. The clipping plane stands upright through the
# eye and keeps the points to its right: to its left there is the panorama alone.
tarnel render $out/combined.png --size 1280x720 --fov 50 --eye 637137,5651153,261.02 --target 637108,5651124,260 \
    --clip=-0.820398,0.571793,0,-2708581.7887 --cloud $out/sample --pano $out/sample/panorama \
    --mesh $out/sample/windmill.obj --transform 637000,5651000,250,0,1
echo "Pictures:"
ls -1 "$PWD"/$out/*.png
