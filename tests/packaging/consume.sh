#!/usr/bin/env bash
# consume.sh find_package|add_subdirectory|fetch_content <compiler> [<prefix>]: builds the program
# of the folder "consumer" with CMake, and runs it. Where the library is a part of that project, all
# but one build compiles sources together, as some projects do with everything: five times as fast.
set -euo pipefail
way=$1 compiler=$2 prefix=${3:-}
here=$(dirname "$0")

united=ON
[ "$way $compiler" != 'add_subdirectory g++' ] || united=OFF

work=$SCRATCH/consume/$way-$compiler-$(md5sum <<<"$prefix" | cut -c1-6)
rm -rf "$work"
cmake -S "$here/consumer" -B "$work" -G Ninja --no-warn-unused-cli -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 \
  -DCMAKE_UNITY_BUILD=$united -DCMAKE_CXX_COMPILER="$compiler" -DWAY="$way" -DZTK_SOURCE="$SOURCE" \
  -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work" >"$work/build.log" || { tail -n 40 "$work/build.log" >&2; exit 1; }
"$here/run_consumers.sh" "$work" "$prefix"

# As a part of someone else's project, ours builds its libraries and nothing else.
if find "$work" -name CMakeFiles -prune -o -type f -perm -u+x -print |
  grep -vE '/consumer_[a-z0-9]+$|/libztkbase(-mac)?\.so\.[0-9.]+$'; then
  echo "the files above were built, too" >&2
  exit 1
fi
