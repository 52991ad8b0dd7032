#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/file/file.h"
#include "ztk/foundation/string.h"

/// What a temporary file may do beyond its defaults: opt-ins, added up with `|`.
enum ZTKTempFileOption : unsigned int {
  /// Commit as in strict mode, whatever that is set to: synced, in one step, and not at all when
  /// anything written was lost. Leave the file open: after Close that is known in strict mode only.
  TEMP_ONE_STEP = 1,
  /// A symbolic link as the target stays: what it leads to is replaced, or created. A loop or an
  /// unreadable link makes `Open` fail. Where the layer knows no links, they are replaced.
  TEMP_FOLLOW_LINKS = 2,
  /// A target with other hard links stays the same file: the new content is copied into it, in time
  /// linear in its size. A power cut meanwhile leaves it cut, and the new version whole under the
  /// temporary name.
  TEMP_KEEP_IDENTITY = 4,
  /// The target is the file that ZTKFile would open by this path: no name is parsed, so it may end
  /// in a dot, begin with '~', or be longer than 1,020 characters. The temporary file has its name,
  /// as far as there is room, and the counter. Both paths are in the form of XPMacPathToCompName.
  TEMP_EXACT_PATH = 256,
  /// TEMP_ONE_STEP with a temporary file without a name, where the system can: however the process
  /// ends, nothing is left behind. GetTempPath() is "" then, until a commit fails. A new target is
  /// named at once. To replace one, Commit names the file and renames it with the next call: only a
  /// process killed in between (or while TEMP_KEEP_IDENTITY copies) leaves that name.
  TEMP_UNNAMED = 512,
};

struct ZTKTempNames;

/// How the last Commit of a temporary file ended.
enum ZTKCommitOutcome : int {
  COMMIT_NONE = 0,         ///< None since Open, or there was nothing to commit.
  COMMIT_DONE = 1,         ///< The target is the new version.
  COMMIT_NOT_DURABLE = 2,  ///< It is, but was not synced under its name: a power cut may undo that.
  COMMIT_FAILED = 3,       ///< The target is as it was.
  /// The target was removed, or overwritten in part; the new version is under GetTempPath().
  COMMIT_TARGET_GONE = 4,
};

/// A new version of a file, written beside it, that replaces it on Commit.
///
/// Write through GetFile(). The temporary file has a name that nobody else had, and the permissions
/// of the target. Destruction while the file is open discards it; a caller who closes the file
/// commits, discards, or leaves it behind, unless it has no name.
///
/// Commit closes the file, removes the target and renames the temporary file; in between there is
/// no target, and a complete new version under the temporary name. In strict mode it renames over
/// the target in one step. A failure leaves the target as it was, unless only the sync of its
/// folder failed: then the new content is in place and its durability unknown (GetOutcome()). A
/// target that is a link is replaced by a plain file; of several hard links only the target
/// changes. ZTKTempFileOption has other ways.
///
/// In strict mode, and with any option, Open and Commit refuse a target that exists and is no
/// regular file (a folder, a device, a pipe; a link to one), and a temporary file whose commit
/// failed is discarded by the destructor and the next Open, unless it is all that is left. One
/// thread at a time.
class ZTK_API ZTKTempFile {
 public:
  /// Opens for `target`; GetFile().IsOpen() tells the outcome.
  explicit ZTKTempFile(const ZTKString& target);
  /// The same with options (ZTKTempFileOption).
  ZTKTempFile(const ZTKString& target, unsigned int nOptions);
  /// The same; a target that is not there yet gets `nPermissions`, less the umask, instead of 0666.
  ZTKTempFile(const ZTKString& target, unsigned int nOptions, int nPermissions);
  ~ZTKTempFile();
  ZTKTempFile(const ZTKTempFile&) = delete;
  ZTKTempFile& operator=(const ZTKTempFile&) = delete;

