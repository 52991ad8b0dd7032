// Cutting path text into parts, and a directory part into its components.
#include "ztk/file/file_name.h"
#include "ztk/file/internal/dos_path.h"
#include "ztk/file/internal/path_text.h"

namespace {

// The volume of a path of Windows. It keeps its inner separators, in the preferred form.
ZTKPathParts CutSystemVolume(std::string_view text, ZTKString& scratch) {
  ZTKPathParts parts;
  parts.hasNoVolumeInPath = true;
  const size_t length = ZTKDosVolumeLength(text);
  parts.path = text.substr(length);
  if (length == 0) return parts;
  if (!ZTKIsDosSeparator(text.front())) {
    parts.volume = text.substr(0, 1);
    return parts;
  }
  parts.volume = text.substr(2, length - 2);
  // A server of one letter would read as a drive.
  const bool isLetter = parts.volume.size() == 1;
  if (isLetter || parts.volume.find('/') != std::string_view::npos) {
    ZTKTextBuilder rewritten;
    for (const char ch : parts.volume) rewritten.Add(ch == '/' ? '\\' : ch);
    if (isLetter) rewritten.Add('\\');
    scratch = rewritten.Finish();
    parts.volume = scratch.view();
  }
  return parts;
}

}  // namespace

ZTKPathParts ZTKPathParts::CutVolume(std::string_view text, ZTKPathFormat format,
                                     ZTKString& scratch) {
  if (format == ZTKPathDos && ZTKIsDosSystem()) return CutSystemVolume(text, scratch);
  if (format == ZTKPathDos && text.size() >= 4 && text.substr(0, 2) == "\\\\") {
    // A server name ends at the sequence "\/", not at either character, so the usual
    // \\server\share has no volume here.
    text.remove_prefix(2);
    const size_t end = text.find("\\/");
    if (end != std::string_view::npos) {
      ZTKTextBuilder rewritten;
      rewritten.Add(text.substr(0, end));
      rewritten.Add(':');
      rewritten.Add(text.substr(end));
      scratch = rewritten.Finish();
      text = scratch.view();
    }
  }

  ZTKPathParts parts;
  parts.path = text;
  if (format == ZTKPathDos || format == ZTKPathVms) {
    const size_t colon = text.find(':');
    if (colon != std::string_view::npos) {
      parts.volume = text.substr(0, colon);
      parts.path = text.substr(colon + 1);
    }
  }
  return parts;
}

namespace {

// Whether the dot at `dot` stands in front of an extension. Which separators may stand before a
// name that only begins with a dot is asked of the native syntax, whatever `format` is.
bool StartsExtension(std::string_view rest, size_t dot, ZTKPathFormat format) {
  if (dot == std::string_view::npos || dot == 0) return false;
  const char before = rest[dot - 1];
  if (format == ZTKPathVms && before == ']') return false;
  return !ZTKPathSyntax::Of(ZTKFileName::XPGetFormat(ZTKPathNative)).IsSeparator(before);
}

}  // namespace

ZTKPathParts ZTKPathParts::Cut(std::string_view text, ZTKPathFormat format, ZTKString& scratch) {
  constexpr size_t kNone = std::string_view::npos;
  ZTKPathParts parts = CutVolume(text, format, scratch);
  const std::string_view rest = parts.path;
  const ZTKPathSyntax& syntax = ZTKPathSyntax::Of(format);
  size_t terminator = kNone;
  size_t dot = kNone;  // Of those behind the terminator; one before it is no extension mark.
  for (size_t i = rest.size(); i-- != 0;) {
    if (syntax.IsTerminator(rest[i])) {
      terminator = i;
      break;
    }
    if (rest[i] == '.' && dot == kNone) dot = i;
  }

  size_t nameStart = 0;
  parts.path = {};
  if (terminator != kNone) {
    nameStart = terminator + 1;
    const bool isRootOnly = terminator == 0 && format != ZTKPathMac;
    parts.path = rest.substr(0, isRootOnly ? 1 : terminator);
    if (format == ZTKPathVms && !parts.path.empty() && parts.path.front() == '[') {
      parts.path.remove_prefix(1);
    }
  }

  size_t nameEnd = rest.size();
  if (StartsExtension(rest, dot, format)) {
    nameEnd = dot;
    parts.ext = rest.substr(dot + 1);
  }
  parts.name = rest.substr(nameStart, nameEnd - nameStart);
  return parts;
}

