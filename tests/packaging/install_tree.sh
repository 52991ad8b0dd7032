#!/usr/bin/env bash
# install_tree.sh <folder>: installs everything elsewhere, moves the tree to the folder, and looks
# for what still names the place it was installed to.
set -euo pipefail
target=$1 first=$SCRATCH/first/prefix

rm -rf "$first" "$target"
mkdir -p "$(dirname "$target")"
cmake --install "$BUILD" --prefix "$first" >/dev/null
mv "$first" "$target"
if grep -rIlF -e "$first" -e "$BUILD" "$target"; then
  echo "the files above name a folder that users do not have" >&2
  exit 1
fi