  /// Creates the temporary file for `target`, a native path; a relative one is made absolute now.
  /// One that is still open is discarded first. After a failure GetTempPath() is "": all 1,000
  /// names are taken, the folder cannot be written, the name gets longer than 1,023 characters, the
  /// working directory of a relative path is gone, or the target is refused; so is, with nothing
  /// created, a name that the system takes for another, as Windows does "nul.txt", "a.txt.",
  /// "a.txt:b".
  bool Open(const ZTKString& target);

  /// Puts the new version in the target's place. False without a temporary file, with nothing
  /// touched. After another failure that remains: call Commit again, or Discard. Where anything
  /// written is lost, a commit in one step fails every time.
  bool Commit();

  ZTKCommitOutcome GetOutcome() const noexcept { return m_outcome; }

  /// Removes the temporary file; true when there was one.
  bool Discard();

  /// Gives the temporary file the target's owner and group, where allowed, and its mode; without a
  /// target, 0666 less the umask. Open has done so. Nobody gets more than before: where owner or
  /// group differ, the group and others get only what both had; set-id bits are never copied, nor a
  /// link's owner, nor more than the file that it leads to allows. False without an open file or
  /// when refused.
  bool XPChangePermissions();

  /// The options (ZTKTempFileOption), from the next `Open` or `Commit` on.
  void SetOptions(unsigned int nOptions) noexcept { m_nOptions = nOptions; }
  unsigned int GetOptions() const noexcept { return m_nOptions; }

  ZTKFile& GetFile() noexcept { return m_file; }
  const ZTKString& GetTargetPath() const noexcept { return m_targetPath; }
  /// "" when there is no temporary file, or one without a name (TEMP_UNNAMED).
  const ZTKString& GetTempPath() const noexcept { return m_tempPath; }

 private:
  friend struct ZTKTempFileLayout;

  // Options for the library itself.
  enum : unsigned int {
    kOnlyNew = 1U << 30,  // Commit in one step to a target that is not there, or not at all.
    kAtOnce = 1U << 31,   // The working directory does not change before the commit.
  };
  friend class ZTKStrictCopy;

  ZTKString FindTarget(const ZTKString& target) const;
  bool Save(const ZTKString& temp);
  bool CommitInSteps(const ZTKString& temp, const ZTKString& target);
  bool CommitStrictly(const ZTKString& temp, const ZTKString& target);
  ZTKTempNames TempNames() const;
  bool CreateUnnamed(const ZTKTempNames& names);
  bool CommitUnnamed(const ZTKString& target);
  bool NameUnnamed(const ZTKString& target, ZTKString& temp);
  ZTKString CopyUnnamed(const ZTKTempNames& names);
  bool CommitInPlace(const ZTKString& temp, const ZTKString& target);
  void DiscardFailed();
  bool IsStrict() const noexcept { return ZTKFile::ms_strict || Has(TEMP_ONE_STEP | TEMP_UNNAMED); }
  bool IsCareful() const noexcept { return ZTKFile::ms_strict || m_nOptions != 0; }
  bool Has(unsigned int nOption) const noexcept { return (m_nOptions & nOption) != 0; }

  ZTKString m_targetPath;
  ZTKString m_tempPath;
  ZTKFile m_file;
  unsigned int m_nOptions = 0;
  ZTKCommitOutcome m_outcome = COMMIT_NONE;
  int m_nUnnamed = -1;      // Keeps the file that has no name, even when the caller closes it.
  uint16_t m_nPermissions;  // Of a new target.
  bool m_bLost : 1;         // What was written is not all in the temporary file.
  bool m_bTargetGone : 1;
  bool m_bDiscardsFailed : 1;
};

/// Finds a name in the system's temporary folder, "ztk<n>.<ext>" with n below 1,000, that no
/// readable file has. Creates nothing: the name may be taken since. On success the caller frees
/// `*ppOut` with array delete; else it is not written. A null extension is "".
ZTK_API bool ZTKGetEmptyFilePath(char** ppOut, const char* pszExt);
