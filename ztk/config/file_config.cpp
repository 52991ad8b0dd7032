#include "ztk/config/file_config.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "ztk/config/internal/config_opt_ins.h"
#include "ztk/config/internal/config_path.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/foundation/internal/memory_watch.h"
#include "ztk/foundation/internal/string_block.h"
#include "ztk/text/text_file.h"

namespace {

ZTKString ConfFilePath(const ZTKString& name) {
  ZTKString path = ZTKFileName::XPGetUserHomeDir();
  if (path.view().empty()) {
    // Without a preferences folder the file lies in the working directory, not in the root.
    path = ZTKFileName().GetPath(0, ZTKPathNative);
  } else if (path.view() != "/") {  // The root ends in its separator.
    path.append(XPGetNativeSeparator(), 1);
  }
  path.append(name);
  path.append(".conf");
  return path;
}

// The path of the group above; "" above a path with a single component.
std::string_view ParentOf(std::string_view path) {
  if (!path.empty() && path.back() == '/') path.remove_suffix(1);
  const size_t slash = path.rfind('/');
  return path.substr(0, slash == std::string_view::npos ? 0 : slash);
}

}  // namespace

ZTKConfigBase::ZTKConfigBase(const ZTKString& /*root*/, const ZTKString& /*name*/) {}

ZTKConfigBase::~ZTKConfigBase() = default;

bool ZTKConfigBase::Flush() { return true; }

ZTKFileConfig::ZTKFileConfig(const ZTKString& root, const ZTKString& name)
    : ZTKConfigBase(root, name) {
  SetNames(root, name);
  Init();
}

ZTKFileConfig::ZTKFileConfig(const ZTKString& root, const ZTKString& name, unsigned int nOptions)
    : ZTKConfigBase(root, name) {
  SetNames(root, name);
  std::unique_ptr<ZTKConfigTree> tree(new (std::nothrow) ZTKConfigTree);
  if (tree != nullptr && nOptions != 0) {
    tree->m_pOptIns.reset(new (std::nothrow) ZTKConfigOptIns);
    // Without its options it must save nothing: without a tree it does not.
    if (tree->m_pOptIns == nullptr) return;
    tree->m_pOptIns->nOptions = nOptions;
  }
  m_pRoot = tree.release();
  if (m_pRoot != nullptr) Init();
}

void ZTKFileConfig::SetNames(const ZTKString& root, const ZTKString& name) {
  if (!root.view().empty()) {
    m_rootPath = "/";
    m_rootPath.append(root);
  }
  m_currentPath = m_rootPath;
  m_filePath = ZTKWholePath([&] { return ConfFilePath(name); });
}

ZTKFileConfig::~ZTKFileConfig() {
  ZTKFileConfig::Flush();
  delete m_pRoot;
}

void ZTKFileConfig::Init() {
  m_bDirty = 0;
  std::unique_ptr<ZTKConfigOptIns> optIns;
  const unsigned long nMaxSize = GetMaxSize();
  if (m_pRoot != nullptr) optIns = std::move(m_pRoot->m_pOptIns);
  delete m_pRoot;
  m_pRoot = new (std::nothrow) ZTKConfigTree;
  m_pCurrent = m_pRoot;
  if (m_pRoot != nullptr) {
    m_pRoot->m_pOptIns = std::move(optIns);
    m_pRoot->m_nMaxSize = nMaxSize;
  }
  if (GetOptions() != 0) {
    InitWithOptions();
    return;
  }
  ZTKTextFile file(m_filePath);
  if (OpenConfFile(file)) Parse(file);
}

bool ZTKFileConfig::OpenConfFile(ZTKTextFile& file) {
  const XPFileKind kind = ZTKConfigOptIns::KindOf(m_filePath);
  // Opening a pipe waits for its other end, and a device may never come to an end.
  if (kind == XPFileKind::kFolder || kind == XPFileKind::kOther) return false;
  const ZTKMemoryWatch memory;
  if (ZTKFile::Exists(m_filePath.c_str())) return file.Open(m_filePath);
  // Creating empties what there is.
  if (memory.RanOut() || (ZTKFile::ms_strict && kind != XPFileKind::kNothing)) return false;
  XPMakePreferencesFolder(m_filePath);
  return file.Create(m_filePath);
}

