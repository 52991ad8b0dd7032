#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/path_text.h"

namespace {

// The text of a path in which variables are looked for. Where paths of the system have `\\` between
// their components, that one in front of a '$' or '%' is no escape, but separates.
ZTKString TextToExpand(const ZTKString& path, ZTKPathFormat format) {
  if (format != ZTKPathDos || !ZTKIsDosSystem()) return path;
  ZTKTextBuilder out;
  const std::string_view text = path.view();
  for (size_t i = 0; i < text.size(); ++i) {
    const bool escapes =
        text[i] == '\\' && i + 1 < text.size() && (text[i + 1] == '$' || text[i + 1] == '%');
    out.Add(escapes ? '/' : text[i]);
  }
  return out.Finish();
}

}  // namespace

bool ZTKFileName::XPNormalize(int nFlags, const ZTKString& cwd, ZTKPathFormat format) {
  format = XPGetFormat(format);
  const ZTKString cwdCopy = cwd;  // It may be one of our own fields.
  const bool lowers = (nFlags & ZTKNormCase) != 0 && !IsCaseSensitive(format);

  if ((nFlags & ZTKNormEnvVars) != 0) {
    const ZTKString written = TextToExpand(GetFullPath(format), format);
    const ZTKString expanded = ExpandEnvVars(written);
    // Read in the native syntax, whatever `format` is.
    if (expanded != written) Assign(expanded, ZTKPathNative);
  }

  ZTKStringArray dirs = m_dirs;
  const ZTKFileName base = FindBase(nFlags, cwdCopy, format, dirs);
  const bool isBaseEmpty =
      base.m_dirs.GetCount() == 0 && base.m_name.view().empty() && base.m_bRelative;
  if (!isBaseEmpty) {
    ZTKStringArray joined = base.m_dirs;
    joined.DoCopyArr(dirs);
    dirs = joined;
  }

  CutDirs(0);
  for (unsigned long i = 0; i < dirs.GetCount(); ++i) {
    ZTKString& dir = dirs.Item(i);
    if ((nFlags & ZTKNormDots) != 0) {
      if (dir.view() == ".") continue;
      if (dir.view() == "..") {
        // Dropped without removing another component; it only may not come first.
        if (m_dirs.GetCount() == 0) return false;
        continue;
      }
    }
    if (lowers) dir.MakeLower();
    m_dirs.Add(dir, 1);
  }

  if ((nFlags & ZTKNormShortcut) != 0) {
    ZTKString target;
    XPGetShortcutTarget(GetFullPath(format), target, nullptr);
    if (lowers) target.MakeLower();
    m_bRelative = false;
    Assign(target, ZTKPathNative);
  }
  if (lowers) {
    m_volume.MakeLower();
    m_name.MakeLower();
    m_ext.MakeLower();
  }
  m_bRelative = false;
  // Last, so that a path without a long form ends as the relative, empty name.
  if ((nFlags & ZTKNormLongPath) != 0 && format == ZTKPathDos) {
    Assign(XPGetLongPath(), ZTKPathNative);
  }
  return true;
}

ZTKFileName ZTKFileName::FindBase(int nFlags, const ZTKString& cwd, ZTKPathFormat format,
                                  ZTKStringArray& dirs) {
  ZTKFileName base;
  if ((nFlags & ZTKNormAbsolute) != 0 && !IsAbsolute(format)) {
    if (cwd.view().empty()) {
      base.AssignCwd(m_volume);
    } else {
      base.AssignDir(cwd, ZTKPathNative);
    }
    if (m_volume.view().empty() && !base.m_volume.view().empty()) {
      m_volume = base.m_volume;
      if (!m_bRelative) base.Clear();  // A rooted path lacked nothing but the volume.
    }
  }

  if ((nFlags & ZTKNormTilde) != 0 && format == ZTKPathUnix && dirs.GetCount() != 0) {
    const ZTKString first = dirs.Item(0);
    if (first.view().substr(0, 1) == "~") {
      const ZTKString user(first.view().substr(1));
      base.AssignDir(ZTKGetUserHome(user), ZTKPathNative);
      dirs.RemoveAt(0, 1);
    }
  }
  return base;
}
