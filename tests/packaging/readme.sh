#!/usr/bin/env bash
# readme.sh <prefix>: README's program, built by README's CMake project and by its compiler line
# against the installed library, prints what README says.
set -euo pipefail
prefix=$1

work=$SCRATCH/readme
rm -rf "$work"
mkdir -p "$work"
quoted() { # <fence> [<pattern>]: README's first such block that has the pattern
  awk -v fence="$1" -v pattern="${2:-.}" '
    $0 == fence { inside = 1; block = ""; next }
    $0 == "```" { if (inside && block ~ pattern) { printf "%s", block; exit } inside = 0 }
    inside { block = block $0 "\n" }' "$SOURCE/README.md"
}
quoted '```cpp' >"$work/main.cpp"
quoted '```cmake' 'find_package' >"$work/CMakeLists.txt"
quoted '```text' >"$work/expected.txt"
quoted '```sh' 'pkg-config' >"$work/compile.sh"
for file in main.cpp CMakeLists.txt expected.txt compile.sh; do
  [ -s "$work/$file" ] || { echo "README has no block for $file" >&2; exit 1; }
done

cmake -S "$work" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/build" >/dev/null
XDG_CONFIG_HOME=$(mktemp -d -p "$work") "$work/build/program" | diff "$work/expected.txt" -

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name ztkbase.pc)")
export PKG_CONFIG_PATH
(cd "$work" && bash -e compile.sh)
LD_LIBRARY_PATH=$(dirname "$PKG_CONFIG_PATH") XDG_CONFIG_HOME=$(mktemp -d -p "$work") \
  "$work/program" | diff "$work/expected.txt" -
