#!/usr/bin/env bash
# check_tidy.sh <build folder> [shallow]: what .clang-tidy asks of every source that is not a test.
# Three quarters of its time go into following paths through functions; "shallow" looks less far
# across calls, and reads the headers once for all sources of a folder: a tenth of the time.
set -euo pipefail
cd "$(dirname "$0")/.."

log=$(mktemp)
trap 'rm -f "$log"' EXIT
# The configuration at hand may have chars without a sign.
if [ "${2:-}" != shallow ]; then
  git ls-files -z 'ztk/*.cpp' 'tools/*.cpp' 'examples/*.cpp' |
    xargs -0 -P "$(nproc)" -n 4 clang-tidy --quiet -p "$1" --extra-arg=-fsigned-char 2>"$log" ||
    { grep -v 'warnings generated' "$log"; exit 1; }
  exit
fi

united=$1/tidy
arguments=(--quiet -p "$united" --config-file=.clang-tidy --checks=-bugprone-suspicious-include
  --extra-arg=-fsigned-char)
for argument in -Xclang -analyzer-config -Xclang mode=shallow; do
  arguments+=("--extra-arg=$argument")
done
cmake/unite_sources.py "$1" "$united" |
  xargs -P "$(nproc)" -n 1 clang-tidy "${arguments[@]}" 2>"$log" ||
  { grep -v 'warnings generated' "$log"; exit 1; }

# What it looks for in the main file alone: another name for a namespace or a class, used by nobody.
status=0
while IFS=: read -r file _ line; do
  name=$(sed -E 's/^ *namespace (\w+) =.*/\1/; s/^ *using .*\b(\w+);.*/\1/' <<<"$line")
  [ "$(grep -cw -- "$name" "$file")" -gt 1 ] || { echo "$file: $name is not used" && status=1; }
done < <(git grep -nE '^ *(namespace \w+ =|using [a-z_]+::[A-Za-z_:]+;)' -- 'ztk/*.cpp' 'tools/*.cpp' \
  'examples/*.cpp')
exit $status
