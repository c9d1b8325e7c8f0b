#!/usr/bin/env bash
# Builds the qorldp tool and shows what it makes of a capture of two routers.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
cd "$root"

scripts/setup.sh demo
say "building qorldp"
run_logged demo-configure cmake -S . -B build/demo -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DQOR_BUILD_TESTS=OFF -DQOR_BUILD_EXAMPLES=OFF
run_logged demo-build cmake --build build/demo --target qorldp

capture=tests/data/two-routers.pcap
export PATH=$PWD/build/demo/tools/qorldp:$PATH

printf '\n$ qorldp decode %s\n' "$capture"
qorldp decode "$capture"
printf "\n$ qorldp decode --stats %s | sed -n '/^message /,\$p'\n" "$capture"
qorldp decode --stats "$capture" | sed -n '/^message /,$p'
