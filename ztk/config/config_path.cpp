// Paths of groups: from what an application writes to a node of the tree.
#include "ztk/config/internal/config_path.h"

#include <cstring>

#include "ztk/config/internal/config_opt_ins.h"
#include "ztk/foundation/internal/memory_watch.h"
#include "ztk/foundation/internal/string_block.h"

namespace {

constexpr size_t kNone = std::string_view::npos;

// The path of the group above; "" above a path with a single component.
std::string_view ParentOf(std::string_view path) {
  if (!path.empty() && path.back() == '/') path.remove_suffix(1);
  const size_t slash = path.rfind('/');
  return path.substr(0, slash == kNone ? 0 : slash);
}

}  // namespace

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
  const std::string_view newPath = PutCurrentPath(isAbsolute ? 0 : start.size(), start, rest);
  ZTKFileConfigGroup* pGroup = nullptr;
  if (isAbsolute && !newPath.empty() && m_pRoot != nullptr) {
    pGroup = m_pRoot->FindPath(m_pRoot->FindHome(start), rest);
  }
  if (pGroup != nullptr) {
    SetCurrent(pGroup, newPath);
  } else {
    GoTo(newPath);
  }
  return true;
}

// Makes the current path `start`, whose first `nKept` characters are there already, and `rest`,
// each with a "/" at its end. Gives the new path; "" when memory runs out.
std::string_view ZTKFileConfig::PutCurrentPath(size_t nKept, std::string_view start,
                                               std::string_view rest) {
  const size_t nLength = start.size() + rest.size() + 2;
  if (nLength > ZTKString::kMaxLength) return {};
  if (!m_currentPath.Alloc(static_cast<unsigned long>(nLength))) return {};

  char* const pPath = ZTKStringBlocks::Data(m_currentPath);
  char* pEnd = pPath + nKept;
  const auto add = [&](std::string_view text) {
    if (!text.empty()) std::memcpy(pEnd, text.data(), text.size());
    pEnd += text.size();
    if (pEnd == pPath || pEnd[-1] != '/') *pEnd++ = '/';
  };
  add(start.substr(nKept));
  if (!rest.empty()) add(rest);
  const auto nWritten = static_cast<unsigned long>(pEnd - pPath);
  ZTKStringBlocks::Terminate(m_currentPath, nWritten);
  return {pPath, nWritten};
}

void ZTKFileConfig::AddGroup(const ZTKString& path) { GoTo(path.view()); }

void ZTKFileConfig::GoTo(std::string_view path) {
  ZTKFileConfigGroup* pGroup = m_pRoot != nullptr ? m_pRoot->FindPath(m_pRoot, path) : nullptr;
  ZTKStringArray resolved;
  if (pGroup == nullptr && m_pRoot != nullptr) {
    const ZTKMemoryWatch memory;
    if (ZTKHasDotComponent(path)) path = ZTKResolveGroup(path, resolved, true);
    if (!memory.RanOut()) pGroup = m_pRoot->PutPath(path);
  }
  if (pGroup != nullptr) {
    SetCurrent(pGroup, path);
  } else {
    GoToTop();
  }
}

void ZTKFileConfig::GoToTop() {
  m_pCurrent = m_pRoot;
  if (ZTKConfigOptIns* pOptIns = OptIns()) pOptIns->currentGroup.Empty();
}

// `path` is made of plain names.
void ZTKFileConfig::SetCurrent(ZTKFileConfigGroup* pGroup, std::string_view path) {
  m_pCurrent = pGroup;
  ZTKConfigOptIns* const pOptIns = OptIns();
  if (pOptIns == nullptr) return;
  pOptIns->currentGroup = ZTKString(path);
  // A change must not be remembered for another group.
  if (pOptIns->currentGroup.view() != path) GoToTop();
}

void ZTKFileConfig::SplitPath(ZTKStringArray& out, const char* pszPath) {
  ZTKSplitGroupPath(out, pszPath != nullptr ? pszPath : "", true);
}
