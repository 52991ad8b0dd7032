#!/usr/bin/env bash
# run_fuzzer.sh <program> <scratch folder> <seconds>: one fuzz target over its committed corpus.
set -euo pipefail
program=$1 scratch=$2/$(basename "$1") seconds=$3
family=$(basename "$program" _fuzz)
corpus=tests/fuzz/corpus/$family

mkdir -p "$scratch/new"
if "$program" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
  -artifact_prefix="$scratch/" "$scratch/new" "$corpus" >"$scratch/log" 2>&1; then
  printf '%s: %s\n' "$family" "$(grep -E 'number_of_executed_units' "$scratch/log")"
else
  echo "$family: FAILED" && tail -n 40 "$scratch/log"
  exit 1
fi
