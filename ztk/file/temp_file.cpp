#include "ztk/file/temp_file.h"

#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/file_xp.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/file/internal/temp_names.h"
#include "ztk/file/internal/unnamed_file_xp.h"

bool ZTKIsReplaceable(const ZTKString& path) noexcept {
  switch (XPGetFileKind(path.c_str())) {
    case XPFileKind::kNothing:
    case XPFileKind::kRegular:
      return true;
    case XPFileKind::kUnknown:
      // A link whose end is unknown is replaced itself.
      return XPGetOwnFileKind(path.c_str()) == XPFileKind::kOther;
    case XPFileKind::kFolder:
    case XPFileKind::kOther:
      break;
  }
  return false;
}

ZTKTempFile::ZTKTempFile(const ZTKString& target) : ZTKTempFile(target, 0) {}

ZTKTempFile::ZTKTempFile(const ZTKString& target, unsigned int nOptions)
    : ZTKTempFile(target, nOptions, 0666) {}

ZTKTempFile::ZTKTempFile(const ZTKString& target, unsigned int nOptions, int nPermissions)
    : m_nOptions(nOptions),
      m_nPermissions(static_cast<uint16_t>(nPermissions & 0777)),
      m_bLost(false),
      m_bTargetGone(false),
      m_bDiscardsFailed(false) {
  Open(target);
}

ZTKTempFile::~ZTKTempFile() { DiscardFailed(); }

// Discards what is still being written, and what could not be committed.
void ZTKTempFile::DiscardFailed() {
  const bool isFailed = m_outcome == COMMIT_FAILED && m_bDiscardsFailed;
  if (m_file.IsOpen() || m_nUnnamed >= 0 || isFailed) Discard();
}

// "" for none.
ZTKString ZTKTempFile::FindTarget(const ZTKString& target) const {
  ZTKString path;
  if (Has(TEMP_EXACT_PATH)) {
    path = ZTKSystemPath(target);
    if (!Has(kAtOnce) && path.Len() != 0) path = XPMakeAbsolute(path);
  } else {
    path = ZTKAbsolutePath(target, ZTKNormAbsolute);
  }
  if (!Has(TEMP_FOLLOW_LINKS)) return path;
  ZTKString end;
  return ZTKFindEndOfLinks(path, end) ? end : ZTKString();
}

ZTKTempNames ZTKTempFile::TempNames() const {
  return Has(TEMP_EXACT_PATH) ? ZTKTempNames::Exact(m_targetPath)
                              : ZTKTempNames::Parsed(m_targetPath);
}

bool ZTKTempFile::Open(const ZTKString& target) {
  const ZTKString path = ZTKWholePath([&] { return FindTarget(target); });
  DiscardFailed();
  m_targetPath = path;
  m_tempPath.Clear();
  m_outcome = COMMIT_NONE;
  m_bLost = false;
  m_bTargetGone = false;
  if (m_targetPath.Len() == 0 || m_targetPath != path) return false;
  if (!Has(TEMP_EXACT_PATH) && ZTKSlashesMislead(target)) return false;
  if (!XPKeepsName(target.c_str())) return false;
  if (IsCareful() && !ZTKIsReplaceable(ZTKSystemPath(path))) return false;

  const ZTKTempNames names = TempNames();
  if (Has(TEMP_UNNAMED) && CreateUnnamed(names)) {
    XPChangePermissions();
    return true;
  }
  const ZTKString tempPath = names.Create(m_file);
  m_tempPath = tempPath;
  if (m_tempPath != tempPath) {  // Out of memory.
    m_file.Close();
    ZTKRemoveFile(tempPath);
    m_tempPath.Clear();
  }
  XPChangePermissions();
  return m_tempPath.Len() != 0;
}

