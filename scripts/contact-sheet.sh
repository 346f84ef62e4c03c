#!/usr/bin/env bash
# Makes one picture of the thumbnails of data sets: the sample scene's first, then those of folders, by their names.
#
#   scripts/contact-sheet.sh [FOLDER ...]    data sets, or folders that hold some; tests/data if none is named
#
# After a build of the preset native. OUT (docs/images/contact-sheet.png) and TARNEL (the program) may be set. Prints the
# data sets in the order of their pictures, four in a row.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
tarnel=${TARNEL:-$root/build/native/bin/tarnel}
out=${OUT:-$root/docs/images/contact-sheet.png}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

isDataSet() { "$tarnel" info "$1" >/dev/null 2>&1; }

"$tarnel" sample "$work/sample" --points 300000 --cloud-only >/dev/null
sets=("$work/sample")
[ $# -gt 0 ] || set -- "$root/tests/data"
for folder in "$@"; do
    if isDataSet "$folder"; then
        sets+=("$folder")
        continue
    fi
    before=${#sets[@]}
    for inside in "$folder"/*/ "$folder"/*.copc.laz "$folder"/*/*.copc.laz; do
        if [ -e "$inside" ] && isDataSet "$inside"; then
            sets+=("${inside%/}")
        fi
    done
    if [ ${#sets[@]} -eq "$before" ]; then
        echo "contact-sheet: $folder is no data set and holds none" >&2
        exit 1
    fi
done
pictures=()
for set in "${sets[@]}"; do
    picture=$work/${#pictures[@]}.png
    "$tarnel" thumbnail "$set" --output "$picture" --size 240x180 --samples 2 >/dev/null
    pictures+=("$picture")
    basename "$set"
done
mkdir -p "$(dirname "$out")"
"$root/scripts/joinPictures.py" "$out" 4 "${pictures[@]}"
echo "$out: ${#pictures[@]} data sets"
