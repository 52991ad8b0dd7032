#!/usr/bin/env bash
# Builds a user's project and an example with what a zip file for Windows holds and nothing else, and
# runs them and the tool under Wine with the DLLs of the zip alone.
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

cmake -S "$tree/examples" -B "$scratch/examples" -G Ninja \
  -DCMAKE_TOOLCHAIN_FILE="$here/mingw-x86_64.cmake" >/dev/null
cmake --build "$scratch/examples" --target ztk_messages_loop >/dev/null
for program in "$scratch/examples/ztk_messages_loop.exe" "$tree/bin/ztk_messages_loop.exe"; do
  diff -u <(printf '3\n2\n1\nlift-off\n') <("$here/run_on_wine.sh" "$program")
done
"$here/run_on_wine.sh" "$tree/bin/ztk_tour.exe" >"$scratch/output"
grep -q '^Everything came out as expected\.$' "$scratch/output"
echo "examples: one is built, and they run"

ztk() { "$here/run_on_wine.sh" "$tree/bin/ztk.exe" "$@"; }
cd "$scratch"
printf 'caf\xe9\r\n' >menu.txt
ztk text convert --in-place --line-ends lf menu.txt
diff -u <(printf 'caf\xc3\xa9\n') menu.txt
ztk conf ./painter.conf set Painter/Window Width 1280
[ "$(ztk conf ./painter.conf get Painter/Window Width)" = 1280 ]
! ztk conf ./painter.conf get Painter Title >output 2>&1
grep -q 'there is no Title in \[Painter\]' output
echo "ztk.exe: converts a text, sets and reads an entry"
