#include "ztk/file/file_name.h"

#include "ztk/file/file_system.h"
#include "ztk/file/internal/path_text.h"

ZTKFileName::ZTKFileName(const ZTKString& fullPath, ZTKPathFormat format) {
  format = XPGetFormat(format);
  ZTKString scratch;  // The path cannot be a field of this object yet: no copy.
  SetParts(ZTKPathParts::Cut(fullPath.view(), format, scratch), format);
}

void ZTKFileName::Clear() {
  CutDirs(0);
  m_volume.Clear();
  m_name.Clear();
  m_ext.Clear();
  m_bRelative = true;
}

// Assigning ---------------------------------------------------------------------------------------

void ZTKFileName::Assign(const ZTKString& fullPath, ZTKPathFormat format) {
  format = XPGetFormat(format);
  const ZTKTextCopy text(fullPath);
  ZTKString scratch;
  SetParts(ZTKPathParts::Cut(text.View(), format, scratch), format);
}

void ZTKFileName::Assign(const ZTKString& volume, const ZTKString& path, const ZTKString& name,
                         const ZTKString& ext, ZTKPathFormat format) {
  const ZTKTextCopy volumeText(volume);  // Any of them may be a field of this very object.
  const ZTKTextCopy pathText(path);
  const ZTKTextCopy nameText(name);
  const ZTKTextCopy extText(ext);
  SetParts({volumeText.View(), pathText.View(), nameText.View(), extText.View()},
           XPGetFormat(format));
}

void ZTKFileName::Assign(const ZTKString& path, const ZTKString& name, ZTKPathFormat format) {
  format = XPGetFormat(format);
  ZTKString nameScratch;
  const ZTKTextCopy nameText(name);
  const ZTKPathParts nameParts = ZTKPathParts::Cut(nameText.View(), format, nameScratch);

  ZTKString folder = path;
  if (!ZTKEndsWithPathSeparator(folder.c_str())) folder.append(GetPathSeparator(format), 1);
  ZTKString folderScratch;
  ZTKPathParts parts = ZTKPathParts::Cut(folder.view(), format, folderScratch);
  parts.name = nameParts.name;
  parts.ext = nameParts.ext;
  SetParts(parts, format);
}

void ZTKFileName::AssignDir(const ZTKString& dir, ZTKPathFormat format) {
  Assign(dir, ZTKString(), format);
}

void ZTKFileName::AssignCwd(const ZTKString& volume) { AssignDir(GetCwd(volume), ZTKPathNative); }

void ZTKFileName::SetFullName(const ZTKString& fullName) {
  SplitPath(fullName, nullptr, &m_name, &m_ext, ZTKPathNative);
}

void ZTKFileName::SetParts(const ZTKPathParts& parts, ZTKPathFormat format) {
  const bool hasRoot = !parts.path.empty() || parts.volume.size() > 1;
  if (parts.hasNoVolumeInPath && hasRoot) {
    SetDirs(parts, format);
  } else {
    SetDirs(parts.path, format);
  }
  ZTKPutText(m_volume, parts.volume);  // Overrides a volume in the path.
  ZTKPutText(m_name, parts.name);
  ZTKPutText(m_ext, parts.ext);
}

// Joining -----------------------------------------------------------------------------------------

ZTKString ZTKFileName::GetFullName() const {
  ZTKTextBuilder out;
  AddFullName(out);
  return out.Finish();
}

ZTKString ZTKFileName::GetFullPath(ZTKPathFormat format) const {
  ZTKTextBuilder out;
  AddPath(out, ZTKGetPathVolume | ZTKGetPathTrailingSep, XPGetFormat(format));
  AddFullName(out);
  return out.Finish();
}

ZTKString ZTKFileName::GetPath(int nFlags, ZTKPathFormat format) const {
  ZTKTextBuilder out;
  AddPath(out, nFlags, XPGetFormat(format));
  return out.Finish();
}

void ZTKFileName::AddFullName(ZTKTextBuilder& out) const {
  out.Add(m_name.view());
  const std::string_view ext = m_ext.view();
  if (ext.empty()) return;
  out.Add('.');
  out.Add(ext);
}

