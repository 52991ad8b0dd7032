#!/usr/bin/env bash
# Runs the tests of a build for Windows. ctest counts programs, of which each is many cases: these
# are added up from its log. Ends on ctest's summary.
#
#   cmake/test_windows.sh BUILD [LABELS]     LABELS: a pattern of folders of tests/; all without it
set -euo pipefail

build=$1
labels=${2-}
status=0
"$(dirname "$0")/setup_wine.sh" "$PWD/$build/wine"
ctest --test-dir "$build" ${labels:+-L "$labels"} --output-on-failure --timeout 600 -j 2 \
  --no-tests=error --no-label-summary --output-log "$build/ctest.log" -V >/dev/null || status=$?
"$(dirname "$0")/setup_wine.sh" --stop "$PWD/$build/wine"
[ "$status" -eq 0 ] || grep -vE ' Passed | Start |\[       OK|\[ RUN' "$build/ctest.log" || true
sed -nE 's/^[0-9]+: \[  SKIPPED \] ([A-Za-z0-9_/.]+)$/skipped: \1/p' "$build/ctest.log" | sort -u
awk '/: \[==========\] [0-9]+ tests? from .* ran/ { suites += $6; cases += $3 }
  /: \[  PASSED  \]/ { passed += $5 }
  END { printf "%d cases of %d suites ran, of which %d passed\n", cases, suites, passed }' \
  "$build/ctest.log"
grep -A 40 'tests passed' "$build/ctest.log"
exit "$status"
