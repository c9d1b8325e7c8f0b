# Shared by the scripts: where things are, messages, and commands whose output goes to a log.
# Sourced, never run. The caller has set "set -euo pipefail".
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
log_dir=$root/build/log
readonly root log_dir

say() { printf '== %s\n' "$*"; }

die() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

# run_logged NAME COMMAND...: runs quietly; when the command fails, shows what looks like the reason
# and the end of the output.
run_logged() {
    local log=$log_dir/$1.log status=0
    shift
    mkdir -p "$log_dir"
    "$@" >"$log" 2>&1 </dev/null || status=$?
    if [ "$status" -ne 0 ]; then
        {
            grep -E -A 8 'error:|: Failure$|CMake Error|\*\*\*(Failed|Timeout|Exception)' "$log" |
                cut -c 1-400 | head -n 100 || true
            echo "..."
            tail -n 20 "$log"
        } >&2
        printf 'failed with status %d: %s\n(the whole output is in %s)\n' "$status" "$*" "$log" >&2
    fi
    return "$status"
}
