#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>

#include "ztk/foundation/string.h"

// What the portable body asks a platform layer beside the XP operations of the public headers.
// Each function puts one question to the system and decides nothing; the body above does. Paths are
// in the form that XPMacPathToCompName gives. Nothing here is exported or installed.

/// Opens a stream as fopen does, with close-on-exec set; created files get the permissions that
/// XPGetNewFilePermissions makes of `nPermissions`, less the umask. An 'x' in the mode makes "w"
/// refuse whatever exists under the path, a dangling link included. "a" begins at the end. Null on
/// failure, with the reason in errno; a file made with 'x' does not stay then.
std::FILE* XPOpenStream(const char* pszPath, const char* pszMode, int nPermissions) noexcept;

/// The permissions of a new file for which `nPermissions` were asked.
int XPGetNewFilePermissions(int nPermissions) noexcept;

/// Whether the path can be opened for reading. Asks without waiting for the other end of a pipe.
bool XPCanRead(const char* pszPath) noexcept;

/// fread and fwrite on a stream that may change its direction at any time. What a signal interrupts
/// is continued.
/// A read that fails, which is told in `*pFailed`, is no lost data.
size_t XPReadStream(std::FILE* pStream, void* pBuffer, size_t nCount,
                    bool* pFailed = nullptr) noexcept;
size_t XPWriteStream(std::FILE* pStream, const void* pBuffer, size_t nCount) noexcept;

/// Gives back bytes that were just read from a stream, so that they are read again: in a pipe there
/// is no other way back. False when that cannot be done for all of them.
bool XPUnreadStream(std::FILE* pStream, const void* pBuffer, size_t nCount) noexcept;

/// Whether a regular file is behind a stream, and no pipe or device, which may have no end.
bool XPIsRegularStream(std::FILE* pStream) noexcept;

/// Whether an operation on a stream that can be written has failed since it was opened: also a seek
/// or a read may have had to write out what was buffered, and lost it.
bool XPHasLostData(std::FILE* pStream) noexcept;

/// Has the content of an open file written to the disk. True also where there is no disk behind it.
bool XPSyncStream(std::FILE* pStream) noexcept;

bool XPChangeFolder(const char* pszPath) noexcept;
bool XPGetFolder(char* pszBuf, size_t nSize) noexcept;
bool XPMakeFolder(const char* pszPath, unsigned long nPermissions) noexcept;
bool XPRemoveFolder(const char* pszPath) noexcept;

/// What is at a path; at the end of the links, where it is one.
enum class XPFileKind {
  kNothing,  // No such file, or something on the way to it that is no folder.
  kRegular,
  kFolder,
  kOther,    // A pipe, a socket, a device.
  kUnknown,  // The system does not tell.
};

/// Asks without opening, so that nothing waits.
XPFileKind XPGetFileKind(const char* pszPath) noexcept;

/// The same of the path itself: a link is `kOther`.
XPFileKind XPGetOwnFileKind(const char* pszPath) noexcept;

/// Whether anything has this path.
bool XPPathExists(const char* pszPath) noexcept;

/// Finds the home folder of a user, the current one for "". False when there is none to be found.
bool XPFindHome(const char* pszUser, char* pszBuf, size_t nSize) noexcept;

/// Makes the folder of the user's preferences, for the user alone, when it is missing, `path` is a
/// native path of something in it, and the platform lets programs do so.
void XPMakePreferencesFolder(const ZTKString& path) noexcept;

/// Gives the file `pszTo` the permissions, and where allowed the owner and group, of `pszFrom`.
bool XPCopyPermissions(const char* pszFrom, const char* pszTo) noexcept;

/// Tells in `bHasOthers` whether a plain file, not a link to one, has this path and other hard
/// links beside it. False when the system does not tell.
bool XPHasOtherNames(const char* pszPath, bool& bHasOthers) noexcept;

/// Puts the content of `pszFrom` into the existing plain file `pszTo`, which stays the same file
/// with no set-id bits, and has it written to the disk. Room is made before anything is
/// overwritten, where the file system can. `bBegun` tells whether a failure came after that.
bool XPOverwriteFile(const char* pszFrom, const char* pszTo, bool& bBegun) noexcept;

/// Renames a file, unless anything has the new name.
bool XPRenameToNew(const char* pszFrom, const char* pszTo) noexcept;

/// The path at the end of the links, which need not be there; of what is no link, the path itself.
/// False when the links go round, or one of them cannot be read. Where the layer knows no links,
/// nothing is one.
bool XPFindEndOfLinks(const ZTKString& path, ZTKString& end) noexcept;

/// The folder that holds a file, kept open so that a change in it can be written to the disk.
class XPFolder {
 public:
  explicit XPFolder(const char* pszFile) noexcept;
  ~XPFolder();
  XPFolder(const XPFolder&) = delete;
  XPFolder& operator=(const XPFolder&) = delete;

  bool IsOpen() const noexcept { return m_handle >= 0; }
  bool Sync() const noexcept;

 private:
  int m_handle;
};

/// What tells whether a file is still the same, unchanged.
struct XPFileState {
  bool isThere = false;
  uint64_t device = 0;
  uint64_t file = 0;
  int64_t size = 0;
  int64_t changed = 0;  // In nanoseconds.
  bool operator==(const XPFileState&) const = default;
};

/// False, with an empty state, when nothing is there. Links are followed.
bool XPGetFileState(const char* pszPath, XPFileState& state) noexcept;

/// The same of an open stream, in whose buffer nothing waits.
bool XPGetStreamState(std::FILE* pStream, XPFileState& state) noexcept;

/// A lock that keeps out whoever takes the same one, in this process or another; it dies with its
/// process. The lock file is created when it is missing and never removed; what is no plain file is
/// not taken for one, links included.
class XPFileLock {
 public:
  enum State {
    kHeld,
    kBusy,     // Somebody else had it all the time.
    kNoLocks,  // The file system knows none: nobody is kept out.
    kFailed,   // The lock file could not be opened or locked.
  };

  /// Waits for the lock, but not longer than `nTimeoutMs`. Whoever may use the file `pszModel` may
  /// use the lock: it gets that file's owner, group and permissions, as far as that is allowed.
  XPFileLock(const char* pszPath, const char* pszModel, unsigned long nTimeoutMs) noexcept;
  ~XPFileLock();
  XPFileLock(const XPFileLock&) = delete;
  XPFileLock& operator=(const XPFileLock&) = delete;

  State GetState() const noexcept { return m_state; }

 private:
  int m_handle = -1;
  State m_state = kFailed;
};

/// The time of the clock on the wall, by the time zone that is set now.
bool XPLocalTime(std::time_t now, std::tm& result) noexcept;

/// Has the system bring up the memory of a range that is about to be written, which is cheaper in
/// one go than page by page. Never changes a byte, and never fails: what the system does not do now
/// happens as the bytes are written.
void XPPrepareMemory(void* pStart, size_t nSize) noexcept;
