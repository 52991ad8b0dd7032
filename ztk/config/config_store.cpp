#include "ztk/config/internal/config_store.h"

#include <algorithm>
#include <new>

#include "ztk/config/internal/config_parse.h"
#include "ztk/config/internal/config_path.h"
#include "ztk/config/internal/config_write.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_xp.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/file/temp_file.h"
#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/log/log.h"
#include "ztk/text/text_file.h"

// The tree and the current group ------------------------------------------------------------------

void ZTKFileConfig::Store::GoTo(std::string_view path) noexcept {
  ZTKFileConfigGroup* pGroup = m_tree.FindPath(&m_tree, path);
  ZTKStringArray resolved;
  if (pGroup == nullptr) {
    const ZTKAllocationWatch memory;
    if (ZTKHasDotComponent(path)) path = ZTKResolveGroup(path, resolved, true);
    if (!memory.RanOut()) pGroup = m_tree.PutPath(path);
  }
  if (pGroup != nullptr) {
    SetCurrent(*pGroup, path);
  } else {
    GoToTop();
  }
}

void ZTKFileConfig::Store::GoToTop() noexcept {
  m_config.m_pCurrent = &m_tree;
  m_currentPath.Empty();
}

// From now on keeps the path of the current group, and what is known of the file.
bool ZTKFileConfig::Store::Track() noexcept {
  if (m_tracks) return true;
  const ZTKAllocationWatch memory;
  ZTKStringArray resolved;
  std::string_view path;
  if (m_config.m_pCurrent != &m_tree) path = m_config.m_currentPath.view();
  if (ZTKHasDotComponent(path)) path = ZTKResolveGroup(path, resolved, false);
  if (memory.RanOut() || !ZTKAssignWhole(m_currentPath, path)) return false;
  m_seen.known = FileState();
  m_tracks = true;
  return true;
}

bool ZTKFileConfig::Store::Put(std::string_view key, std::string_view value) noexcept {
  if (Has(CONF_MERGE) && !m_changes.Put(m_currentPath.view(), key, value)) return false;
  return m_tree.Put(*m_config.m_pCurrent, key, value);
}

bool ZTKFileConfig::Store::Delete(std::string_view key) noexcept {
  if (Has(CONF_MERGE) && !m_changes.Delete(m_currentPath.view(), key)) return false;
  return m_tree.Delete(*m_config.m_pCurrent, key);
}

bool ZTKFileConfig::Store::DeleteGroup(std::string_view name) noexcept {
  if (Has(CONF_MERGE) && !m_changes.DeleteGroup(m_currentPath.view(), name)) return false;
  return m_tree.DeleteChild(*m_config.m_pCurrent, name);
}

void ZTKFileConfig::Store::Clear() noexcept {
  m_tree.Clear();
  m_changes.Clear();
  GoToTop();
}

// Creates the current group in a tree that is to replace the one there is.
bool ZTKFileConfig::Store::PutCurrentIn(ZTKConfigTree& tree) const noexcept {
  return tree.PutPath(m_currentPath.view()) != nullptr;
}

// The current group is in `tree`.
void ZTKFileConfig::Store::Replace(ZTKConfigTree& tree) noexcept {
  m_tree.Swap(tree);
  m_config.m_pCurrent = m_tree.FindPlainPath(m_currentPath.view());
}

void ZTKFileConfig::Store::SetMaxSize(unsigned long nBytes) noexcept {
  m_nMaxSize = std::min(nBytes, kMaxSize);
}

// Reading -----------------------------------------------------------------------------------------

unsigned int ZTKFileConfig::Store::TextOptions() const noexcept {
  if (m_nOptions == 0) return 0;
  unsigned int options = TEXT_SWAP_UTF16;
  if (Has(CONF_KEEP_TEXT)) options |= TEXT_KEEP_ENCODING;
  if (Has(CONF_ONE_STEP)) options |= TEXT_ONE_STEP;
  if (Has(CONF_FOLLOW_LINKS)) options |= TEXT_FOLLOW_LINKS;
  return options;
}

XPFileKind ZTKFileConfig::Store::FileKind() const noexcept {
  const ZTKString path = XPMacPathToCompName(m_config.m_filePath.c_str());
  return path.view().empty() ? XPFileKind::kUnknown : XPGetFileKind(path.c_str());
}

