#!/usr/bin/env bash
# Runs a command with one virtual display, and one Windows program that idles so that Wine stays awake and starts
# others in milliseconds instead of half a second: scripts/with-wine-session.sh ctest --preset windows
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
idle=$root/build/deps/wine/idle.exe
if [ $# -eq 0 ] || [ ! -f "$idle" ]; then
    echo "usage: with-wine-session.sh COMMAND [ARGUMENTS], after scripts/deps.sh" >&2
    exit 2
fi

# setpriv: nothing outlives this script, even when a time limit kills it.
exec {display}< <(exec setpriv --pdeathsig KILL Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp 2>/dev/null)
displayPid=$!
idlePid=
trap 'kill $idlePid 2>/dev/null; kill $displayPid 2>/dev/null' EXIT
read -r number <&"$display" || { echo "with-wine-session.sh: Xvfb did not start" >&2; exit 1; }
export DISPLAY=:$number

exec {wine}< <(exec setpriv --pdeathsig KILL "$root/scripts/wine.sh" "$idle" </dev/null 2>/dev/null)
idlePid=$!
read -r ready <&"$wine" || { echo "with-wine-session.sh: Wine did not start" >&2; exit 1; }
setpriv --pdeathsig KILL "$@"
