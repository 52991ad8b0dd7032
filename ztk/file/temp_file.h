#pragma once

#include "ztk/export.h"
#include "ztk/file/file.h"
#include "ztk/foundation/string.h"

/// What a temporary file may do beyond its defaults: opt-ins, added up with `|`.
enum ZTKTempFileOption : unsigned int {
  /// Commit as in strict mode, whatever that is set to: synced, in one step, and not at all when
  /// anything written was lost. Leave the file open for that: once the caller has closed it, what
  /// was lost is known in strict mode only.
  TEMP_ONE_STEP = 1,
  /// A target that is a symbolic link stays one: what it leads to is replaced, or created. Where
  /// the layer knows no links, they are replaced.
  TEMP_FOLLOW_LINKS = 2,
  /// A target that has other hard links stays the same file: the new content is copied into it, so
  /// that all its names have it. This takes as long as the file is large, and a power cut meanwhile
  /// leaves the target cut and the new version complete under the temporary name.
  TEMP_KEEP_IDENTITY = 4,
};

/// How the last Commit of a temporary file ended.
enum ZTKCommitOutcome : int {
  COMMIT_NONE = 0,         ///< None since Open, or there was nothing to commit.
  COMMIT_DONE = 1,         ///< The target is the new version.
  COMMIT_NOT_DURABLE = 2,  ///< It is, but its folder was not synced: a power cut may undo that.
  COMMIT_FAILED = 3,       ///< The target is as it was.
  COMMIT_TARGET_GONE = 4,  ///< The target was removed; the new version is under GetTempPath().
};

/// A new version of a file, written beside it, that replaces it on Commit.
///
/// Write through GetFile(). The temporary file has a name that nobody else had, and the permissions
/// of the target. Destruction while the file is open discards it; a caller who closes the file
/// itself either commits, discards, or leaves the temporary file behind.
///
/// Commit closes the file, removes the target and renames the temporary file; between the two steps
/// there is no target, and a complete new version under the temporary name. In strict mode it
/// renames over the target in one step, and any failure leaves the target as it was. A target that
/// is a link is replaced by a plain file, what it pointed to stays; of several hard links only the
/// target gets the new version. ZTKTempFileOption has other ways. One thread at a time.
class ZTK_API ZTKTempFile {
 public:
  /// Opens for `target`; GetFile().IsOpen() tells the outcome.
  explicit ZTKTempFile(const ZTKString& target);
  /// The same with options (ZTKTempFileOption).
  ZTKTempFile(const ZTKString& target, unsigned int nOptions);
  ~ZTKTempFile();
  ZTKTempFile(const ZTKTempFile&) = delete;
  ZTKTempFile& operator=(const ZTKTempFile&) = delete;

  /// Creates the temporary file for `target`, a path in the native syntax; a relative one is made
  /// absolute now. A temporary file that is still open is discarded first. After a failure
  /// GetTempPath() is "": all 1,000 names are taken, the folder cannot be written, the name gets
  /// longer than 1,023 characters, or a relative path meets a working directory that is gone.
  bool Open(const ZTKString& target);

  /// Puts the new version in the target's place. False when there is no temporary file, and nothing
  /// is touched then. After another failure the temporary file remains: Commit may be called again,
  /// or Discard.
  bool Commit();

  /// Tells why Commit was false.
  ZTKCommitOutcome GetOutcome() const noexcept { return m_outcome; }

  /// Removes the temporary file; true when there was one.
  bool Discard();

  /// Gives the temporary file the target's mode and, where allowed, owner and group; without a
  /// target, 0666 less the umask. Open has done so. False when no file is open.
  bool XPChangePermissions();

  /// The options (ZTKTempFileOption), from the next `Open` or `Commit` on.
  void SetOptions(unsigned int nOptions) noexcept { m_nOptions = nOptions; }
  unsigned int GetOptions() const noexcept { return m_nOptions; }

  ZTKFile& GetFile() noexcept { return m_file; }
  const ZTKString& GetTargetPath() const noexcept { return m_targetPath; }
  /// "" when there is no temporary file.
  const ZTKString& GetTempPath() const noexcept { return m_tempPath; }

 private:
  friend struct ZTKTempFileLayout;

  bool CommitInSteps();
  bool CommitStrictly(bool bSaved);
  bool CommitInPlace(bool bSaved);
  bool Has(ZTKTempFileOption option) const noexcept { return (m_nOptions & option) != 0; }

  ZTKString m_targetPath;
  ZTKString m_tempPath;
  ZTKFile m_file;
  unsigned int m_nOptions = 0;
  ZTKCommitOutcome m_outcome = COMMIT_NONE;
};

/// Finds a name in the system's temporary folder, "ztk<n>.<ext>" with n below 1,000, that no
/// readable file has. Creates nothing: the name is only free at the moment of the test. On success
/// `*ppOut` is freed by the caller with array delete; on failure it is not written. A null
/// extension counts as "".
ZTK_API bool ZTKGetEmptyFilePath(char** ppOut, const char* pszExt);
