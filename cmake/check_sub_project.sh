#!/usr/bin/env bash
# A project that adds ours builds the library alone: no tests, benchmarks or examples, and its own
# program links and runs.
set -euo pipefail
cd "$(dirname "$0")/.."
source=$PWD

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cat >"$work/CMakeLists.txt" <<EOF
cmake_minimum_required(VERSION 3.25)
project(user LANGUAGES CXX)
add_subdirectory("$source" ztkbase)
add_executable(user main.cpp)
target_link_libraries(user PRIVATE ztk::base)
EOF
cat >"$work/main.cpp" <<'EOF'
#include <cstdio>

#include "ztk/ztk.h"

int main() { return std::puts(ZTKString::Format("%s %d", "answer", 42).c_str()) < 0; }
EOF
cmake -S "$work" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$work/build" >/dev/null
[ "$("$work/build/user")" = "answer 42" ]
if find "$work/build" -type f -perm -u+x \( -name '*_test' -o -name '*_bench' -o -name 'ztk_tour' \) |
  grep .; then
  echo "a sub-project built tests, benchmarks or examples" >&2
  exit 1
fi
