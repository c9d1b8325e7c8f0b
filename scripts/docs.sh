#!/usr/bin/env bash
# Makes the reference pages, build/doxygen/html/index.html, from the headers and docs/.
#
# Fails on a warning of Doxygen and when something in the headers is not described.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
cd "$root"

rm -rf build/doxygen
mkdir -p build
run_logged doxygen doxygen docs/Doxyfile
# README.md and docs/performance.md refer to files in these.
cp -r examples include docs/img build/doxygen/html/
python3 scripts/library-check.py reference build/doxygen/xml include/*.h
