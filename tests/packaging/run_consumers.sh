#!/usr/bin/env bash
# run_consumers.sh <folder> [<prefix>]: the programs in the folder print what they are expected to.
# With a prefix, they also find the dialog's plug-in that is installed there.
set -euo pipefail
work=$1 prefix=${2:-}
here=$(dirname "$0")

for standard in 17 20 23; do
  diff "$here/consumer/expected.txt" <("$work/consumer_$standard")
done
[ ! -e "$work/consumer_mac" ] || diff "$here/consumer/expected.txt" <("$work/consumer_mac")

if [ -n "$prefix" ] && [ -e "$BUILD/ztk/libztkdialog-gtk3.so" ]; then
  [ "$(DISPLAY=:98765 "$work/consumer_17" dialog)" = 'cannot open the display ":98765"' ]
fi
