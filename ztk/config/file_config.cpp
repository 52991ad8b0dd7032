#include "ztk/config/file_config.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "ztk/config/internal/config_parse.h"
#include "ztk/config/internal/config_path.h"
#include "ztk/config/internal/config_store.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/foundation/internal/allocation_watch.h"
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

// Whether the file can be read to its end, as it must be before it is replaced. Nobody would see
// the lines that reading it in full makes.
bool IsReadable(const ZTKString& path) {
  ZTKFile file(path.c_str(), ZTKFile::read);
  if (!file.IsOpen()) return false;
  constexpr size_t kChunk = size_t{64} * 1024;
  const std::unique_ptr<char[]> chunk(new (std::nothrow) char[kChunk]);
  if (chunk == nullptr) return false;
  while (file.Read(chunk.get(), kChunk) == kChunk) {
  }
  return !file.HasReadError();
}

}  // namespace

ZTKConfigBase::ZTKConfigBase(const ZTKString& /*root*/, const ZTKString& /*name*/) {}

ZTKConfigBase::~ZTKConfigBase() = default;

bool ZTKConfigBase::Flush() { return true; }

ZTKFileConfig::ZTKFileConfig(const ZTKString& root, const ZTKString& name)
    : ZTKFileConfig(root, name, 0) {}

ZTKFileConfig::ZTKFileConfig(const ZTKString& root, const ZTKString& name, unsigned int nOptions)
    : ZTKConfigBase(root, name) {
  if (!root.view().empty()) {
    m_rootPath = "/";
    m_rootPath.append(root);
  }
  m_currentPath = m_rootPath;
  const bool isPath = (nOptions & CONF_EXACT_PATH) != 0;
  m_filePath = ZTKWholePath([&] { return isPath ? name : ConfFilePath(name); });
  // Without a store, nothing is ever saved: not without the options that were asked for, either.
  m_pStore = new (std::nothrow) Store(*this, nOptions);
  if (m_pStore != nullptr) Init();
}

ZTKFileConfig::~ZTKFileConfig() {
  ZTKFileConfig::Flush();
  delete m_pStore;
}

void ZTKFileConfig::Init() {
  m_bDirty = 0;
  if (m_pStore == nullptr) return;
  m_pStore->Clear();
  if (m_pStore->Options() != 0) {
    m_pStore->Load();
    return;
  }
  ZTKTextFile file(m_filePath);
  if (OpenConfFile(file)) Parse(file);
}

bool ZTKFileConfig::OpenConfFile(ZTKTextFile& file) {
  if (m_pStore == nullptr) return false;
  const XPFileKind kind = m_pStore->FileKind();
  // Opening a pipe waits for its other end, and a device may never come to an end.
  if (kind == XPFileKind::kFolder || kind == XPFileKind::kOther) return false;
  const ZTKAllocationWatch memory;
  if (ZTKFile::Exists(m_filePath.c_str())) return file.Open(m_filePath);
  // Creating empties what there is.
  if (memory.RanOut() || (ZTKFile::ms_strict && kind != XPFileKind::kNothing)) return false;
  m_pStore->MakePreferencesFolder();
  return file.Create(m_filePath);
}

