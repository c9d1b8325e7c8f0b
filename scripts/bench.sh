#!/usr/bin/env bash
# Builds the benchmarks, runs them, and prints the table of ratios.
#
#   scripts/bench.sh [FILTER]    FILTER: a regular expression over the names, e.g. '^tree'
#
# Without FILTER it also measures the tool and draws the curves of docs/img; that takes twenty
# minutes. It wants a quiet machine. What is compared runs in turns in one process, several times over;
# medians count. All numbers are kept in build/bench/results.json.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
cd "$root"

"$root/scripts/setup.sh" bench
run_logged build-bench-configure cmake --preset bench
run_logged build-bench cmake --build --preset bench -j "$(nproc 2>/dev/null || echo 2)"

run_logged bench build/bench/bench/qor_bench --benchmark_filter="${1:-.}" \
    --benchmark_repetitions=5 --benchmark_enable_random_interleaving=true --benchmark_min_time=0.1 \
    --benchmark_report_aggregates_only=true --benchmark_out_format=json \
    --benchmark_out=build/bench/results.json
if [[ $# -ne 0 ]]; then
    scripts/bench-report.py build/bench/results.json
    exit
fi
mkdir -p docs/img
scripts/bench-report.py build/bench/results.json --svg docs/img
bench/decode_speed.py build/bench/tools/qorldp/qorldp