void ZTKFileConfig::SetMaxSize(unsigned long nBytes) noexcept {
  if (m_pRoot != nullptr) m_pRoot->m_nMaxSize = std::min(nBytes, kMaxSize);
}

unsigned long ZTKFileConfig::GetMaxSize() const noexcept {
  return m_pRoot != nullptr ? m_pRoot->m_nMaxSize : kMaxSize;
}

// Paths -------------------------------------------------------------------------------------------

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

// Reading -----------------------------------------------------------------------------------------

bool ZTKFileConfig::GetGroup(ZTKString& name, unsigned long nIndex) {
  const ZTKFileConfigGroup* pGroup = m_pCurrent != nullptr ? m_pCurrent->GetGroup(nIndex) : nullptr;
  return pGroup != nullptr && ZTKAssignWhole(name, ZTKConfigName(*pGroup));
}

bool ZTKFileConfig::GetEntry(ZTKString& name, unsigned long nIndex) {
  const ZTKFileConfigEntry* pEntry = m_pCurrent != nullptr ? m_pCurrent->GetEntry(nIndex) : nullptr;
  return pEntry != nullptr && ZTKAssignWhole(name, ZTKConfigName(*pEntry));
}

bool ZTKFileConfig::Read(const ZTKString& key, ZTKString& value) {
  const ZTKFileConfigEntry* pEntry =
      m_pCurrent != nullptr ? m_pRoot->Find(*m_pCurrent, key.view()) : nullptr;
  if (pEntry == nullptr) return false;
  return ZTKAssignWhole(value, ZTKConfigValue(*pEntry));
}

bool ZTKFileConfig::Read(const ZTKString& key, unsigned long& nValue) {
  ZTKString text;
  if (!Read(key, text)) return false;
  nValue = std::strtoul(text.c_str(), nullptr, 10);
  return true;
}

unsigned int ZTKFileConfig::GetEntryType(const ZTKString& key) {
  return m_pCurrent != nullptr && m_pRoot->Find(*m_pCurrent, key.view()) != nullptr ? 1 : 0;
}

// Changing ----------------------------------------------------------------------------------------

// Where changes are to be remembered; null where nobody asks for them.
ZTKConfigOptIns* ZTKFileConfig::Merging() const noexcept {
  ZTKConfigOptIns* const pOptIns = OptIns();
  return pOptIns != nullptr && pOptIns->Has(CONF_MERGE) ? pOptIns : nullptr;
}

bool ZTKFileConfig::Write(const ZTKString& key, const ZTKString& value) {
  m_bDirty = 1;
  if (ZTKConfigOptIns* p = Merging()) {
    if (!p->changes.Put(p->currentGroup.view(), key.view(), value.view())) return false;
  }
  return m_pCurrent != nullptr && m_pRoot->Put(*m_pCurrent, key.view(), value.view());
}

bool ZTKFileConfig::Write(const ZTKString& key, unsigned long nValue) {
  ZTKString text;
  text << nValue;
  return Write(key, text);
}

bool ZTKFileConfig::DeleteEntry(const ZTKString& key) {
  m_bDirty = 1;
  if (ZTKConfigOptIns* p = Merging()) {
    if (!p->changes.Delete(p->currentGroup.view(), key.view())) return false;
  }
  return m_pCurrent != nullptr && m_pRoot->Delete(*m_pCurrent, key.view());
}

bool ZTKFileConfig::DeleteGroup(const ZTKString& name) {
  m_bDirty = 1;
  if (ZTKConfigOptIns* p = Merging()) {
    if (!p->changes.DeleteGroup(p->currentGroup.view(), name.view())) return false;
  }
  return m_pCurrent != nullptr && m_pRoot->DeleteChild(*m_pCurrent, name.view());
}
