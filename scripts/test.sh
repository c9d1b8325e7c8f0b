#!/usr/bin/env bash
# Builds library, tool, fuzzers and benchmarks and runs every test and check but those of scripts of their own:
# coverage.sh, memcheck.sh, bench.sh. A failing step does not stop the others.
#
# The last line says how it went: "N passed, M failed", counting every test of the two test runs
# and every other step as one. The exit status is 0 only when something passed and nothing failed.
# shellcheck disable=SC2317 # the steps are called through check()
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
cd "$root"

passed=0
failed=0
jobs=$(nproc 2>/dev/null || echo 2)
tidy_seconds=420
fuzz_seconds=7 # for each target

finish() {
    local status=0
    if [ "$failed" -ne 0 ] || [ "$passed" -eq 0 ]; then
        status=1
    fi
    printf '%d passed, %d failed\n' "$passed" "$failed"
    exit "$status"
}

# check NAME COMMAND...: one step, counted as one
check() {
    local name=$1 start=$SECONDS
    shift
    if run_logged "$name" "$@"; then
        passed=$((passed + 1))
        printf 'ok    %s (%d s)\n' "$name" $((SECONDS - start))
    else
        failed=$((failed + 1))
        printf 'FAIL  %s (%d s)\n' "$name" $((SECONDS - start))
        return 1
    fi
}

# Configures and builds one preset as far as possible. The compilers stop at warnings; those of
# CMake and the linker count here.
build() {
    local warnings
    cmake --preset "$1" || return
    cmake --build --preset "$1" -j "$jobs" -- -k 0 || return
    if warnings=$(grep -iE 'warning:|CMake (deprecation )?warning' "$log_dir/build-$1.log"); then
        printf 'there are warnings:\n%s\n' "$warnings"
        return 1
    fi
}

# cases PATTERN REPORT: how many lines of a test report match
cases() { grep -cE "$1" "$2" || true; }

# Runs the tests of one preset and counts each of them. A test that did not run counts as failed
# unless it said itself, or its definition says, that it is to be left out.
run_tests() {
    local report=$log_dir/test-$1.xml start=$SECONDS status=0 total=0 ran=0 skipped=0 bad verdict='ok  '
    rm -f "$report"
    run_logged "test-$1" ctest --preset "$1" -j "$jobs" --timeout 300 --no-tests=error \
        --output-junit "$report" || status=$?
    if [ -s "$report" ]; then
        total=$(cases '^\s*<testcase ' "$report")
        ran=$(cases '^\s*<testcase .* status="run"' "$report")
        skipped=$(cases '^\s*(<skipped message="SKIP_|<testcase .* status="disabled")' "$report")
    fi
    bad=$((total - ran - skipped))
    if [ "$status" -ne 0 ] && [ "$bad" -eq 0 ]; then
        bad=1 # the run as a whole, for instance because there was no test
    fi
    passed=$((passed + ran))
    failed=$((failed + bad))
    [ "$bad" -eq 0 ] || verdict=FAIL
    printf '%s  test-%s: %d passed, %d failed, %d skipped (%d s)\n' "$verdict" "$1" "$ran" "$bad" \
        "$skipped" $((SECONDS - start))
    # Tests that a configuration leaves out altogether.
    sed -n 's/^-- \(no test of .*\)/      \1/p' "$log_dir/build-$1.log"
    if [ "$skipped" -ne 0 ]; then
        sed -n '/The following tests did not run:/,/^$/s/^\t/      not run: /p' "$log_dir/test-$1.log"
    fi
}

# Our own files, whether under version control or not.
check_format() {
    find . -name '.?*' -prune -o -name 'build*' -type d -prune -o \( -name '*.[ch]' -o -name '*.[ch]pp' \) \
        -print0 | sort -z | xargs -0 clang-format-14 --dry-run -Werror
}

check_scripts() { shellcheck -x -P SCRIPTDIR scripts/*.sh scripts/lib/*.sh .ci/run; }

# The library and the tools; the tests consist of macros that are not ours.
check_tidy() {
    find src tools -name '*.cpp' -print0 | sort -z |
        timeout "$tidy_seconds" xargs -0 -n 1 -P "$jobs" clang-tidy-14 -p build/clang --quiet
}

# What the compilers and clang-tidy do not look for. Style is theirs.
check_cppcheck() {
    cppcheck --quiet --error-exitcode=1 --std=c++20 --enable=warning,performance,portability \
        --suppress=missingIncludeSystem -j "$jobs" -I include -I src -I tools/qorldp src tools
}

# g++ 12 analyses C; of C++ it gets leaks, double releases and va_lists right, but takes arguments
# for NULL that are not.
check_analyzer() {
    find src -name '*.cpp' -print0 | xargs -0 -n 1 -P "$jobs" \
        g++ -std=c++20 -O1 -fno-exceptions -fno-rtti -Iinclude -Isrc -fanalyzer \
        -Wno-analyzer-null-dereference -Werror -S -o /dev/null || return
    find examples -name '*.c' -print0 | xargs -0 -n 1 -P "$jobs" \
        gcc -std=c11 -O1 -Iinclude -fanalyzer -Werror -S -o /dev/null
}

check_manual() { mandoc -T lint -W warning docs/*.[1-9]; }

if ! scripts/setup.sh test; then
    echo "FAIL  setup"
    failed=1
    finish
fi

for preset in release debug; do
    check "build-$preset" build "$preset" || true
    run_tests "$preset"
done
check build-clang build clang || true
check build-bench build bench || true
check format check_format || true
check scripts check_scripts || true
check manual check_manual || true
check docs scripts/docs.sh || true
check package scripts/package.sh --test || true
check cppcheck check_cppcheck || true
check analyzer check_analyzer || true
check clang-tidy check_tidy || true
check fuzz scripts/fuzz.sh --smoke "$fuzz_seconds" || true
check includes scripts/includes-check.py build/clang build/fuzz || true
finish
