#include "ztk/file/internal/path_text.h"

#include <algorithm>
#include <cstring>

#include "ztk/file/internal/dos_path.h"
#include "ztk/foundation/internal/string_block.h"

const ZTKPathSyntax& ZTKPathSyntax::Of(ZTKPathFormat format) noexcept {
  static constexpr ZTKPathSyntax kUnix = {"/", "/", ""};
  static constexpr ZTKPathSyntax kMac = {":", ":", ""};
  static constexpr ZTKPathSyntax kDos = {"\\/", "\\/", ":"};
  static constexpr ZTKPathSyntax kVms = {".", "]", ":"};
  if (format == ZTKPathMac) return kMac;
  if (format == ZTKPathDos) return kDos;
  if (format == ZTKPathVms) return kVms;
  return kUnix;
}

void ZTKPutText(ZTKString& target, std::string_view text) noexcept {
  ZTKStringBlocks::Assign(target, text.data(), static_cast<unsigned long>(text.size()));
}

std::string_view ZTKFolderIn(const ZTKString& path) noexcept {
  const std::string_view text = path.view();
  if (!ZTKIsDosSystem()) return text.substr(0, text.rfind('/') + 1);
  return text.substr(0, std::max(ZTKDosVolumeLength(text), text.find_last_of("\\/") + 1));
}

bool ZTKIsRooted(const ZTKString& path) noexcept {
  const std::string_view text = path.view();
  if (text.empty()) return false;
  if (!ZTKIsDosSystem()) return text.front() == '/';
  return ZTKDosVolumeLength(text) != 0 || ZTKIsDosSeparator(text.front());
}

ZTKString ZTKAbsolutePath(const ZTKString& path, int nFlags) {
  ZTKFileName name(path, ZTKPathNative);
  if (!name.IsAbsolute(ZTKPathNative)) {
    if (ZTKGetCwd().Len() == 0) return ZTKString();
    name.XPNormalize(nFlags, "", ZTKPathNative);
  }
  return name.GetFullPath(ZTKPathNative);
}

bool ZTKHasStraySlash(const ZTKString& text) noexcept {
  if (ZTKFileName::IsPathSeparator('/', ZTKPathNative)) return false;
  return text.view().find('/') != std::string_view::npos;
}

bool ZTKSlashesMislead(const ZTKString& target) {
  if (!ZTKHasStraySlash(target)) return false;
  const ZTKFileName name(target, ZTKPathNative);
  if (!name.IsAbsolute(ZTKPathNative) || *name.GetName().c_str() == '/') return true;
  return *target.c_str() == '/' && name.GetFullPath(ZTKPathNative).view() != target.view();
}

ZTKTextCopy::ZTKTextCopy(const ZTKString& text) noexcept {
  const std::string_view source = text.view();
  if (source.size() <= sizeof m_short) {
    if (!source.empty()) std::memcpy(m_short, source.data(), source.size());
    m_view = {m_short, source.size()};
    return;
  }
  m_long = text;
  m_view = m_long.view();
}

// A string holds no more than 32 bits count: no text is longer.
void ZTKTextBuilder::AppendToLong(const char* pText, size_t nLength) noexcept {
  const auto length = static_cast<unsigned long>(nLength);
  m_long.ConcatSelf(length, pText, length);
}

void ZTKTextBuilder::AddToLong(std::string_view text) noexcept {
  AppendToLong(m_short, m_nShort);
  m_nShort = 0;
  AppendToLong(text.data(), text.size());
}

ZTKString ZTKTextBuilder::Finish() noexcept {
  if (m_long.AllocatedSize() == 0) return ZTKString(std::string_view(m_short, m_nShort));
  AppendToLong(m_short, m_nShort);
  return m_long;
}
