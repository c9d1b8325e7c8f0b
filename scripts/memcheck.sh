#!/usr/bin/env bash
# Runs the test programs, the examples and the tool under valgrind memcheck, on the optimised build
# without sanitizers: it also sees reads of memory that was never written. Ends with status 1 when
# something was found or a test failed.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
cd "$root"

"$root/scripts/setup.sh" test
run_logged build-release-configure cmake --preset release
run_logged build-release cmake --build --preset release -j "$(nproc 2>/dev/null || echo 2)"

failed=0

# memcheck NAME COMMAND...
memcheck() {
    local name=$1 start=$SECONDS verdict=ok
    shift
    run_logged "memcheck-$name" valgrind -q --error-exitcode=99 --leak-check=full \
        --errors-for-leak-kinds=definite,indirect,possible --track-fds=no "$@" || verdict=FAIL
    [ "$verdict" = ok ] || failed=1
    printf '%-4s  %s (%d s)\n' "$verdict" "$name" $((SECONDS - start))
}

# each FOLDER NAME PREFIX: the programs of that name there
each() {
    local program programs
    mapfile -t programs < <(find "$1" -maxdepth 2 -type f -executable -name "$2" | sort)
    [ ${#programs[@]} -ne 0 ] || die "there is no $1/.../$2"
    for program in "${programs[@]}"; do
        memcheck "$3$(basename "$program")" "$program"
    done
}

each build/release/tests 'qor_*_test' ''
each build/release/examples '*' example-
memcheck qorldp build/release/tools/qorldp/qorldp decode --all --stats tests/data/two-routers.pcap
memcheck qorldp-json build/release/tools/qorldp/qorldp decode --json --all tests/data/two-routers.pcap
exit "$failed"
