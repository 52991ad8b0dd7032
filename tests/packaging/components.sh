#!/usr/bin/env bash
# Installs each component alone: it holds what it is for, and all of them together are what an
# installation without a choice holds.
set -euo pipefail

stage=$SCRATCH/components
rm -rf "$stage"
install() { # <folder> [<component>]
  cmake --install "$BUILD" --prefix "$stage/$1" ${2:+--component "$2"} >/dev/null
}
files() { (cd "$stage/$1" && find . ! -type d | sort); }
only() { # <component> <extended regular expression>: the component has files, all of which match
  [ -n "$(files "$1")" ] || { echo "$1: nothing was installed" >&2; return 1; }
  if files "$1" | grep -vE "$2"; then
    echo "$1: the files above do not belong there" >&2
    return 1
  fi
}
has() { # <component> <file> : somewhere in the component
  files "$1" | grep -qE "/$2$" || { echo "$1: no $2" >&2; return 1; }
}

components=(runtime development documentation)
[ ! -e "$BUILD/install/ztkbase-mac.pc" ] || components+=(runtime_mac)
[ ! -e "$BUILD/ztk/libztkdialog-gtk3.so" ] || components+=(dialog)
[ ! -e "$BUILD/tools/ztk/ztk" ] || components+=(tools)
for component in "${components[@]}"; do install "$component" "$component"; done

only runtime '/libztkbase\.so\.1(\.[0-9]+\.[0-9]+)?$'
has development 'include/ztk/ztk\.h'
has development 'libztkbase\.so'
has development 'ztkbaseConfig\.cmake'
has development 'pkgconfig/ztkbase\.pc'
if files development | grep -vE '/platform/mac/(application_package|file_dialog_callbacks|mac_paths|services/(dialog_)?types)\.h$' |
  grep -E '/(internal|platform)/|\.so\.[0-9.]+$'; then
  echo "development: the files above are not for users" >&2
  exit 1
fi
has documentation 'README\.md'
[ ! -d "$stage/runtime_mac" ] || only runtime_mac '/libztkbase-mac\.so\.1(\.[0-9]+\.[0-9]+)?$'
[ ! -d "$stage/dialog" ] || only dialog '/ztkbase/libztkdialog-gtk3\.so$'
[ ! -d "$stage/tools" ] || has tools 'bin/ztk'

install all
diff <(files all) <(for component in "${components[@]}"; do files "$component"; done | sort)
