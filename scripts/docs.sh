#!/usr/bin/env bash
# Makes the site, build/doxygen/html/index.html: the pages of docs/, the manual of the tool, and the
# reference made from the headers.
#
# Fails on a warning of Doxygen, when something in the headers is not described, and when a link leads
# nowhere.
set -euo pipefail
. "$(dirname "${BASH_SOURCE[0]}")/lib/common.sh"
cd "$root"

rm -rf build/doxygen build/manual
mkdir -p build/manual
{
    printf '# The qorldp manual\n\n'
    # Doxygen would make a dash of "--".
    mandoc -T markdown docs/qorldp.1 |
        sed -E -e '1,/^# NAME$/d' -e 's/^# /## /' \
            -e '/^\t/!s/\*\*--([a-z]+)\*\*/<b>\\--\1<\/b>/g' \
            -e 's/\*qorldp-json.md\*/[JSON output of qorldp](docs\/qorldp-json.md)/'
} >build/manual/qorldp.md
for want in '## SYNOPSIS' '## DESCRIPTION' '## EXIT STATUS' '<b>\--json</b>' '(docs/qorldp-json.md)'; do
    grep -qF -- "$want" build/manual/qorldp.md || die "the manual's page lacks $want"
done
run_logged doxygen doxygen docs/Doxyfile
# README.md and the pages refer to files in these.
cp -r examples include docs/img docs/libqor.3 build/doxygen/html/
python3 scripts/docs-check.py reference build/doxygen/xml include/*.h include/*.hpp
python3 scripts/docs-check.py links build/doxygen/html