ZTKFileConfig::Store::Content ZTKFileConfig::Store::Read(ZTKTextFile& file, bool& isWhole) const {
  isWhole = true;
  const XPFileKind kind = FileKind();
  if (kind == XPFileKind::kNothing) return kNothing;
  isWhole = false;
  // Opening a pipe waits for its other end. What nobody can tell is not missing.
  if (kind != XPFileKind::kRegular) return kUnreadable;
  const ZTKAllocationWatch memory;
  ZTKTextReport report;
  if (!file.Open(report) || memory.RanOut()) return kUnreadable;
  const bool isWide = report.nEncoding == ENC_UTF16LE || report.nEncoding == ENC_UTF16BE;
  isWhole = report.nNuls == 0 && !report.bOddByte && !(isWide && report.nFirstIllFormed >= 0);
  return report.nBytes == 0 ? kNothing : kText;
}

void ZTKFileConfig::Store::MakePreferencesFolder() const noexcept {
  const ZTKString folder = ZTKFileName::XPGetUserHomeDir();
  const std::string_view prefix = folder.view();
  const std::string_view path = m_config.m_filePath.view();
  if (prefix.empty() || path.size() <= prefix.size()) return;
  if (path.substr(0, prefix.size()) == prefix && path[prefix.size()] == XPGetNativeSeparator()) {
    XPMakePreferencesFolder(folder);
  }
}

void ZTKFileConfig::Store::Load() {
  const ZTKString& path = m_config.m_filePath;
  AcceptFile();
  ZTKTextFile file(path, TextOptions());
  Content content = Read(file, m_isReadWhole);
  if (content == kNothing && !m_seen.known.isThere) {
    MakePreferencesFolder();
    const bool isCreated = ZTKFile().XPCreate(path.c_str(), false, 0666);
    AcceptFile();
    // Somebody else has just made it.
    if (!isCreated && m_seen.known.isThere) content = Read(file, m_isReadWhole);
  }
  m_isRead = content != kUnreadable;
  if (!m_isRead) return;
  m_hasText = content == kText;
  if (!ZTKParseConfig(file, m_tree, true)) m_isRead = m_isReadWhole = false;
}

bool ZTKFileConfig::Store::Reload() {
  const bool merges = Has(CONF_MERGE);
  const XPFileState state = FileState();  // What changes while it is read is told again.
  ZTKTextFile file(m_config.m_filePath, TextOptions());
  bool isWhole = true;
  if (Read(file, isWhole) != kText || (!isWhole && Has(CONF_REFUSE_UNREAD))) return false;
  ZTKConfigTree tree;
  if (!Track() || !ZTKParseConfig(file, tree, true)) return false;
  if (merges && !m_changes.ApplyTo(tree)) return false;
  if (!PutCurrentIn(tree)) return false;

  if (!merges) {
    m_config.m_bDirty = 0;
    m_changes.Clear();
  }
  m_hasText = m_isRead = true;
  m_isReadWhole = isWhole;
  m_seen.Accept(state);
  Replace(tree);
  return true;
}

// Saving ------------------------------------------------------------------------------------------

bool ZTKFileConfig::Store::Refuse(const char* pszReason) const {
  ZTKLogError("'%s' is not saved: %s.", m_config.m_filePath.c_str(), pszReason);
  return false;
}

bool ZTKFileConfig::Store::Lock(std::optional<ZTKFileLock>& lock) const {
  const ZTKString path = ZTKWholePath([&] {
    ZTKString lockPath = m_config.m_filePath;
    lockPath.append(".lock");
    return XPMacPathToCompName(lockPath.c_str());
  });
  const ZTKString model = XPMacPathToCompName(m_config.m_filePath.c_str());
  lock.emplace(path.c_str(), model.c_str(), kLockTimeoutMs);
  if (lock->GetState() == ZTKFileLock::kBusy) return Refuse("another program holds its lock");
  if (lock->GetState() == ZTKFileLock::kFailed) return Refuse("its lock file cannot be locked");
  return true;
}

// Whether nothing is lost when the file that was read just now is replaced.
bool ZTKFileConfig::Store::MayReplace(Content content, bool isWhole) const {
  if (content == kUnreadable) return Refuse("the file there cannot be read");
  const bool merges = Has(CONF_MERGE);  // What was read just now.
  if (content == kText && !merges && !m_isRead) {
    return Refuse("the file there could not be read before, and holds what is not known");
  }
  if (content == kText && Has(CONF_REFUSE_UNREAD)) {
    if (!isWhole || !(m_isReadWhole || merges)) return Refuse("the file there is damaged");
  }
  return true;
}

bool ZTKFileConfig::Store::MakeLines(ZTKTextBuffer& text, ZTKConfigTree& tree) const {
  uint64_t nSize = 0;
  if ((Has(CONF_KEEP_TEXT) ? ZTKRewriteConfig : ZTKWriteConfig)(tree, text, m_nMaxSize, nSize)) {
    return true;
  }
  if (nSize > m_nMaxSize) {
    ZTKLogError("'%s' is not saved: it would have %llu bytes, and %lu are allowed.",
                m_config.m_filePath.c_str(), static_cast<unsigned long long>(nSize), m_nMaxSize);
  }
  return false;
}

