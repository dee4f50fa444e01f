#!/bin/sh
# lint_test.sh PAGE...: the manual pages are free of faults and of bad style. Ends with 77, which
# counts as skipped, where there is no mandoc.
if ! command -v mandoc >/dev/null; then
    echo "skipped: mandoc is not installed"
    exit 77
fi
# Whether other manuals are installed says nothing about these.
found=$(mandoc -Tlint -W style "$@" 2>&1 |
    grep -v 'referenced manual not found\|outdated mandoc.db\|mandoc.db: ')
[ -z "$found" ] || { echo "$found"; exit 1; }
