# Shared by the scripts here: paths, and long steps that say what they do. Sourced, not run.
tarnelRoot=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
tarnelBuild=$tarnelRoot/build
tarnelLogs=$tarnelBuild/logs
tarnelJobs=$(nproc)

# step <log name> <what happens> <command...>: one line while it runs, its duration after it, and the end of its
# output when it fails. With TARNEL_VERBOSE=1 the output is shown as it comes.
step() {
    local log=$tarnelLogs/$1.log text=$2 start=$SECONDS status=0
    shift 2
    mkdir -p "$tarnelLogs"
    if [ "${TARNEL_VERBOSE:-0}" = 1 ]; then
        echo "== $text"
        "$@" 2>&1 | tee "$log" || status=$?
    elif [ -t 1 ]; then
        printf '== %s ...' "$text"
        showProgress "$log" "$text" & local watcher=$!
        "$@" >"$log" 2>&1 || status=$?
        kill "$watcher" 2>/dev/null; wait "$watcher" 2>/dev/null || true
        printf '\r\033[K== %s' "$text"
    else
        printf '== %s ...' "$text"
        "$@" >"$log" 2>&1 || status=$?
    fi
    if [ $status -ne 0 ]; then
        printf ' FAILED after %d s\n' $((SECONDS - start))
        tail -n 60 "$log" | sed 's/^/   | /'
        echo "   whole log: $log"
        return $status
    fi
    printf ' %d s\n' $((SECONDS - start))
}

# On a terminal: the last line of the log behind the text, so that a long build shows how far it is.
showProgress() {
    local line
    trap 'exit 0' TERM
    while sleep 1; do
        line=$(tail -n 1 "$1" 2>/dev/null | tr -d '\r' | cut -c1-60)
        printf '\r\033[K== %s ... %s' "$2" "$line"
    done
}
