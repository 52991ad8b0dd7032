#!/usr/bin/env bash
# run_fuzzers.sh <seconds>: every fuzz target of the preset "fuzz" for so long, one on each
# processor. What one finds stays, and the path is printed.
set -euo pipefail
cd "$(dirname "$0")/.."

scratch=$(mktemp -d)
find build/fuzz/tests/fuzz -maxdepth 1 -name '*_fuzz' -type f | sort |
  xargs -P "$(nproc)" -I{} cmake/run_fuzzer.sh {} "$scratch" "$1" ||
  { echo "the inputs that failed are below $scratch"; exit 1; }
rm -rf "$scratch"
