#!/usr/bin/env bash
# Makes one picture of the thumbnails of all data sets of tests/data and of the sample scene: scripts/contact-sheet.sh
# [OUT.png], by default docs/pictures/contact-sheet.png. After a build of the preset native.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
tarnel=${TARNEL:-$root/build/native/bin/tarnel}
out=${1:-$root/docs/pictures/contact-sheet.png}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$tarnel" sample "$work/sample" --points 300000 --cloud-only >/dev/null
sets=("$work/sample")
for set in "$root"/tests/data/*/; do
    if "$tarnel" info "$set" >/dev/null 2>&1; then
        sets+=("${set%/}")
    fi
done
pictures=()
for set in "${sets[@]}"; do
    picture=$work/$(basename "$set").png
    "$tarnel" thumbnail "$set" --output "$picture" --size 320x240 --samples 2 >/dev/null
    pictures+=("$picture")
done
mkdir -p "$(dirname "$out")"
python3 "$root/scripts/joinPictures.py" "$out" 4 "${pictures[@]}"
echo "$out: ${#pictures[@]} data sets"
