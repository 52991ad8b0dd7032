// Temporary files that have no name before they are committed.
#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/file_xp.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/file/internal/temp_names.h"
#include "ztk/file/internal/unnamed_file_xp.h"
#include "ztk/file/temp_file.h"

bool ZTKTempFile::CreateUnnamed(const ZTKTempNames& names) {
  // Where no name would be left for it, Open fails, as it does without the option.
  if (names.FindFree().Len() == 0) return false;
  const ZTKString folder = ZTKFolderOf(ZTKSystemPath(m_targetPath));
  const int permissions = XPGetNewFilePermissions(ZTKTempNames::kPrivate);
  return m_file.Adopt(XPCreateUnnamed(folder.c_str(), permissions, m_nUnnamed));
}

bool ZTKTempFile::CommitUnnamed(const ZTKString& target) {
  m_outcome = COMMIT_FAILED;
  m_bDiscardsFailed = true;
  if (!Save(target) || !ZTKIsReplaceable(target)) return false;
  // A volume that has gone leaves a relative path, to somewhere else.
  if (!Has(kAtOnce) && !ZTKIsRooted(target)) return false;
  bool inPlace = false;
  if (Has(TEMP_KEEP_IDENTITY) && !XPHasOtherNames(target.c_str(), inPlace)) return false;
  const XPFolder folder(ZTKFolderOf(target).c_str());
  if (!inPlace && !folder.IsOpen()) return false;

  // Under the name of the target at once, if nothing has that.
  const bool isNew = Has(kOnlyNew) || XPGetOwnFileKind(target.c_str()) == XPFileKind::kNothing;
  bool taken = false;
  bool done = isNew && !inPlace && XPNameUnnamed(m_nUnnamed, target.c_str(), taken);
  if (!done) {
    ZTKString temp;
    if ((taken && Has(kOnlyNew)) || !NameUnnamed(target, temp)) return false;
    // No other call stands between the naming and the renaming: a process that is killed there
    // leaves the temporary name.
    done = inPlace         ? XPSyncUnnamed(m_nUnnamed) && CommitInPlace(temp, target)
           : Has(kOnlyNew) ? XPRenameToNew(temp.c_str(), target.c_str())
                           : ZTKRenameFile(temp, target);
  }
  if (done) {
    m_tempPath.Clear();
    // The file once more: some file systems log nothing of a file without links when it is synced.
    const bool durable = inPlace || (XPSyncUnnamed(m_nUnnamed) && folder.Sync());
    m_outcome = durable ? COMMIT_DONE : COMMIT_NOT_DURABLE;
  } else if (m_bTargetGone) {
    m_outcome = COMMIT_TARGET_GONE;
  }
  // Its name stays: what failed goes on as a file that always had one.
  XPCloseUnnamed(m_nUnnamed);
  return m_outcome == COMMIT_DONE;
}

// Gives the unnamed file the first free name beside the target; `temp` is its path for the system.
bool ZTKTempFile::NameUnnamed(const ZTKString& target, ZTKString& temp) {
  const ZTKTempNames names = TempNames();
  const ZTKString base = ZTKSystemPath(names.base);
  if (ZTKFolderIn(base) != ZTKFolderIn(target)) return false;
  ZTKString path = names.First([&](const ZTKString& name, bool& taken) {
    temp = ZTKSystemPath(name);
    return XPNameUnnamed(m_nUnnamed, temp.c_str(), taken);
  });
  if (path.Len() == 0) {
    path = CopyUnnamed(names);
    temp = ZTKSystemPath(path);
  }
  m_tempPath = path;
  if (m_tempPath == path && temp.Len() != 0) return true;
  ZTKRemoveFile(path);  // Out of memory.
  m_tempPath.Clear();
  return false;
}

// Where a name is refused (some security modules let files be made and renamed, but not linked): a
// named copy, on the disk. "" on failure.
ZTKString ZTKTempFile::CopyUnnamed(const ZTKTempNames& names) {
  ZTKString path = names.Create(m_file);
  if (path.Len() == 0) return path;
  XPChangePermissions();
  const bool copied = XPCopyUnnamed(m_nUnnamed, m_file.m_pStream) && m_file.XPSync();
  if (m_file.Close() && copied) return path;
  ZTKRemoveFile(path);
  path.Clear();
  return path;
}