bool ZTKFileConfig::Store::Save() {
  MakePreferencesFolder();
  std::optional<ZTKFileLock> lock;
  if (Has(CONF_MERGE) && !Lock(lock)) return false;
  ZTKTextFile file(m_config.m_filePath, TextOptions());
  bool isWhole = true;
  const Content content = Read(file, isWhole);
  if (!MayReplace(content, isWhole)) return false;

  // Nothing on the disk is no reason to forget what was there before.
  const bool merges = Has(CONF_MERGE) && (content == kText || !m_hasText);
  ZTKConfigTree merged;
  if (merges && (!ZTKParseConfig(file, merged, false) || !m_changes.ApplyTo(merged))) return false;
  if (!MakeLines(file, merges ? merged : m_tree)) return false;
  // Not before the lines were made: a group that was only visited is not written.
  if (merges && !PutCurrentIn(merged)) return false;
  const Saved saved = Commit(file);
  if (saved == kNotSaved) return false;

  m_hasText = m_isRead = m_isReadWhole = true;
  if (saved == kSaved) m_changes.Clear();
  if (merges) Replace(merged);
  return saved == kSaved;
}

// Writes the lines and remembers the file that they make.
ZTKFileConfig::Store::Saved ZTKFileConfig::Store::Commit(ZTKTextFile& file) {
  const bool isExact = Has(CONF_EXACT_PATH);
  const ZTKString path =
      ZTKWholePath([&] { return isExact ? m_config.m_filePath : file.TargetPath(); });
  if (path.view().empty()) return kNotSaved;
  unsigned int options = isExact ? TEMP_EXACT_PATH + 0u : 0u;
  // What others have written, and the text around the settings, is in the file and nowhere else:
  // that must not go before the new file is in its place.
  if (Has(CONF_ONE_STEP | CONF_MERGE | CONF_KEEP_TEXT)) options |= TEMP_ONE_STEP;
  if (Has(CONF_FOLLOW_LINKS)) options |= TEMP_FOLLOW_LINKS;
  if (ZTKFile::ms_strict || (options & TEMP_ONE_STEP) != 0) options |= TEMP_UNNAMED;
  ZTKTempFile target(path, options);
  if (!target.GetFile().IsOpen()) return kNotSaved;
  const ZTKAllocationWatch memory;
  if (!file.WriteTo(target, EOL_NONE)) {
    // A character that the encoding lacks; UTF-8 has them all.
    if (memory.RanOut() || (file.GetOptions() & TEXT_KEEP_ENCODING) == 0) return kNotSaved;
    file.SetOptions(file.GetOptions() & ~static_cast<unsigned int>(TEXT_KEEP_ENCODING));
    if (!target.Open(path) || !file.WriteTo(target, EOL_NONE)) return kNotSaved;
  }
  ZTKFile& written = target.GetFile();
  if (!written.Flush() || written.HasLostData() || written.HasError()) return kNotSaved;

  // Of the open file: its name may already be somebody else's when it has it.
  XPFileState state;
  XPGetStreamState(XPStreamOf(written.GetHandle()), state);
  const bool isCommitted = target.Commit();
  if (isCommitted || target.GetOutcome() == COMMIT_NOT_DURABLE) {
    m_seen.Accept(state);
    if (isCommitted || !Has(CONF_ONE_STEP)) return kSaved;  // Nobody asked for more.
    Refuse("the new file is in place, but a power cut may undo that");
    return kNotSynced;
  }
  // Not when the target has gone: then the temporary file is all there is.
  if (target.GetOutcome() == COMMIT_FAILED) target.Discard();
  return kNotSaved;
}

// Watching ----------------------------------------------------------------------------------------

void ZTKLastSeenFile::Accept(const XPFileState& state) noexcept {
  known = state;
  if (pWatch != nullptr) pWatch->Accept(state);
}

XPFileState ZTKFileConfig::Store::FileState() const noexcept {
  XPFileState state;
  XPGetFileState(XPMacPathToCompName(m_config.m_filePath.c_str()).c_str(), state);
  return state;
}

void ZTKFileConfig::Store::AcceptFile() noexcept {
  if (m_tracks) m_seen.Accept(FileState());
}

const ZTKFileWatch* ZTKFileConfig::Store::Watch() {
  if (!Track()) return nullptr;
  if (m_seen.pWatch == nullptr) {
    m_seen.pWatch.reset(new (std::nothrow) ZTKFileWatch(m_config.m_filePath));
    if (m_seen.pWatch == nullptr) return nullptr;
    m_seen.Accept(m_seen.known);
  }
  return m_seen.pWatch.get();
}
