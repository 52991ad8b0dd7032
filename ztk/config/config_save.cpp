// What a configuration does beyond its defaults: reading again, merging, saving carefully, and
// telling when its file has changed.
#include <cstdint>
#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "ztk/config/internal/config_line.h"
#include "ztk/config/internal/config_opt_ins.h"
#include "ztk/config/internal/config_path.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_lock_xp.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/file/temp_file.h"
#include "ztk/foundation/internal/memory_watch.h"
#include "ztk/text/text_file.h"

namespace {

unsigned int TextOptions(const ZTKConfigOptIns& optIns) {
  if (optIns.nOptions == 0) return 0;
  unsigned int options = TEXT_SWAP_UTF16;
  if (optIns.Has(CONF_KEEP_TEXT)) options |= TEXT_KEEP_ENCODING;
  if (optIns.Has(CONF_ONE_STEP)) options |= TEXT_ONE_STEP;
  if (optIns.Has(CONF_FOLLOW_LINKS)) options |= TEXT_FOLLOW_LINKS;
  return options;
}

}  // namespace

XPFileState ZTKConfigOptIns::StateOf(const ZTKString& path) noexcept {
  XPFileState state;
  XPGetFileState(XPMacPathToCompName(path.c_str()).c_str(), state);
  return state;
}

XPFileKind ZTKConfigOptIns::KindOf(const ZTKString& path) noexcept {
  const ZTKString native = XPMacPathToCompName(path.c_str());
  return native.view().empty() ? XPFileKind::kUnknown : XPGetFileKind(native.c_str());
}

void ZTKConfigOptIns::Know(const XPFileState& state) noexcept {
  known = state;
  if (pWatch != nullptr) pWatch->Accept(state);
}

unsigned int ZTKFileConfig::GetOptions() const noexcept {
  const ZTKConfigOptIns* pOptIns = OptIns();
  return pOptIns != nullptr ? pOptIns->nOptions : 0;
}

bool ZTKFileConfig::IsReadWhole() const noexcept {
  const ZTKConfigOptIns* pOptIns = OptIns();
  return m_pRoot != nullptr && (pOptIns == nullptr || pOptIns->isReadWhole);
}

ZTKConfigOptIns* ZTKFileConfig::OptIns() const noexcept {
  return m_pRoot != nullptr ? m_pRoot->m_pOptIns.get() : nullptr;
}

// Reading -----------------------------------------------------------------------------------------

ZTKFileConfig::Content ZTKFileConfig::ReadFile(ZTKTextFile& file, bool& bWhole) const {
  bWhole = true;
  const XPFileKind kind = ZTKConfigOptIns::KindOf(m_filePath);
  if (kind == XPFileKind::kNothing) return kNothing;
  // Opening a pipe waits for its other end. What nobody can tell is not missing.
  if (kind != XPFileKind::kRegular) {
    bWhole = false;
    return kUnreadable;
  }
  const ZTKMemoryWatch memory;
  ZTKTextReport report;
  if (!file.Open(report) || memory.RanOut()) {
    bWhole = false;
    return kUnreadable;
  }
  const bool isWide = report.nEncoding == ENC_UTF16LE || report.nEncoding == ENC_UTF16BE;
  bWhole = report.nNuls == 0 && !report.bOddByte && !(isWide && report.nFirstIllFormed >= 0);
  return report.nBytes == 0 ? kNothing : kText;
}

// The tree that the lines make; null when memory runs out.
ZTKConfigTree* ZTKFileConfig::ParseTree(ZTKTextBuffer& text, bool bWarns) {
  std::unique_ptr<ZTKConfigTree> tree(new (std::nothrow) ZTKConfigTree);
  if (tree == nullptr) return nullptr;
  ZTKConfigTree* const pOldRoot = std::exchange(m_pRoot, tree.get());
  ZTKFileConfigGroup* const pOldCurrent = m_pCurrent;
  const ZTKMemoryWatch memory;
  ParseLines(text, bWarns);
  m_pRoot = pOldRoot;
  m_pCurrent = pOldCurrent;
  return memory.RanOut() ? nullptr : tree.release();
}

// The group of another tree that is the current one there, created where it is missing; null when
// memory runs out.
ZTKFileConfigGroup* ZTKFileConfig::CurrentIn(ZTKConfigTree& tree) const {
  if (m_pCurrent == m_pRoot) return &tree;
  const ZTKMemoryWatch memory;
  const ZTKConfigOptIns* pOptIns = OptIns();
  std::string_view path = (pOptIns != nullptr ? pOptIns->currentGroup : m_currentPath).view();
  ZTKStringArray resolved;
  if (ZTKHasDotComponent(path)) path = ZTKResolveGroup(path, resolved, false);
  ZTKFileConfigGroup* const pGroup = tree.PutPath(path);
  return memory.RanOut() ? nullptr : pGroup;
}