bool ZTKTempFile::Commit() {
  // Converted once: volumes may come and go between the steps.
  const ZTKString temp = ZTKSystemPath(m_tempPath);
  const ZTKString target = ZTKSystemPath(m_targetPath);
  if (m_nUnnamed >= 0) return CommitUnnamed(target);
  // Check before the target is touched.
  const XPFileKind kind = XPGetOwnFileKind(temp.c_str());
  const bool ranOut = temp.view().empty() && !m_tempPath.view().empty();
  const bool isKnown = kind == XPFileKind::kRegular || kind == XPFileKind::kUnknown || ranOut;
  m_outcome = !isKnown ? COMMIT_NONE : m_bTargetGone ? COMMIT_TARGET_GONE : COMMIT_FAILED;
  m_bDiscardsFailed = IsCareful();
  if (kind != XPFileKind::kRegular) {
    if (!m_file.Close()) m_bLost = true;
    return false;
  }
  const bool saved = Save(temp);  // Before the old version goes: a power cut leaves one of the two.
  if (m_bDiscardsFailed &&
      (ZTKFolderIn(temp) != ZTKFolderIn(target) || !ZTKIsReplaceable(target))) {
    return false;
  }
  bool inPlace = false;
  if (Has(TEMP_KEEP_IDENTITY) && !XPHasOtherNames(target.c_str(), inPlace)) return false;
  if ((inPlace || IsStrict()) && !saved) return false;
  const bool done = inPlace      ? CommitInPlace(temp, target)
                    : IsStrict() ? CommitStrictly(temp, target)
                                 : CommitInSteps(temp, target);
  if (!done) {
    if (m_bTargetGone) m_outcome = COMMIT_TARGET_GONE;
    return false;
  }
  m_outcome = COMMIT_DONE;
  m_tempPath.Clear();
  return true;
}

// Closes the file. Whether all that was written is on the disk.
bool ZTKTempFile::Save(const ZTKString& temp) {
  if (m_file.IsOpen()) {
    // A failed fsync cannot be retried: the system drops the pages that it could not write.
    if (!m_file.XPSync() || m_file.HasLostData()) m_bLost = true;
    if (!m_file.Close()) m_bLost = true;
  } else if (!m_bLost) {
    if (m_file.HasError()) m_bLost = true;
    if (m_nUnnamed >= 0) {
      if (!XPSyncUnnamed(m_nUnnamed)) m_bLost = true;
      return !m_bLost;
    }
    ZTKFile closed;
    if (!closed.Adopt(XPOpenToSync(temp.c_str()))) return false;
    if (!closed.XPSync()) m_bLost = true;
  }
  return !m_bLost;
}

bool ZTKTempFile::CommitInSteps(const ZTKString& temp, const ZTKString& target) {
  // On some systems a file that somebody has removed goes when it is closed.
  if (XPGetOwnFileKind(temp.c_str()) != XPFileKind::kRegular) return false;
  if (ZTKFile::Exists(target.c_str())) {
    if (!ZTKRemoveFile(target)) return false;
    m_bTargetGone = true;
  }
  if (ZTKRenameFile(temp, target)) {
    XPFolder(ZTKFolderOf(target).c_str()).Sync();
    return true;
  }

  if (!ZTKCopyFile(temp, target, 1, ZTKTempNames::kPrivate)) return false;
  XPCopyPermissions(temp.c_str(), target.c_str());
  ZTKRemoveFile(temp);
  return true;
}

bool ZTKTempFile::CommitStrictly(const ZTKString& temp, const ZTKString& target) {
  // Opened first: where the folder cannot be synced, do not begin.
  const XPFolder folder(ZTKFolderOf(target).c_str());
  if (!folder.IsOpen()) return false;
  const bool renamed =
      Has(kOnlyNew) ? XPRenameToNew(temp.c_str(), target.c_str()) : ZTKRenameFile(temp, target);
  if (!renamed) return false;
  m_bTargetGone = false;
  if (folder.Sync()) return true;
  m_outcome = COMMIT_NOT_DURABLE;
  m_tempPath.Clear();  // It has the target's name now.
  return false;
}

bool ZTKTempFile::CommitInPlace(const ZTKString& temp, const ZTKString& target) {
  // A power cut while the target is overwritten must leave the new version under its name.
  const XPFolder folder(ZTKFolderOf(temp).c_str());
  if (folder.IsOpen() && !folder.Sync()) return false;
  bool begun = false;
  if (!XPOverwriteFile(temp.c_str(), target.c_str(), begun)) {
    if (begun) m_bTargetGone = true;
    return false;
  }
  ZTKRemoveFile(temp);
  return true;
}

bool ZTKTempFile::Discard() {
  m_file.Close();
  const bool dropped = XPCloseUnnamed(m_nUnnamed);
  const bool removed = dropped || (m_tempPath.Len() != 0 && ZTKRemoveFile(m_tempPath));
  m_tempPath.Clear();
  return removed;
}
