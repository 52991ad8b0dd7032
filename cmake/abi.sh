#!/usr/bin/env bash
# abi.sh check|accept: compares the binary interface of the libraries that the preset "package" has
# built with the one that was accepted last (abi/<library>.<architecture>.abi), or accepts it.
#
# What programs see of a library must not change by accident: a changed layout, a virtual function
# in between, a function that is gone all break those that are compiled already. Additions count,
# too: what is released stays. The preset fixes compiler and options; the files are its results.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/package

architecture=$(uname -m)
describe() { # <library> <file>
  abidw --headers-dir ztk --drop-private-types --exported-interfaces-only --no-elf-needed \
    --no-show-locs --no-comp-dir-path --no-corpus-path --out-file "$2" "$1"
  sed -i "s|path='$PWD/|path='|" "$2"  # The same wherever the sources lie.
}
# Two files of one library, by what abidiff says of them: 0 means that nothing changed.
compare() { abidiff --no-show-locs "$1" "$2"; }

check() { # <library> <accepted file>
  if [ ! -e "$2" ]; then
    echo "$2: not there, so that nothing is compared; make abi-accept writes it" >&2
    return 1
  fi
  local now
  now=$build/$(basename "$2")
  describe "$1" "$now"
  if ! compare "$2" "$now"; then
    echo "$(basename "$1"): the binary interface is not the accepted one (above)." >&2
    echo "If that is meant: make abi-accept, and commit abi/ with the change and a word in" >&2
    echo "CHANGELOG.md. What breaks compiled programs needs a new major version." >&2
    return 1
  fi
  echo "$(basename "$1"): the binary interface is the accepted one"
}

status=0
found=0
for link in "$build"/ztk/libztkbase.so "$build"/ztk/libztkbase-mac.so; do
  [ -e "$link" ] || continue
  found=1
  accepted=abi/$(basename "$link" .so).$architecture.abi
  case ${1:-} in
    check) check "$link" "$accepted" || status=1 ;;
    accept) mkdir -p abi && describe "$link" "$accepted" && echo "$accepted: written" ;;
    *) echo "usage: abi.sh check|accept" >&2 && exit 2 ;;
  esac
done
[ $found -eq 1 ] || { echo "$build holds no library; build the preset package" >&2; exit 1; }
exit $status
