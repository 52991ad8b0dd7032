#!/usr/bin/env bash
# Runs the script for Windows of a zip of tests under Wine: it has to come to its end, with a report
# that no program failed, and that nothing is proven.
set -euo pipefail

zip=$(realpath "$1")
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap '"$here/setup_wine.sh" --stop "$scratch/wine"; rm -rf "$scratch"' EXIT

cmake -E chdir "$scratch" cmake -E tar xf "$zip"
printf "export WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml=' WINEPREFIX='%s'\n" \
  "$scratch/wine" >"$scratch/wine.env"
cd "$scratch"/ztkbase-*
"$here/run_on_wine.sh" cmd /c on_windows.cmd report.txt >"$scratch/output" || { cat "$scratch/output"; exit 1; }
tr -d '\r' <report.txt | diff - "$scratch/output"
grep -q '^== The end: programs that failed: 0$' "$scratch/output"
grep -q '^Nothing is proven: run this on Windows itself\.$' "$scratch/output"
grep '^RESULT' "$scratch/output"
