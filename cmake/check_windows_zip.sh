#!/usr/bin/env bash
# Builds a user's project with what a zip file for Windows holds and nothing else, and runs it under
# Wine with the DLLs of the zip alone.
set -euo pipefail

zip=$(realpath "$1")
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap '"$here/setup_wine.sh" --stop "$scratch/wine"; rm -rf "$scratch"' EXIT

cmake -E chdir "$scratch" cmake -E tar xf "$zip"
tree=$(echo "$scratch"/ztkbase-*)
cmake -S "$here/../tests/packaging/consumer" -B "$scratch/consumer" -G Ninja -DWAY=find_package \
  -DCMAKE_TOOLCHAIN_FILE="$here/mingw-x86_64.cmake" -Dztkbase_DIR="$tree/lib/cmake/ztkbase" >/dev/null
cmake --build "$scratch/consumer" >/dev/null

folder=Z:${tree//\//\\}\\bin
printf "export WINEDEBUG=-all WINEDLLOVERRIDES='mscoree,mshtml='\n" >"$scratch/wine.env"
printf "export WINEPREFIX='%s' WINEPATH='%s'\n" "$scratch/wine" "$folder" >>"$scratch/wine.env"
for program in "$scratch"/consumer/consumer_*.exe; do
  (cd "$scratch/consumer" && "$here/run_on_wine.sh" "$program") >"$scratch/output"
  diff -u "$here/../tests/packaging/consumer/expected.txt" "$scratch/output"
  echo "$(basename "$program"): as expected"
done
