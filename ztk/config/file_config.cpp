#include "ztk/config/file_config.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "ztk/config/internal/config_opt_ins.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/foundation/internal/memory_watch.h"
#include "ztk/text/text_file.h"

// The order and the sizes of the fields are part of the interface.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // Supported by both compilers.
struct ZTKConfigLayout {
  static constexpr size_t kWord = sizeof(void*);
  static constexpr size_t kString = sizeof(ZTKString);
  static constexpr size_t kBase = kWord + 2 * kString;
  static_assert(offsetof(ZTKConfigBase, m_rootPath) == kWord);
  static_assert(offsetof(ZTKConfigBase, m_currentPath) == kWord + kString);
  static_assert(sizeof(ZTKConfigBase) == kBase);

  static_assert(offsetof(ZTKFileConfig, m_pRoot) == kBase);
  static_assert(offsetof(ZTKFileConfig, m_pCurrent) == kBase + kWord);
  static_assert(offsetof(ZTKFileConfig, m_bDirty) == kBase + 2 * kWord);
  static_assert(offsetof(ZTKFileConfig, m_filePath) == kBase + 3 * kWord);
  static_assert(sizeof(ZTKFileConfig) == kBase + 3 * kWord + kString);

  static_assert(offsetof(ZTKFileConfigGroup, m_name) == 0);
  static_assert(offsetof(ZTKFileConfigGroup, m_entries) == kString);
  static_assert(offsetof(ZTKFileConfigGroup, m_groups) == kString + sizeof(ZTKPtrArr));
  static_assert(sizeof(ZTKFileConfigGroup) == kString + 2 * sizeof(ZTKPtrArr));

  static_assert(offsetof(ZTKFileConfigEntry, m_value) == kString);
  static_assert(sizeof(ZTKFileConfigEntry) == 2 * kString);
};
#pragma GCC diagnostic pop

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

}  // namespace

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
