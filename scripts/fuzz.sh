#!/usr/bin/env bash
# Runs fuzzers: one for long, or all of them briefly.
#
#   scripts/fuzz.sh TARGET MINUTES    e.g. decode_message 60; without arguments the targets are listed
#   scripts/fuzz.sh --smoke SECONDS   each target for so long, from the seeds alone
#
# What long runs find interesting is kept in build/fuzz/corpus/TARGET and used again. An input that
# fails is kept in build/fuzz/findings and its run ends with status 1; repeat it with
# build/fuzz/fuzz/fuzz_TARGET FILE. The last lines tell inputs, coverage (edges) and processor time.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
cd "$root"

binaries=build/fuzz/fuzz
findings=build/fuzz/findings

# The longest input, where the 4096 octets that are usual would be too short or far too long.
max_length() {
    case $1 in
    fec129) echo 64 ;;
    stream) echo 2000 ;;
    capture) echo 16000 ;;
    *) echo 4400 ;;
    esac
}

targets() {
    local program
    for program in "$binaries"/fuzz_*; do
        if [ -f "$program" ] && [ "${program##*/}" != fuzz_seeds ]; then
            echo "${program##*/fuzz_}"
        fi
    done
}

# fuzz TARGET SECONDS FOLDER: FOLDER gets what is interesting
fuzz() {
    local log=$log_dir/fuzz-$1.log status=0 start seconds
    mkdir -p "$log_dir" "$findings" "$3"
    start=$(awk '{print $16 + $17}' /proc/$$/stat)
    "$binaries/fuzz_$1" -max_total_time="$2" -max_len="$(max_length "$1")" -timeout=20 \
        -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix="$findings/$1-" \
        "$3" "$binaries/seeds/$1" >"$log" 2>&1 </dev/null || status=$?
    seconds=$((($(awk '{print $16 + $17}' /proc/$$/stat) - start) / $(getconf CLK_TCK)))
    awk -v name="$1" -v seconds="$seconds" '
        / cov: / { for (i = 1; i < NF; i++) if ($i == "cov:") edges = $(i + 1) }
        /number_of_executed_units/ { inputs = $2 }
        END {
            printf "%-16s %11d inputs %6d edges %6d s of processor time\n", name, inputs, edges, seconds
            exit edges == 0
        }
    ' "$log" || status=1
    if [ "$status" -ne 0 ]; then
        grep -m 1 -A 12 -E 'ERROR: |not true|runtime error' "$log" >&2 || tail -n 20 "$log" >&2
        printf 'fuzz_%s failed, see %s\n' "$1" "$log" >&2
        return 1
    fi
}

run_logged build-fuzz-configure cmake --preset fuzz
run_logged build-fuzz cmake --build --preset fuzz -j "$(nproc 2>/dev/null || echo 2)"

case $#:${1:-} in
2:--smoke)
    mapfile -t names < <(targets)
    [ ${#names[@]} -ne 0 ] || die "there are no fuzzers"
    status=0
    for target in "${names[@]}"; do
        corpus=$(mktemp -d)
        fuzz "$target" "$2" "$corpus" || status=1
        rm -rf "$corpus"
    done
    exit "$status"
    ;;
2:*)
    [ -x "$binaries/fuzz_$1" ] || die "there is no fuzzer $1"
    fuzz "$1" $(($2 * 60)) "build/fuzz/corpus/$1"
    ;;
*)
    targets
    ;;
esac