// Puts another tree in the place of the one there is; `pCurrent` is in it.
void ZTKFileConfig::TakeTree(ZTKConfigTree* pTree, ZTKFileConfigGroup* pCurrent) {
  pTree->m_pOptIns = std::move(m_pRoot->m_pOptIns);
  pTree->m_nMaxSize = m_pRoot->m_nMaxSize;
  delete m_pRoot;
  m_pRoot = pTree;
  m_pCurrent = pCurrent;
}

void ZTKFileConfig::InitWithOptions() {
  ZTKConfigOptIns& optIns = *m_pRoot->m_pOptIns;
  optIns.changes.Clear();
  optIns.currentGroup.Empty();
  optIns.Know(ZTKConfigOptIns::StateOf(m_filePath));
  ZTKTextFile file(m_filePath, TextOptions(optIns));
  Content content = ReadFile(file, optIns.isReadWhole);
  if (content == kNothing && !optIns.known.isThere) {
    XPMakePreferencesFolder(m_filePath);
    const bool isCreated = ZTKFile().XPCreate(m_filePath.c_str(), false, 0666);
    optIns.Know(ZTKConfigOptIns::StateOf(m_filePath));
    // Somebody else has just made it.
    if (!isCreated && optIns.known.isThere) content = ReadFile(file, optIns.isReadWhole);
  }
  optIns.isRead = content != kUnreadable;
  if (content == kUnreadable) return;
  optIns.hasText = content == kText;
  const ZTKMemoryWatch memory;
  Parse(file);
  if (memory.RanOut()) optIns.isRead = optIns.isReadWhole = false;
}

bool ZTKFileConfig::Reload() {
  if (m_pRoot == nullptr) return false;
  ZTKConfigOptIns* const pOptIns = OptIns();
  const XPFileState state =
      ZTKConfigOptIns::StateOf(m_filePath);  // What changes while it is read is told again.
  ZTKTextFile file(m_filePath, pOptIns != nullptr ? TextOptions(*pOptIns) : 0);
  bool isWhole = true;
  if (ReadFile(file, isWhole) != kText) return false;
  if (!isWhole && pOptIns != nullptr && pOptIns->Has(CONF_REFUSE_UNREAD)) return false;

  const bool merges = pOptIns != nullptr && pOptIns->Has(CONF_MERGE);
  std::unique_ptr<ZTKConfigTree> tree(ParseTree(file, true));
  if (tree == nullptr || (merges && !pOptIns->changes.ApplyTo(*tree))) return false;
  ZTKFileConfigGroup* const pCurrent = CurrentIn(*tree);
  if (pCurrent == nullptr) return false;
  if (!merges) m_bDirty = 0;
  if (pOptIns != nullptr) {
    if (!merges) pOptIns->changes.Clear();
    pOptIns->hasText = true;
    pOptIns->isRead = true;
    pOptIns->isReadWhole = isWhole;
    pOptIns->Know(state);
  }
  TakeTree(tree.release(), pCurrent);
  return true;
}

// Saving ------------------------------------------------------------------------------------------

bool ZTKFileConfig::FlushWithOptions() {
  ZTKConfigOptIns& optIns = *m_pRoot->m_pOptIns;
  const bool merges = optIns.Has(CONF_MERGE);
  XPMakePreferencesFolder(m_filePath);
  std::optional<XPFileLock> lock;
  if (merges) {
    const ZTKString path = ZTKWholePath([&] {
      ZTKString lockPath = m_filePath;
      lockPath.append(".lock");
      return XPMacPathToCompName(lockPath.c_str());
    });
    const ZTKString model = XPMacPathToCompName(m_filePath.c_str());
    lock.emplace(path.c_str(), model.c_str(), kLockTimeoutMs);
    if (lock->GetState() == XPFileLock::kBusy) return Refuse("another program holds its lock");
    if (lock->GetState() == XPFileLock::kFailed) return Refuse("its lock file cannot be locked");
  }

  ZTKTextFile file(m_filePath, TextOptions(optIns));
  bool isWhole = true;
  const Content content = ReadFile(file, isWhole);
  if (content == kUnreadable) return Refuse("the file there cannot be read");
  // What is merged is what was read just now.
  if (content == kText && !merges && !optIns.isRead) {
    return Refuse("the file there could not be read before, and holds what is not known");
  }
  if (content == kText && optIns.Has(CONF_REFUSE_UNREAD)) {
    if (!isWhole || !(optIns.isReadWhole || merges)) return Refuse("the file there is damaged");
  }

  // Nothing on the disk is no reason to forget what was there before.
  std::unique_ptr<ZTKConfigTree> merged;
  if (merges && (content == kText || !optIns.hasText)) {
    merged.reset(ParseTree(file, false));
    if (merged == nullptr || !optIns.changes.ApplyTo(*merged)) return false;
  }
  ZTKConfigTree& tree = merged != nullptr ? *merged : *m_pRoot;
  if (!(optIns.Has(CONF_KEEP_TEXT) ? KeepLines(file, tree) : PutLines(tree, file))) return false;
  // Not before the lines were made: a group that was only visited is not written.
  ZTKFileConfigGroup* const pCurrent = merged != nullptr ? CurrentIn(*merged) : m_pCurrent;
  if (merged != nullptr && pCurrent == nullptr) return false;
  const Saved saved = Save(file, optIns);
  if (saved == kNotSaved) return false;

  optIns.hasText = true;
  optIns.isRead = true;
  optIns.isReadWhole = true;
  if (saved == kSaved) {
    m_bDirty = 0;
    optIns.changes.Clear();
  }
  if (merged != nullptr) TakeTree(merged.release(), pCurrent);
  return saved == kSaved;
}