void ZTKFileName::SplitVolume(const ZTKString& fullPath, ZTKString* pVolume, ZTKString* pPath,
                              ZTKPathFormat format) {
  const ZTKTextCopy text(fullPath);
  ZTKString scratch;
  const ZTKPathParts parts = ZTKPathParts::CutVolume(text.View(), XPGetFormat(format), scratch);
  if (pVolume != nullptr) ZTKPutText(*pVolume, parts.volume);
  if (pPath != nullptr) ZTKPutText(*pPath, parts.path);
}

void ZTKFileName::SplitPath(const ZTKString& fullPath, ZTKString* pVolume, ZTKString* pPath,
                            ZTKString* pName, ZTKString* pExt, ZTKPathFormat format) {
  const ZTKTextCopy text(fullPath);  // An output may be the input.
  ZTKString scratch;
  const ZTKPathParts parts = ZTKPathParts::Cut(text.View(), XPGetFormat(format), scratch);
  if (pVolume != nullptr) ZTKPutText(*pVolume, parts.volume);
  if (pPath != nullptr) ZTKPutText(*pPath, parts.path);
  if (pName != nullptr) ZTKPutText(*pName, parts.name);
  if (pExt != nullptr) ZTKPutText(*pExt, parts.ext);
}

void ZTKFileName::SplitPath(const ZTKString& fullPath, ZTKString* pPath, ZTKString* pName,
                            ZTKString* pExt, ZTKPathFormat format) {
  if (pPath == nullptr) {
    SplitPath(fullPath, nullptr, nullptr, pName, pExt, format);
    return;
  }
  ZTKString volume;
  ZTKString path;
  SplitPath(fullPath, &volume, &path, pName, pExt, format);
  *pPath = ZTKGetVolumeString(volume, format);
  pPath->append(path);
}

void ZTKFileName::XPSetPath(const ZTKString& path, ZTKPathFormat format) {
  const ZTKTextCopy text(path);  // The path may be one of our own components.
  SetDirs(text.View(), XPGetFormat(format));
}

void ZTKFileName::SetDirs(std::string_view path, ZTKPathFormat format) {
  if (path.empty()) {
    m_bRelative = true;
    CutDirs(0);
    return;
  }
  ZTKString scratch;
  SetDirs(ZTKPathParts::CutVolume(path, format, scratch), format);
}

// The path has been cut from its volume.
void ZTKFileName::SetDirs(const ZTKPathParts& parts, ZTKPathFormat format) {
  unsigned long nUsed = 0;
  // Of a share there is no current folder, which its path could be relative to.
  const bool isShare = parts.hasNoVolumeInPath && parts.volume.size() > 1;
  if (!parts.volume.empty()) {
    ZTKPutText(m_volume, parts.volume);
    m_bRelative = false;
  }

  const ZTKPathSyntax& syntax = ZTKPathSyntax::Of(format);
  std::string_view rest = parts.path;
  if (!rest.empty()) {
    const char first = rest.front();
    if (format == ZTKPathVms) {
      m_bRelative = false;
    } else if (format == ZTKPathDos) {
      m_bRelative = !isShare && !syntax.IsSeparator(first);
    } else if (format == ZTKPathMac) {
      m_bRelative = first == ':';
      if (m_bRelative) rest.remove_prefix(1);
    } else {
      m_bRelative = first != '/' && first != '~';
    }
  }

  while (!rest.empty()) {
    size_t end = 0;
    while (end < rest.size() && !syntax.IsSeparator(rest[end])) ++end;
    if (end != 0 && !PutDir(nUsed, rest.substr(0, end))) break;
    if (end == rest.size()) break;
    rest.remove_prefix(end + 1);
  }
  CutDirs(nUsed);
}

bool ZTKFileName::PutDir(unsigned long& nUsed, std::string_view dir) {
  if (nUsed < m_dirs.GetCount()) {
    ZTKPutText(m_dirs.Item(nUsed), dir);
  } else if (!m_dirs.AppendText(dir.data(), static_cast<unsigned long>(dir.size()))) {
    return false;
  }
  ++nUsed;
  return true;
}

void ZTKFileName::CutDirs(unsigned long nUsed) {
  m_dirs.RemoveAt(nUsed, m_dirs.GetCount() - nUsed);
}
