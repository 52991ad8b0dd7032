#!/usr/bin/env bash
# run_unprivileged.sh <build folder>: as root, runs the tests of files, text and configuration as a
# user whom permissions do stop; refused access can be tested in no other way. The folder of the
# build may be closed to that user: programs and libraries are copied.
set -euo pipefail
[ "$(id -u)" -eq 0 ] || exit 0
readonly nobody=65534

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 755 "$work"
mkdir "$work/tmp"
chown $nobody "$work/tmp"
cp "$1"/tests/{file,text,config}/*_test{,-mac} \
  "$1"/tests/platform/mac/mac_{file_services,file_system,temp_file}_test "$1"/ztk/*.so.? "$work"

cd "$work/tmp"
# They wait for the disk more than they compute.
export work nobody
run() {
  local name=$1
  setpriv --reuid=$nobody --regid=$nobody --clear-groups \
    env LD_LIBRARY_PATH="$work" HOME="$work/tmp" TMPDIR="$work/tmp" "$work/$name" >"$work/$name.log" 2>&1 || {
    grep -E 'FAILED|Failure' -A 8 "$work/$name.log" | head -n 40
    return 1
  }
  grep -hE '^\[  PASSED' "$work/$name.log" | sed "s/^/$name: /"
}
export -f run
basename -a "$work"/*_test{,-mac} | xargs -P $((2 * $(nproc))) -I{} bash -c 'run {}'
if grep -hE 'root (may|reads)|permissions do not stop' "$work"/*.log; then
  echo "a test of refused access did not run" >&2
  exit 1
fi
