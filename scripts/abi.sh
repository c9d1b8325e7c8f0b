#!/usr/bin/env bash
# Compares the ABI of the built libraries with tests/api/*.abi, its description, and the macros of the
# headers, which programs have compiled in, with tests/api/macros.txt.
#
#   scripts/abi.sh check BUILD    fails on any difference, and says what to do about it
#   scripts/abi.sh update BUILD   writes the description anew
#
# BUILD is a build tree made by g++ with debug information, as that of the preset release.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
cd "$root"

[ $# -eq 2 ] || die "usage: scripts/abi.sh check|update BUILD"
mode=$1
build=$2

status=0
for library in src/libqor.so src/base/host/libqor-host.so; do
    name=$(basename "$library" .so)
    described=tests/api/$name.abi
    found=$build/$name.abi
    abidw --headers-dir include --exported-interfaces-only --drop-private-types --no-corpus-path \
        --no-comp-dir-path --no-show-locs --no-elf-needed --no-parameter-names \
        --no-write-default-sizes --type-id-style hash --out-file "$found" "$build/$library"
    grep -q '<class-decl' "$found" || die "$build/$library has no debug information"
    case $mode in
    update) sed "s|path='$root/|path='|" "$found" >"$described" ;;
    check) abidiff "$described" "$found" || status=$? ;;
    *) die "unknown: $mode" ;;
    esac
done
found=$build/macros.txt
printf '#include "%s"\n' include/*.h | gcc -std=c11 -Iinclude -I. -dM -E -x c - |
    LC_ALL=C sort | grep -E '^#define (QOR|HOST)_' | grep -vE '_H $|QOR_VERSION_' >"$found"
case $mode in
update) cp "$found" tests/api/macros.txt ;;
check) diff -u tests/api/macros.txt "$found" || status=$? ;;
esac
if [ $status -ne 0 ]; then
    die "the ABI is not that of tests/api/. Where a public record, function, constant or symbol changed or \
went away, programs that are linked already break: take the change back, or raise the major version \
in CMakeLists.txt. Where something was only added, raise the minor version and name the new symbols \
in a new node of the version script. Then run scripts/abi.sh update $build and commit the result \
with the reason."
fi