// Writes the lines and remembers the file that they make.
ZTKFileConfig::Saved ZTKFileConfig::Save(ZTKTextFile& file, ZTKConfigOptIns& optIns) const {
  const ZTKString path = ZTKWholePath([&] { return file.TargetPath(); });
  if (path.view().empty()) return kNotSaved;
  unsigned int options = 0;
  // What others have written, and the text around the settings, is in the file and nowhere else:
  // that must not go before the new file is in its place.
  const bool keepsMore = optIns.Has(CONF_MERGE) || optIns.Has(CONF_KEEP_TEXT);
  if (optIns.Has(CONF_ONE_STEP) || keepsMore) options |= TEMP_ONE_STEP;
  if (optIns.Has(CONF_FOLLOW_LINKS)) options |= TEMP_FOLLOW_LINKS;
  ZTKTempFile target(path, options);
  if (!target.GetFile().IsOpen()) return kNotSaved;
  const ZTKMemoryWatch memory;
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
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a handle is the address of a stream.
  XPGetStreamState(reinterpret_cast<std::FILE*>(written.GetHandle()), state);
  if (target.Commit()) {
    optIns.Know(state);
    return kSaved;
  }
  if (target.GetOutcome() == COMMIT_NOT_DURABLE) {
    optIns.Know(state);
    if (!optIns.Has(CONF_ONE_STEP)) return kSaved;  // Nobody asked for more.
    Refuse("the new file is in place, but a power cut may undo that");
    return kNotSynced;
  }
  // Not when the target has gone: then the temporary file is all there is.
  if (target.GetOutcome() == COMMIT_FAILED) target.Discard();
  return kNotSaved;
}

// The groups of the headers among the lines, for the rewriting.
bool ZTKFileConfig::KeepLines(ZTKTextFile& file, ZTKConfigTree& tree) const {
  const unsigned long nLines = file.GetLineCount();
  const std::unique_ptr<ZTKFileConfigGroup*[]> groups(new (std::nothrow)
                                                          ZTKFileConfigGroup*[nLines + 1]());
  if (groups == nullptr) return false;
  ZTKStringArray resolved;
  const ZTKMemoryWatch memory;
  for (unsigned long i = 0; i < nLines; ++i) {
    std::string_view group;
    if (!ZTKParseHeader(file.GetLine(i).view(), group)) continue;
    groups[i] = tree.FindPlainPath(ZTKResolveHeader(group, resolved, false));
  }
  uint64_t nSize = 0;
  if (memory.RanOut()) return false;
  const bool isDone = ZTKRewriteConfigLines(file, tree, groups.get(), GetMaxSize(), nSize);
  if (!isDone) IsSizeAllowed(nSize);  // Tells the reason, if it is this one.
  return isDone;
}

// Watching ----------------------------------------------------------------------------------------

int ZTKFileConfig::GetFd() {
  if (m_pRoot == nullptr) return -1;
  if (m_pRoot->m_pOptIns == nullptr) {
    m_pRoot->m_pOptIns.reset(new (std::nothrow) ZTKConfigOptIns);
    if (m_pRoot->m_pOptIns == nullptr) return -1;
    m_pRoot->m_pOptIns->known = ZTKConfigOptIns::StateOf(m_filePath);
    m_pRoot->m_pOptIns->currentGroup = m_pCurrent == m_pRoot ? ZTKString() : m_currentPath;
  }
  ZTKConfigOptIns& optIns = *m_pRoot->m_pOptIns;
  if (optIns.pWatch == nullptr) {
    optIns.pWatch.reset(new (std::nothrow) ZTKFileWatch(m_filePath));
    if (optIns.pWatch == nullptr) return -1;
    optIns.Know(optIns.known);
  }
  return optIns.pWatch->GetFd();
}

bool ZTKFileConfig::Dispatch() {
  const ZTKConfigOptIns* pOptIns = OptIns();
  return pOptIns != nullptr && pOptIns->pWatch != nullptr && pOptIns->pWatch->Dispatch();
}