void ZTKFileConfig::Parse(ZTKTextBuffer& text) {
  if (m_pStore == nullptr) return;
  ZTKParseConfig(text, m_pStore->Tree(), true);
  m_pStore->GoToTop();
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
  if (m_pStore == nullptr) return true;
  ZTKFileConfigGroup* pGroup = nullptr;
  if (isAbsolute && !newPath.empty()) {
    ZTKConfigTree& tree = m_pStore->Tree();
    pGroup = tree.FindPath(tree.FindCached(start), rest);
  }
  if (pGroup != nullptr) {
    m_pStore->SetCurrent(*pGroup, newPath);
  } else {
    m_pStore->GoTo(newPath);
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

void ZTKFileConfig::AddGroup(const ZTKString& path) {
  if (m_pStore != nullptr) m_pStore->GoTo(path.view());
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
      m_pStore != nullptr ? m_pStore->Tree().Find(*m_pCurrent, key.view()) : nullptr;
  return pEntry != nullptr && ZTKAssignWhole(value, ZTKConfigValue(*pEntry));
}

bool ZTKFileConfig::Read(const ZTKString& key, unsigned long& nValue) {
  ZTKString text;
  if (!Read(key, text)) return false;
  nValue = std::strtoul(text.c_str(), nullptr, 10);
  return true;
}

unsigned int ZTKFileConfig::GetEntryType(const ZTKString& key) {
  return m_pStore != nullptr && m_pStore->Tree().Find(*m_pCurrent, key.view()) != nullptr ? 1 : 0;
}

// Changing ----------------------------------------------------------------------------------------

bool ZTKFileConfig::Write(const ZTKString& key, const ZTKString& value) {
  m_bDirty = 1;
  return m_pStore != nullptr && m_pStore->Put(key.view(), value.view());
}

bool ZTKFileConfig::Write(const ZTKString& key, unsigned long nValue) {
  ZTKString text;
  text << nValue;
  return Write(key, text);
}

bool ZTKFileConfig::DeleteEntry(const ZTKString& key) {
  m_bDirty = 1;
  return m_pStore != nullptr && m_pStore->Delete(key.view());
}

bool ZTKFileConfig::DeleteGroup(const ZTKString& name) {
  m_bDirty = 1;
  return m_pStore != nullptr && m_pStore->DeleteGroup(name.view());
}

// Saving ------------------------------------------------------------------------------------------

bool ZTKFileConfig::Flush() {
  if (m_bDirty == 0) return true;
  if (m_pStore == nullptr) return false;  // Nothing is known that could be saved.
  if (m_pStore->Options() == 0) return FlushByDefault();
  const bool isSaved = m_pStore->Save();
  if (isSaved) m_bDirty = 0;
  return isSaved;
}

bool ZTKFileConfig::FlushByDefault() {
  ZTKTextFile file(m_filePath);
  const XPFileKind kind = m_pStore->FileKind();
  if (kind == XPFileKind::kFolder || kind == XPFileKind::kOther) return false;
  const bool isThere = ZTKFile::Exists(m_filePath.c_str());
  if (isThere ? !IsReadable(m_filePath) : !OpenConfFile(file)) return false;
  if (!m_pStore->MakeLines(file, m_pStore->Tree())) return false;

  m_bDirty = 0;  // Before writing: a failed writing is not tried again.
  const bool isWritten = file.Write(EOL_NONE);
  m_pStore->AcceptFile();  // Its own write is not reported as a change.
  return isWritten;
}

bool ZTKFileConfig::Reload() { return m_pStore != nullptr && m_pStore->Reload(); }

void ZTKFileConfig::SetMaxSize(unsigned long nBytes) noexcept {
  if (m_pStore != nullptr) m_pStore->SetMaxSize(nBytes);
}

unsigned long ZTKFileConfig::GetMaxSize() const noexcept {
  return m_pStore != nullptr ? m_pStore->MaxSize() : kMaxSize;
}

unsigned int ZTKFileConfig::GetOptions() const noexcept {
  return m_pStore != nullptr ? m_pStore->Options() : 0;
}

bool ZTKFileConfig::IsReadWhole() const noexcept {
  return m_pStore != nullptr && (m_pStore->Options() == 0 || m_pStore->IsReadWhole());
}

int ZTKFileConfig::GetFd() {
  const ZTKFileWatch* const pWatch = m_pStore != nullptr ? m_pStore->Watch() : nullptr;
  return pWatch != nullptr ? pWatch->GetFd() : -1;
}

std::intptr_t ZTKFileConfig::GetWaitHandle() {
  const ZTKFileWatch* const pWatch = m_pStore != nullptr ? m_pStore->Watch() : nullptr;
  return pWatch != nullptr ? pWatch->GetWaitHandle() : -1;
}

bool ZTKFileConfig::Dispatch() { return m_pStore != nullptr && m_pStore->Dispatch(); }
