#!/usr/bin/env bash
# check.sh <program> <source> <README> [<emulator>]: the README quotes the source and the program's output whole.
set -euo pipefail
program=$1 source=$2 readme=$3 emulator=${4-}

home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
output=$(XDG_CONFIG_HOME="$home" ${emulator:+"$emulator"} "$program")
[ -n "$output" ] || { echo "the program printed nothing" >&2; exit 1; }

quoted() { # fence: the content of README's first block that opens with that fence
  awk -v fence="$1" '$0 == fence && !seen { inside = seen = 1; next }
    $0 == "```" { inside = 0 } inside' "$readme"
}
diff <(quoted '```cpp') "$source"
diff <(quoted '```text') <(printf '%s\n' "$output")
