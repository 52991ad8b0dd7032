#!/usr/bin/env bash
# The folders of ztk/ in their order: a file includes its own folder and those before it, never one
# behind. The body includes nothing of the platform, which is the last.
set -euo pipefail
cd "$(dirname "$0")/.."

grep -rn --include='*.h' --include='*.cpp' '^#include "ztk/[a-z0-9_]*/' ztk | awk -F'[:/"]' '
  BEGIN {
    n = split("foundation file log stream text config system platform", order, " ")
    for (i = 1; i <= n; ++i) floor[order[i]] = i
  }
  {
    match($0, /#include "ztk\//)
    from = $2
    to = substr($0, RSTART + RLENGTH)
    sub(/\/.*/, "", to)
    if (!(from in floor)) next  # The headers that stand above the folders.
    if (!(to in floor)) { print "not in the order: " to; bad = 1; next }
    ++count[floor[from], floor[to]]
    if (floor[to] > floor[from]) { print "includes a later folder: " $0; bad = 1 }
  }
  END {
    printf "%-12s", "includes of"
    for (j = 1; j <= n; ++j) printf "%11s", order[j]
    print ""
    for (i = 1; i <= n; ++i) {
      printf "%-12s", order[i]
      for (j = 1; j <= n; ++j) printf "%11s", count[i, j] + 0
      print ""
    }
    exit bad
  }'
