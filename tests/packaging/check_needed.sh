#!/usr/bin/env bash
# check_needed.sh <library>: it needs nothing beyond the C and C++ runtime, directly or indirectly.
set -euo pipefail

needed=$(ldd "$1" | awk '{print $1}' | sed 's|.*/||' | sort)
grep -qx 'libc\.so\.6' <<<"$needed" || { echo "ldd: $needed" >&2; exit 1; }
if grep -vxE 'linux-(vdso|gate)\.so\.1|ld-linux.*\.so\.[0-9]|lib(c|m)\.so\.6|libgcc_s\.so\.1|libstdc\+\+\.so\.6' \
  <<<"$needed"; then
  echo "$1 needs the libraries above, too" >&2
  exit 1
fi
