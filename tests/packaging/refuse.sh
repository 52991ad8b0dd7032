#!/usr/bin/env bash
# refuse.sh <prefix>: a version or a component that is not there is not found, and CMake says so.
set -euo pipefail
prefix=$1

work=$SCRATCH/refuse
rm -rf "$work"
mkdir -p "$work"
find_it() { # <name of the case> <arguments of find_package>
  printf 'cmake_minimum_required(VERSION 3.25)\nproject(user LANGUAGES CXX)\nfind_package(%s)\n' \
    "$2" >"$work/CMakeLists.txt"
  cmake -S "$work" -B "$work/$1" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >"$work/$1.log" 2>&1
}
refused() { # as above, and what CMake is to say
  if find_it "$1" "$2"; then
    echo "find_package($2) succeeded" >&2
    exit 1
  fi
  tr -s ' \n' ' ' <"$work/$1.log" | grep -qF "$3" || { cat "$work/$1.log" >&2; exit 1; }
}
find_it plain 'ztkbase 1.0 REQUIRED COMPONENTS base'
refused newer 'ztkbase 1.99 REQUIRED' 'compatible with requested version "1.99"'
refused other_major 'ztkbase 2 REQUIRED' 'compatible with requested version "2"'
refused component 'ztkbase REQUIRED COMPONENTS base base_vms' 'the library base_vms is not installed'

# Headers without the library, as after a partial installation.
cp -r "$prefix" "$work/partial"
find "$work/partial" -name 'libztkbase.so*' -delete
prefix=$work/partial
refused partial 'ztkbase REQUIRED' 'the library base is not installed'
