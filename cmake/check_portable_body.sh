#!/usr/bin/env bash
# The portable body knows no platform: no header of an operating system and no platform macro
# outside ztk/platform, but in export.h, which says how each compiler exports.
set -euo pipefail
cd "$(dirname "$0")/.."

headers='unistd|fcntl|dlfcn|pthread|pwd|grp|iconv|langinfo|semaphore|signal|poll|dirent|malloc|'
headers+='sys/[a-z]+|linux/[a-z]+|windows|arpa/[a-z]+|netinet/[a-z]+'
macros='__linux|__unix|__APPLE__|_WIN32|_WIN64|__MACH__|__FreeBSD__|__ANDROID__|__gnu_linux__|'
macros+='__GLIBC__|_POSIX_|_GNU_SOURCE|ZTK_PLATFORM'

if grep -rnE "#[[:space:]]*include[[:space:]]*<($headers)\.h>|($macros)" ztk \
  --include='*.h' --include='*.cpp' --exclude-dir=platform --exclude=export.h; then
  echo "the portable body touches the operating system; only ztk/platform may" >&2
  exit 1
fi
