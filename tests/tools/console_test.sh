#!/usr/bin/env bash
# Runs the console examples of a page, and compares what they print with what the page shows.
#
#   console_test.sh <folder of the tool> <page>
set -euo pipefail
export PATH="$1:$PATH"
page=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"

# One file for each command, 1.command, and one for the lines below it, 1.expected.
awk -v n=0 '
  /^```console$/ { inside = 1; next }
  /^```$/ { inside = 0; next }
  inside && /^\$ / { ++n; print substr($0, 3) > (n ".command"); printf "" > (n ".expected"); next }
  inside { print > (n ".expected") }
' "$page"

failed=0 n=0
while [ -e "$((++n)).command" ]; do
  bash "$n.command" >"$n.actual" 2>&1 || { echo "failed: $(cat "$n.command")"; failed=1; }
  [ -z "$(tail -c 1 "$n.actual")" ] || echo >>"$n.actual"  # A page cannot show a missing line end.
  diff "$n.expected" "$n.actual" || { echo "differs: $(cat "$n.command")"; failed=1; }
done
[ "$n" -gt 1 ] || { echo "$page shows no example"; failed=1; }
exit $failed
