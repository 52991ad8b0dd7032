#!/usr/bin/env bash
# Runs a Windows program of a build under Wine: CMake's emulator for the tests. Lines end on a line
# feed alone, as those who read the output expect.
#
# Wine's exit statuses of programs that crash may be those of success, so that a program of tests
# has passed only when GoogleTest says so, at the end, and of no test that it failed.
#
# With ZTK_WINE_ROOT all of this happens in the 32-bit system in that folder, see test_windows32.sh.
set -euo pipefail

if [ -n "${ZTK_WINE_ROOT-}" ]; then
  exec chroot "$ZTK_WINE_ROOT" env -u ZTK_WINE_ROOT -C "$PWD" ZTK_WINE_ARCH=win32 "$0" "$@"
fi

program=$1
build=$(cd "$(dirname "$program")" && pwd)
while [ ! -f "$build/wine.env" ]; do
  [ "$build" != / ] || { echo "run_on_wine: no wine.env above $program" >&2; exit 1; }
  build=$(dirname "$build")
done
. "$build/wine.env"  # Where Wine keeps its drive, and where the DLLs are.

# Most tests have no display. One that needs it gets its own, and a drive of its own with it: Wine's
# desktop stays on the display, or without one, where it was begun.
unset DISPLAY
if [ "${ZTK_TEST_DISPLAY-}" = own ]; then
  WINEPREFIX+=-display
  exec 8< <(exec Xvfb -displayfd 1 -screen 0 1024x768x24 -nolisten tcp 2>/dev/null)
  xvfb=$!
  read -r -u 8 number
  export DISPLAY=":$number"
fi
"$(dirname "$0")/setup_wine.sh" "$WINEPREFIX"

output=$(mktemp)
at_end() {
  rm -f "$output"
  [ -z "${xvfb-}" ] || { "$(dirname "$0")/setup_wine.sh" --stop "$WINEPREFIX"; kill "$xvfb"; }
}
trap at_end EXIT
status=0
wine "$@" >"$output" 2>&1 </dev/null || status=$?
tr -d '\r' <"$output"

case " ${*:2} " in
*" --gtest_list_tests "*) exit "$status" ;;
esac
[ "$status" -eq 0 ] || { echo "run_on_wine: status $status" >&2; exit 1; }
if grep -q '^\[=====' "$output"; then
  grep -qE '^\[  PASSED  \]' "$output" || { echo "run_on_wine: it ended early" >&2; exit 1; }
  ! grep -qE '^\[  FAILED  \]' "$output" || { echo "run_on_wine: tests failed" >&2; exit 1; }
fi