void ZTKFileName::AddPath(ZTKTextBuilder& out, int nFlags, ZTKPathFormat format) const {
  const unsigned long nDirs = m_dirs.GetCount();
  const char separator = ZTKPathSyntax::Of(format).separators.front();
  const bool isVms = format == ZTKPathVms;
  const bool isMac = format == ZTKPathMac;

  if ((nFlags & ZTKGetPathVolume) != 0 && !m_volume.view().empty()) {
    out.Add(ZTKGetVolumeString(m_volume, format).view());
  }
  if (isMac) {
    if (m_bRelative) out.Add(':');
  } else if (format == ZTKPathDos) {
    if (!m_bRelative) out.Add('\\');
  } else if (!isVms && !m_bRelative && m_dirs.Item(0).view() != "~") {
    out.Add('/');
  }
  if (nDirs == 0) return;

  const bool endsWithSeparator = (nFlags & ZTKGetPathTrailingSep) != 0 && !isVms;
  if (isVms) out.Add('[');
  unsigned long nLeft = nDirs;
  for (const ZTKString& component : m_dirs) {
    --nLeft;
    const std::string_view dir = component.view();
    if (isMac && dir == ".") continue;
    // ".." is an empty component between colons, and VMS has none: only the separator stays.
    if (!((isMac || isVms) && dir == "..")) out.Add(dir);
    if (endsWithSeparator || nLeft != 0) out.Add(separator);
  }
  if (isVms) out.Add(']');
}

// Queries -----------------------------------------------------------------------------------------

bool ZTKFileName::IsAbsolute(ZTKPathFormat format) const {
  if (m_bRelative) return false;
  if (ZTKPathSyntax::Of(XPGetFormat(format)).volumeSeparator.empty()) return true;
  return !m_volume.view().empty();
}

bool ZTKFileName::IsCaseSensitive(ZTKPathFormat format) const {
  return XPGetFormat(format) == ZTKPathUnix;
}

ZTKString ZTKFileName::ZTKGetVolumeString(const ZTKString& volume, ZTKPathFormat format) {
  format = XPGetFormat(format);
  const std::string_view text = volume.view();
  ZTKTextBuilder out;
  if (text.empty()) return out.Finish();

  if (format == ZTKPathDos && text.size() > 1) {
    out.Add("\\\\");
    out.Add(text);
  } else if (format == ZTKPathDos || format == ZTKPathVms) {
    out.Add(text);
    out.Add(':');
  }
  return out.Finish();
}

ZTKString ZTKFileName::GetPathSeparators(ZTKPathFormat format) {
  return ZTKString(ZTKPathSyntax::Of(XPGetFormat(format)).separators);
}

ZTKString ZTKFileName::GetPathTerminators(ZTKPathFormat format) {
  return ZTKString(ZTKPathSyntax::Of(XPGetFormat(format)).terminators);
}

ZTKString ZTKFileName::GetVolumeSeparator(ZTKPathFormat format) {
  return ZTKString(ZTKPathSyntax::Of(XPGetFormat(format)).volumeSeparator);
}

char ZTKFileName::GetPathSeparator(ZTKPathFormat format) {
  return ZTKPathSyntax::Of(XPGetFormat(format)).separators.front();
}

bool ZTKFileName::IsPathSeparator(char ch, ZTKPathFormat format) {
  return ZTKPathSyntax::Of(XPGetFormat(format)).IsSeparator(ch);
}

// The directory list ------------------------------------------------------------------------------

bool ZTKFileName::IsValidDirComponent(const ZTKString& dir) {
  const ZTKPathSyntax& native = ZTKPathSyntax::Of(XPGetFormat(ZTKPathNative));
  const std::string_view text = dir.view();
  if (text.empty()) return false;
  if (text.find_first_of(native.separators) != std::string_view::npos) return false;
  return text.find_first_of(native.volumeSeparator) == std::string_view::npos;
}

void ZTKFileName::AppendDir(const ZTKString& dir) {
  if (IsValidDirComponent(dir)) m_dirs.Add(dir, 1);
}

void ZTKFileName::InsertDir(unsigned long nPos, const ZTKString& dir) {
  if (IsValidDirComponent(dir)) m_dirs.Insert(dir, nPos);
}

void ZTKFileName::PrependDir(const ZTKString& dir) { InsertDir(0, dir); }

void ZTKFileName::RemoveDir(unsigned long nPos) { m_dirs.RemoveAt(nPos, 1); }

// The working directory ---------------------------------------------------------------------------

ZTKString ZTKFileName::GetCwd() { return ZTKGetCwd(); }

ZTKString ZTKFileName::GetCwd(const ZTKString& volume) {
  ZTKString home = GetCwd();
  // Without a path to return to, stay.
  if (volume.view().empty() || home.view().empty()) return home;

  ZTKString root = volume;
  if (ZTKIsDosSystem() && volume.Len() > 1) {
    root = ZTKGetVolumeString(volume, ZTKPathNative);  // A share has no folder but its root.
    root.append(GetPathSeparator(ZTKPathNative), 1);
  } else {
    root.append(GetVolumeSeparator(ZTKPathNative));
  }
  SetCwd(root);
  ZTKString found = GetCwd();
  SetCwd(home);
  return found;
}

bool ZTKFileName::SetCwd(const ZTKString& dir) { return ZTKSetWorkingDirectory(dir); }

bool ZTKFileName::SetCwd() const { return ZTKSetWorkingDirectory(GetFullPath(ZTKPathNative)); }
