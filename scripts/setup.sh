#!/usr/bin/env bash
# Installs the Debian packages that are missing.
#
#   scripts/setup.sh demo    what building and running the tool takes
#   scripts/setup.sh test    (the default) what the whole test run takes as well, all of it
#   scripts/setup.sh bench   what the benchmarks take, beside what the tool takes
#
# When everything is there, no package manager is called and no privilege is needed.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"

# One row per need: set, Debian package, and what shows that it is there: a command, or a file
# (a pattern) somewhere below /usr or /usr/local.
needs='
demo g++                g++
demo cmake              cmake
demo ninja-build        ninja
demo pkg-config         pkg-config
demo libpcap-dev        include/pcap/pcap.h
demo libcli11-dev       include/CLI/CLI.hpp
test abigail-tools      abidiff
test binutils           readelf
test python3            python3
test libgtest-dev       include/gtest/gtest.h
test clang              clang++
test libclang-rt-14-dev lib/llvm-14/lib/clang/*/lib/linux/libclang_rt.fuzzer-*.a
test clang-format-14    clang-format-14
test clang-tidy-14      clang-tidy-14
test cppcheck           cppcheck
test doxygen            doxygen
test dpkg-dev           dpkg-shlibdeps
test file               file
test frr                lib/frr/ldpd
test gcovr              gcovr
test iproute2           ip
test iwyu               iwyu_tool
test mandoc             mandoc
test shellcheck         shellcheck
test tcpdump            tcpdump
test tshark             tshark
test valgrind           valgrind
bench libbenchmark-dev  include/benchmark/benchmark.h
bench libboost-dev      include/boost/intrusive/avl_set.hpp
bench libevent-dev      include/event2/event.h
bench libspdlog-dev     include/spdlog/spdlog.h
bench tcpdump           tcpdump
bench tshark            tshark
'

# is_there PROBE
is_there() {
    case $1 in
    */*) compgen -G "/usr/$1" >/dev/null || compgen -G "/usr/local/$1" >/dev/null ;;
    *) command -v "$1" >/dev/null ;;
    esac
}

# missing SET: the packages of a set that are not there, on one line
missing() {
    local set package probe
    while read -r set package probe; do
        if [ -n "$set" ] && { [ "$set" = demo ] || [ "$set" = "$1" ] || [ "$1" = test ]; }; then
            is_there "$probe" || printf '%s ' "$package"
        fi
    done <<<"$needs"
}

# Runs apt-get without questions, as root.
apt_get() {
    local -a as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo)
        [ "${CI:-}" != true ] || as_root+=(-n)
    fi
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get -q -y -o Acquire::Retries=3 -o DPkg::Lock::Timeout=300 "$@"
}

set=${1:-test}
case $set in
demo | test | bench) ;;
*) die "usage: scripts/setup.sh [demo|test|bench]" ;;
esac

read -ra packages <<<"$(missing "$set")"
if [ ${#packages[@]} -eq 0 ]; then
    exit 0
fi

if ! command -v apt-get >/dev/null; then
    die "these are missing and this is not a Debian system, please install them: ${packages[*]}"
fi
if [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null; then
    die "these packages are missing; install them as root, there is no sudo: ${packages[*]}"
fi

say "installing ${packages[*]}"
# An unreachable third-party source must not stop what Debian's own lists can give.
run_logged apt-update apt_get update || say "the package lists could not be renewed completely"
run_logged apt-install apt_get install --no-install-recommends "${packages[@]}" ||
    die "apt-get could not install what is missing"

read -ra packages <<<"$(missing "$set")"
if [ ${#packages[@]} -ne 0 ]; then
    die "still missing after the installation: ${packages[*]}"
fi
