#pragma once

// What the file system, temporary files and those above ask of a platform layer: one question to
// the system each; the body decides. Paths are in the form that XPMacPathToCompName gives.

#include <cstddef>
#include <cstdint>

#include "ztk/foundation/string.h"

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
