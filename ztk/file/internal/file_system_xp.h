#pragma once

// What the file system, temporary files and those above ask of a platform layer: one question to
// the system each; the body decides. Paths are in the form that XPMacPathToCompName gives.

#include <cstddef>
#include <cstdint>

#include "ztk/foundation/string.h"

class ZTKTextBuilder;

bool XPChangeFolder(const char* pszPath) noexcept;
bool XPGetFolder(char* pszBuf, size_t nSize) noexcept;
bool XPMakeFolder(const char* pszPath, unsigned long nPermissions) noexcept;
bool XPRemoveFolder(const char* pszPath) noexcept;

/// Renames a file or folder; a file that has the new name is replaced, in one step where the file
/// system can.
bool XPRename(const char* pszFrom, const char* pszTo) noexcept;

/// Whether a new file could have this path as it is written. Not so where the system takes the name
/// for a device or a stream of another file, or cuts characters off its end. Asks of the text
/// alone.
bool XPKeepsName(const char* pszPath) noexcept;

/// Removes a file, a link, or an empty folder.
bool XPRemove(const char* pszPath) noexcept;

/// The absolute path of what `path`, which is not empty, leads to. "" without a working directory.
ZTKString XPMakeAbsolute(const ZTKString& path) noexcept;

/// Appends the value of an environment variable to `out`; false when there is none.
bool XPGetEnv(const char* pszName, ZTKTextBuilder& out) noexcept;

/// What is at a path; at the end of the links, where it is one.
enum class XPFileKind {
  kNothing,  // No such file, or something on the way to it that is no folder.
  kRegular,
  kFolder,
  kOther,    // A pipe, a socket, a device.
  kUnknown,  // Cannot be determined.
};

/// Asks without opening, and so never blocks.
XPFileKind XPGetFileKind(const char* pszPath) noexcept;

inline bool XPIsFolder(const char* pszPath) noexcept {
  return XPGetFileKind(pszPath) == XPFileKind::kFolder;
}

/// The same of the path itself: a link is `kOther`.
XPFileKind XPGetOwnFileKind(const char* pszPath) noexcept;

/// Whether anything has this path.
bool XPPathExists(const char* pszPath) noexcept;

/// Finds the home folder of a user, the current one for "". False when there is none to be found.
bool XPFindHome(const char* pszUser, char* pszBuf, size_t nSize) noexcept;

/// Makes the folder of the user's preferences, for the user alone, when it is missing and the
/// platform lets programs do so. `folder` is its path.
void XPMakePreferencesFolder(const ZTKString& folder) noexcept;

/// Gives the file `pszTo` the permissions, and where allowed the owner and group, of `pszFrom`.
bool XPCopyPermissions(const char* pszFrom, const char* pszTo) noexcept;

/// Tells in `bHasOthers` whether a regular file, not a link to one, has this path and other hard
/// links beside it. False when that cannot be determined.
bool XPHasOtherNames(const char* pszPath, bool& bHasOthers) noexcept;

/// Puts the content of `pszFrom` into the existing regular file `pszTo`, which stays the same file
/// with no set-id bits, and has it written to the disk. Room is made before anything is
/// overwritten, where the file system can. `bBegun` tells whether a failure came after that.
bool XPOverwriteFile(const char* pszFrom, const char* pszTo, bool& bBegun) noexcept;

/// Renames a file, unless anything has the new name.
bool XPRenameToNew(const char* pszFrom, const char* pszTo) noexcept;

enum class XPLink {
  kLink,
  kNone,  // Nothing, or anything but a link; everything, where the layer knows no links.
  kUnreadable,
};

/// Reads what a link says; `target` is written for a link only.
XPLink XPReadLink(const char* pszPath, ZTKString& target) noexcept;

/// The absolute path without links of what is at a path. False when that is not all there, with
/// `bMissing` telling whether that is why.
bool XPResolveLinks(const char* pszPath, ZTKString& resolved, bool& bMissing) noexcept;
inline bool XPResolveLinks(const char* pszPath, ZTKString& resolved) noexcept {
  bool missing;
  return XPResolveLinks(pszPath, resolved, missing);
}

/// A folder, kept open so that a change in it can be written to the disk.
class XPFolder {
 public:
  explicit XPFolder(const char* pszFolder) noexcept;
  ~XPFolder();
  XPFolder(const XPFolder&) = delete;
  XPFolder& operator=(const XPFolder&) = delete;

  bool IsOpen() const noexcept { return m_handle != -1; }
  bool Sync() const noexcept;

 private:
  std::intptr_t m_handle;  // -1 for none.
};
