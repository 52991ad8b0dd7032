#!/usr/bin/env bash
# Every command and option that the tool's help names can be completed, and nothing else can.
#
#   completion_test.sh <tool> <completion file> <man page>
set -euo pipefail
tool=$1
. "$2"
man_page=$3
failed=0

# The completions of a line whose last word is under way.
complete_line() {
  COMP_WORDS=("$@")
  COMP_CWORD=$(($# - 1))
  _ztk
  printf '%s\n' "${COMPREPLY[@]}" | sort
}

expect_same() {  # <what> <from the help> <completed>
  [ "$2" = "$3" ] && return
  printf '%s: the help says\n%s\nand completion\n%s\n' "$1" "$2" "$3"
  failed=1
}

commands_of() { "$tool" "$@" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\)[ ,].*/\1/p' | sort; }
options_of() {
  "$tool" "$@" --help | grep -oE '^  (-[a-z],)?--[a-z-]+' | grep -oE -- '--[a-z-]+' | sort
}

# The man page is roff: its hyphens are written as \-.
documented() { sed 's/\\-/-/g' "$man_page" | grep -F -- "$1" >/dev/null; }  # -q would end sed by a signal

for command in text path data; do
  expect_same "$command" "$(commands_of "$command")" \
    "$(complete_line ztk "$command" '' | grep -v '^--')"
  for action in $(commands_of "$command"); do
    expect_same "$command $action" "$(options_of "$command" "$action")" \
      "$(complete_line ztk "$command" "$action" --)"
    for option in $(options_of "$command" "$action"); do
      [ "$option" = --help ] || documented "$option" ||
        { echo "the man page lacks $option"; failed=1; }
    done
  done
done
expect_same conf "$(commands_of conf x)" "$(complete_line ztk conf x '' | grep -v '^--')"
for action in $(commands_of conf x); do
  expect_same "conf $action" "$(options_of conf x "$action")" \
    "$(complete_line ztk conf x "$action" --)"
done
expect_same ztk "$(commands_of)" "$(complete_line ztk '' | grep -v '^--')"
exit $failed
