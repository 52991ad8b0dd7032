#!/usr/bin/env bash
# printers_test.sh <gdb> <case> <arguments of the case>
set -euo pipefail
gdb=$1 case=$2
shift 2

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export HOME=$folder XDG_CONFIG_HOME=$folder LC_ALL=C.UTF-8

fail() { echo "$*" >&2; exit 1; }

# Not every gdb has Python, and not every container lets a process be traced.
can_run() {
  "$gdb" -nx -batch -ex 'python print("has " + "python")' -ex run /bin/true >"$folder/probe" 2>&1
  grep -q 'has python' "$folder/probe" && grep -q 'exited normally' "$folder/probe"
}
[ "$case" = system ] || can_run || { echo "gdb cannot run a program here"; exit 77; }

# stop_in <program> <gdb options>... -- <commands>...: what the commands print where the program
# stops.
stop_in() {
  local program=$1 options=() commands=()
  shift
  while [ "$1" != -- ]; do options+=("$1"); shift; done
  shift
  for command; do commands+=(-ex "$command"); done
  "$gdb" -nx -batch "${options[@]}" -ex 'break LookAround' -ex run -ex up -ex 'echo ----\n' \
    "${commands[@]}" "$program" >"$folder/session" 2>&1 || { cat "$folder/session"; return 1; }
  sed '1,/^----$/d' "$folder/session"
}

# The block of the debugging page that shows the variables.
shown() {
  awk '$0 == "```text" && !seen { inside = seen = 1; next }
    $0 == "```" { inside = 0 } inside' "$1"
}

case $case in
  source)  # <program> <sources>
    diff <(shown "$2/docs/debugging.md") \
      <(stop_in "$1" -ex "source $2/tools/gdb/ztkbase_printers.py" -- 'info locals')
    ;;

  prefix)  # <cmake> <install script> <program> <library> <sources>
    "$1" -DCMAKE_INSTALL_PREFIX="$folder/prefix" -P "$2" >/dev/null
    program=$3 library=$4 page=$5/docs/debugging.md
    printers=$(find "$folder/prefix" -name "$(basename "$library")-gdb.py")
    [ -n "$printers" ] || fail "nothing is named for $(basename "$library")"
    libdir=$(dirname "$printers")
    cp "$library" "$libdir"
    soname=$(objdump -p "$library" | awk '$1 == "SONAME" { print $2 }')
    ln -sf "$(basename "$library")" "$libdir/$soname"
    there=(-iex "set environment LD_LIBRARY_PATH $libdir")

    diff <(shown "$page") \
      <(stop_in "$program" -iex "add-auto-load-safe-path $libdir" "${there[@]}" -- 'info locals')
    # Not trusted, they are not loaded: it is that line which does it.
    stop_in "$program" "${there[@]}" -- 'print title' | grep -q m_pBuffer ||
      fail "the printers came from somewhere else"
    ;;

  system)  # <cmake> <install script> <name of a library>...
    DESTDIR=$folder/root "$1" -DCMAKE_INSTALL_PREFIX=/usr -P "$2" >/dev/null
    shift 2
    cd "$folder/root/usr/share/gdb/auto-load"
    for library; do
      [ -n "$(find ./usr -path './usr/lib*' -name "$library-gdb.py")" ] || fail "none for $library"
    done
    [ "$(find . -type f | wc -l)" = $# ] || fail "more than one file for each library"
    ;;

  undescribed)  # <program> <library> <sources> <strip>
    soname=$(objdump -p "$2" | awk '$1 == "SONAME" { print $2 }')
    "$4" --strip-debug -o "$folder/$soname" "$2"
    diff - <(stop_in "$1" -iex "set environment LD_LIBRARY_PATH $folder" \
      -ex "source $3/tools/gdb/ztkbase_printers.py" -- \
      'print names' 'print lineEnds' 'print pointers' 'print list' 'print prices' \
      'print drive') <<'END'
$1 = ZTKStringArray of 3 = {"apple", "apple", ""}
$2 = ZTKArrayLinesType of 2 = {EOL_UNIX, EOL_DOS}
$3 = ZTKPtrArr of 2 = {0x0, 0x0}
$4 = ZTKListBase of 1 = {0x0}
$5 = ZTKMap of 2 = {[16] = 250, [3] = 99}
$6 = C:notes/todo = {volume = "C", dirs[0] = "notes", name = "todo", ext = "", relative = true}
END
    ;;
  *) fail "no such case: $case" ;;
esac
