#!/usr/bin/env bash
# Makes a folder a Debian system for 32-bit x86 with Wine's 32-bit programs in it, once: they do not
# install beside the 64-bit packages that the project uses. Packages come from where this system's
# do. Needs root rights.
set -euo pipefail

root=$1
[ ! -f "$root/ready" ] || exit 0

for command in debootstrap apt-get; do
  command -v "$command" >/dev/null || { echo "setup_wine32: $command is missing" >&2; exit 1; }
done
. /etc/os-release
[ "${ID-}" = debian ] || { echo "setup_wine32: this is not Debian" >&2; exit 1; }
mirror=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(ORIGIN) $(COMPONENT)' \
  'Created-By: Packages' | awk -v name="$VERSION_CODENAME" \
  '$2 == name && $3 == "Debian" && $4 == "main" && !found { print $1; found = 1 }')
[ -n "$mirror" ] || { echo "setup_wine32: apt has no source of $VERSION_CODENAME" >&2; exit 1; }

echo "setup_wine32: making an i386 system with Wine below $root"
rm -rf --one-file-system "$root"  # One that was not finished.
mkdir -p "$root"
log=$root.log
{
  debootstrap --arch=i386 --variant=minbase "$VERSION_CODENAME" "$root" "$mirror" &&
    chroot "$root" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
      --no-install-recommends wine wine32 &&
    chroot "$root" apt-get clean
} >"$log" 2>&1 </dev/null || { tail -n 30 "$log" >&2; exit 1; }
touch "$root/ready"
