// Paths of groups: from what an application writes to a node of the tree.
#include "ztk/text/internal/config_path.h"

#include "ztk/file/internal/path_text.h"
#include "ztk/foundation/internal/string_block.h"
#include "ztk/foundation/log.h"
#include "ztk/text/internal/config_tree.h"

namespace {

constexpr size_t kNone = std::string_view::npos;

// The path of the group above; "" above a path with a single component.
std::string_view ParentOf(std::string_view path) {
  if (!path.empty() && path.back() == '/') path.remove_suffix(1);
  const size_t slash = path.rfind('/');
  return path.substr(0, slash == kNone ? 0 : slash);
}

}  // namespace

std::string_view ZTKTakeComponent(std::string_view& rest) noexcept {
  size_t start = 0;
  while (start < rest.size() && rest[start] == '/') ++start;
  size_t end = start;
  while (end < rest.size() && rest[end] != '/') ++end;
  const std::string_view component = rest.substr(start, end - start);
  rest.remove_prefix(end);
  return component;
}

bool ZTKHasDotComponent(std::string_view path) noexcept {
  for (size_t dot = path.find('.'); dot != kNone; dot = path.find('.', dot)) {
    const size_t start = dot;
    while (dot < path.size() && path[dot] == '.') ++dot;
    const bool isWhole =
        (start == 0 || path[start - 1] == '/') && (dot == path.size() || path[dot] == '/');
    if (isWhole && dot - start <= 2) return true;
  }
  return false;
}

bool ZTKFileConfig::SetPath(const ZTKString& path) {
  if (&path == &m_currentPath) return SetPath(ZTKString(path));
  std::string_view rest = path.view();

  bool isAbsolute = rest.empty();
  unsigned long nUps = 0;
  size_t at = 0;
  while (at < rest.size()) {
    if (rest[at] == '/') {
      if (at == 0) isAbsolute = true;
      ++at;
    } else if (rest[at] != '.') {
      break;
    } else if (at + 1 < rest.size() && rest[at + 1] == '.') {
      ++nUps;
      at += 2;
    } else {
      ++at;  // Also the dot in front of a name: ".x" is "x" here.
    }
  }
  rest.remove_prefix(at);
  if (!rest.empty() && rest.back() == '/') rest.remove_suffix(1);

  // The new path: what is kept of the old one, or the root path, then `rest`, each ending in "/".
  std::string_view start = m_rootPath.view();
  if (!isAbsolute) {
    start = m_currentPath.view();
    for (; nUps != 0 && !start.empty(); --nUps) start = ParentOf(start);
  }
  const size_t nKept = isAbsolute ? 0 : start.size();
  const bool endsWithSlash = !start.empty() && start.back() == '/';
  const std::string_view slash = "/";
  const std::string_view none;
  if (rest.empty()) {
    GoTo(PutCurrentPath(nKept, {start.substr(nKept), endsWithSlash ? none : slash}));
  } else {
    GoTo(PutCurrentPath(nKept, {start.substr(nKept), endsWithSlash ? none : slash, rest,
                                rest.back() == '/' ? none : slash}));
  }
  return true;
}

// Keeps the first `nKept` characters of the current path and adds the texts. Gives the new path; ""
// when memory runs out.
std::string_view ZTKFileConfig::PutCurrentPath(size_t nKept,
                                               std::initializer_list<std::string_view> texts) {
  size_t nLength = nKept;
  for (const std::string_view text : texts) nLength += text.size();
  if (nLength > ZTKString::kMaxLength) return {};
  if (!m_currentPath.Alloc(static_cast<unsigned long>(nLength))) return {};

  // There is room for all of it: none of these fails, and none moves what is there.
  if (nLength == nKept) m_currentPath.Truncate(static_cast<unsigned long>(nKept));
  auto nEnd = static_cast<unsigned long>(nKept);
  for (const std::string_view text : texts) {
    ZTKStringBlocks::Append(m_currentPath, nEnd, text.data(),
                            static_cast<unsigned long>(text.size()));
    nEnd += static_cast<unsigned long>(text.size());
  }
  return {m_currentPath.c_str(), nLength};
}

void ZTKFileConfig::AddGroup(const ZTKString& path) { GoTo(path.view()); }

void ZTKFileConfig::GoTo(std::string_view path) {
  ZTKFileConfigGroup* pGroup = FindExisting(path);
  if (pGroup == nullptr) pGroup = CreateGroups(path);
  m_pCurrent = pGroup != nullptr ? pGroup : m_pRoot;
}

// The group at a path that consists of plain names and exists, which is what most are; else null.
ZTKFileConfigGroup* ZTKFileConfig::FindExisting(std::string_view path) {
  ZTKFileConfigGroup* pGroup = m_pRoot;
  while (pGroup != nullptr) {
    const std::string_view component = ZTKTakeComponent(path);
    if (component.empty()) break;
    if (component.front() == '.') return nullptr;
    pGroup = m_pRoot->FindChild(*pGroup, component);
  }
  return pGroup;
}

ZTKFileConfigGroup* ZTKFileConfig::CreateGroups(std::string_view path) {
  ZTKFileConfigGroup* pGroup = m_pRoot;
  if (ZTKHasDotComponent(path)) {
    ZTKStringArray parts;
    SplitPath(parts, ZTKString(path).c_str());
    for (const ZTKString& part : parts) {
      if (pGroup != nullptr) pGroup = m_pRoot->PutChild(*pGroup, part.view());
    }
    return pGroup;
  }
  while (pGroup != nullptr) {
    const std::string_view component = ZTKTakeComponent(path);
    if (component.empty()) break;
    pGroup = m_pRoot->PutChild(*pGroup, component);
  }
  return pGroup;
}

void ZTKFileConfig::SplitPath(ZTKStringArray& out, const char* pszPath) {
  const ZTKString whole(pszPath);  // The path may be one of the strings of `out`.
  out.RemoveAt(0, out.GetCount());

  std::string_view rest = whole.view();
  bool hasDot = false;  // A single "." waits for the text behind its "/".
  ZTKString token;
  while (true) {
    const size_t slash = rest.find('/');
    ZTKPutText(token, hasDot ? "." : "");
    const std::string_view piece = rest.substr(0, slash);
    token.ConcatSelf(piece.size(), piece.data(), piece.size());
    hasDot = token.view() == ".";
    if (token.view() == "..") {
      const unsigned long nCount = out.GetCount();
      if (nCount == 0) {
        ZTKLogWarning("'%s' has extra '..', ignored.", whole.c_str());
      } else {
        const ZTKString last = out.Item(nCount - 1);
        out.Remove(last);
      }
    } else if (!hasDot && !token.view().empty()) {
      out.Add(token, 1);
    }
    if (slash == kNone) return;
    rest.remove_prefix(slash + 1);
  }
}
