#!/usr/bin/env bash
# Fails when a verb that draws nothing loads Direct3D or Vulkan: startsWithoutDirect3D.sh TARNEL DATASET
set -euo pipefail
tarnel=$1 dataset=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

# loads <arguments...>: whether the program loads either.
loads() {
    rm -f "$folder"/libraries*
    LD_DEBUG=libs LD_DEBUG_OUTPUT=$folder/libraries "$tarnel" "$@" >/dev/null || { echo "$1 failed"; exit 1; }
    grep -qE 'calling init: .*(dxvk|vulkan)' "$folder"/libraries*
}

if ! loads devices; then
    echo "devices loads neither: this test sees nothing"
    exit 1
fi
"$tarnel" sample "$folder/seen" --points 1000 --cloud-only >/dev/null
"$tarnel" render "$folder/color.png" --cloud "$folder/seen" --size 64x32 --depth "$folder/depth.png" >/dev/null
check() {
    if loads "$@"; then
        echo "$1 loads Direct3D or Vulkan"
        exit 1
    fi
}
check info "$dataset"
check dump "$dataset" --node r
check query "$dataset" --sphere 0,0,0,1e9
check sample "$folder/sample" --points 1000 --cloud-only
check pano-tile "$folder/color.png" "$folder/depth.png" "$folder/panorama"
check --help
