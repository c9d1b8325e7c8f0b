#!/usr/bin/env bash
# Makes the Debian packages libqor1, libqor-dev and qorldp in build/package.
#
#   scripts/package.sh          makes them
#   scripts/package.sh --test   makes, installs, uses and removes them: in the system when run as root
#                               and none of them is installed, else in a scratch root
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
cd "$root"

build=build/package
soname=$(sed -n 's/^project(qor VERSION \([0-9]*\)\..*/\1/p' CMakeLists.txt)
packages=("libqor$soname" libqor-dev qorldp)
case ${1:-} in
'' | --test) ;;
*) die "usage: scripts/package.sh [--test]" ;;
esac

rm -f "$build"/*.deb
run_logged package-configure cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_DOCDIR=share/doc/libqor-dev -DQOR_BUILD_TESTS=OFF \
    -DQOR_BUILD_EXAMPLES=OFF
run_logged package-build cmake --build "$build"
run_logged package-make cpack --config "$build/CPackConfig.cmake" -B "$build"
debs=("$build"/*.deb)
say "made ${debs[*]##*/}"
[ "${1:-}" = --test ] || exit 0

# depends PACKAGE PATTERN...: it depends on these, in this order, and on nothing else
depends() {
    local package=$1 found pattern
    shift
    pattern=$(printf ', %s' "$@")
    found=$(dpkg-deb -f "$build/$package"_*.deb Depends)
    [[ $found =~ ^${pattern:2}$ ]] || die "$package depends on: $found"
}
version='\([^)]*\)'
depends "libqor$soname" "libc6 $version"
depends libqor-dev "libqor$soname \(= [0-9.]+\)"
depends qorldp "libc6 $version" "libgcc-s1 $version" "libpcap0\.8 $version" "libstdc\+\+6 $version"
[[ $(dpkg-deb --ctrl-tarfile "$build/libqor${soname}"_*.deb | tar xO ./shlibs) == *"libqor $soname libqor$soname (>= "* ]] ||
    die "libqor$soname does not say which packages programs that link it need"

work=$root/$build/test
libdir=lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH)
rm -rf "$work"
mkdir -p "$work"
scratch=
dpkg=(dpkg)
if [ "$(id -u)" -ne 0 ] || dpkg-query -W -f '${db:Status-Abbrev}\n' "${packages[@]}" 2>/dev/null | grep -q '^i'; then
    scratch=$work/root
    mkdir -p "$scratch"/var/lib/dpkg/{updates,info} "$scratch/var/log" "$work/bin"
    touch "$scratch/var/lib/dpkg/status"
    # What they depend on is outside (and looked at above), and so is the linker's cache.
    ln -s /bin/true "$work/bin/ldconfig"
    dpkg=(env "PATH=$work/bin:$PATH:/usr/sbin:/sbin" dpkg "--root=$scratch" --force-not-root
        --force-script-chrootless --force-depends)
fi
prefix=$scratch/usr

trap '"${dpkg[@]}" --purge "${packages[@]}" >/dev/null 2>&1' EXIT
run_logged package-install "${dpkg[@]}" --install "${debs[@]}"
run_logged package-run "$prefix/bin/qorldp" decode tests/data/two-routers.pcap
grep -q 'Label Mapping' "$log_dir/package-run.log" || die "the installed qorldp shows no Label Mapping"
run_logged package-manual mandoc "$prefix/share/man/man1/qorldp.1" "$prefix/share/man/man3/libqor.3"
run_logged package-use cmake -D PREFIX="$prefix" -D LIBDIR="$libdir" \
    -D EXAMPLES="$prefix/share/doc/libqor-dev/examples" -D WORK="$work/use" -D C=cc -D CXX=c++ \
    -P tests/api/use_installed.cmake
run_logged package-remove "${dpkg[@]}" --purge "${packages[@]}"
trap - EXIT
left=$(find "$prefix"/{include,lib,bin,share/doc,share/man} -name '*qor*' 2>/dev/null || true)
[ -z "$left" ] || die "left behind: $left"
say "installed them in ${scratch:-the system}, used and removed them"
