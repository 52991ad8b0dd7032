#!/usr/bin/env bash
# check.sh <program> <source> <page> [<emulator>]: behind the line "<!-- <name of the source> -->" the page quotes
# the source whole, and then what the program prints.
set -euo pipefail
program=$1 source=$2 page=$3 emulator=${4-}

home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
output=$(cd "$home" && XDG_CONFIG_HOME="$home" ${emulator:+"$emulator"} "$program")
[ -n "$output" ] || { echo "the program printed nothing" >&2; exit 1; }

quoted() { # fence: the content of the first block with that fence behind the source's line
  awk -v fence="$1" -v start="<!-- $(basename "$source") -->" '$0 == start { found = 1; next }
    found && $0 == fence && !seen { inside = seen = 1; next }
    $0 == "```" { inside = 0 } inside' "$page"
}
diff <(quoted '```cpp') "$source"
diff <(quoted '```text') <(printf '%s\n' "$output")
