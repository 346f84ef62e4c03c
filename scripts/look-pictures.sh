#!/usr/bin/env bash
# Makes the pictures of docs/looks.md by the commands that stand there: scripts/look-pictures.sh [NAME ...], all without a
# name. After a build of the preset native. TARNEL names another program, OUT another folder than docs/images/looks.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
tarnel=${TARNEL:-$root/build/native/bin/tarnel}
out=${OUT:-$root/docs/images/looks}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$tarnel" sample "$work/sample" --cloud-only >/dev/null
mkdir -p "$out"
count=0
while read -r _ _ picture _ options; do
    if [ $# -gt 0 ] && [[ " $* " != *" ${picture%.png} "* ]]; then
        continue
    fi
    read -ra words <<<"$options"
    [[ " $options " == *" --size "* ]] || words+=(--size 400x250)
    "$tarnel" render "$out/$picture" "$work/sample" "${words[@]}" >/dev/null
    count=$((count + 1))
done < <(grep -E '^    tarnel render [a-z]+\.png out/sample' "$root/docs/looks.md")
if [ $count -eq 0 ]; then
    echo "look-pictures: no command of docs/looks.md is meant" >&2
    exit 1
fi
echo "$out: $count pictures"
