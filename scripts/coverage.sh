#!/usr/bin/env bash
# Tells how much of the library the tests reach: lines, branches and functions, and each line and
# branch that they do not.
#
#   scripts/coverage.sh            builds, runs the tests, prints the summary and what is missing
#   scripts/coverage.sh --table    prints a table by file as well
#
# The exit status is 0 when all of these are reached: 97 of 100 lines, 90 of 100 branches, every
# function.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
cd "$root"

build=build/coverage
report=$build/coverage.json
jobs=$(nproc 2>/dev/null || echo 2)

"$root"/scripts/setup.sh test
run_logged coverage-configure cmake --preset coverage
run_logged coverage-build cmake --build --preset coverage -j "$jobs"
# Counts of earlier runs would be added.
find "$build" -name '*.gcda' -delete
run_logged coverage-test ctest --preset coverage -j "$jobs"

run_logged coverage-gcovr gcovr --root . --object-directory "$build" --filter 'src/' --filter 'include/' \
    --exclude-directories '.*CompilerId.*' --exclude-unreachable-branches --exclude-throw-branches --json "$report" "$build"
if [ "${1:-}" = --table ]; then
    gcovr --root . --add-tracefile "$report"
fi
python3 scripts/coverage-report.py "$report" --lines 97 --branches 90
