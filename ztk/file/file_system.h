#pragma once

#include "ztk/export.h"
#include "ztk/foundation/string.h"

// Files and folders by their path. Every failure is a false, null or empty result; nothing is
// thrown or logged. Paths go through XPMacPathToCompName first, except that of ZTKPathExists.

/// Whether the file can be opened for reading. Folders count, and pipes, without waiting.
ZTK_API bool ZTKFileExists(const ZTKString& path) noexcept;

/// Whether anything has this path. False for "" and for more than 1,023 characters.
ZTK_API bool ZTKPathExists(const ZTKString& path) noexcept;

ZTK_API bool ZTKSetWorkingDirectory(const ZTKString& dir) noexcept;

/// Writes the working directory to `pszBuf` of `nSize` bytes, "" when it does not fit, and returns
/// the buffer. For null it allocates `nSize` + 1 bytes, which the caller frees with array delete.
/// A negative size counts as 0; nothing is written to a given buffer of size 0.
ZTK_API char* ZTKGetWorkingDirectory(char* pszBuf, int nSize) noexcept;

/// The working directory; "" when it is longer than 1,023 characters or gone.
ZTK_API ZTKString ZTKGetCwd() noexcept;

/// Removes an empty folder.
ZTK_API bool ZTKRmdir(const ZTKString& dir) noexcept;

/// Makes a folder with the low 16 bits of `nPermissions`, less the umask.
ZTK_API bool ZTKMkdir(const ZTKString& dir, unsigned long nPermissions) noexcept;

/// Renames a file or folder; a file that has the new name is replaced.
ZTK_API bool ZTKRenameFile(const ZTKString& from, const ZTKString& to) noexcept;

/// Removes a file, a link, or an empty folder.
ZTK_API bool ZTKRemoveFile(const ZTKString& path) noexcept;

/// Copies the content of a file. An existing target is replaced when `bOverwrite` is not 0, else
/// the result is false. It is removed first, and neither reads nor writes are checked: true says
/// that the copy was made as far as it went. In strict mode every step is checked, a target that is
/// no regular file is refused, and a failure leaves the target as it was, unless only the sync of
/// its folder failed: then the copy is whole and its durability unknown.
ZTK_API bool ZTKCopyFile(const ZTKString& from, const ZTKString& to, int bOverwrite) noexcept;

/// The same with the permissions of the new file, less the umask, instead of 0666. In strict mode a
/// target that is replaced keeps its own.
ZTK_API bool ZTKCopyFile(const ZTKString& from, const ZTKString& to, int bOverwrite,
                         int nPermissions) noexcept;

/// The same, and tells how it ended; COMMIT_NOT_DURABLE (temp_file.h) is a copy, though false.
enum ZTKCommitOutcome : int;
ZTK_API bool ZTKCopyFile(const ZTKString& from, const ZTKString& to, int bOverwrite,
                         int nPermissions, ZTKCommitOutcome& outcome) noexcept;

/// The home folder of `user` ("" is the current user), "." when unknown. Valid until the next call.
ZTK_API const char* ZTKGetUserHome(const ZTKString& user) noexcept;

/// True for '/', ':' and '\\', on every platform.
ZTK_API bool ZTKIsPathSeparator(char ch) noexcept;

/// Whether the last character is one of those; false for null and "".
ZTK_API bool ZTKEndsWithPathSeparator(const char* psz) noexcept;

/// Folders are not listed: always "".
ZTK_API ZTKString ZTKFindFirstFile(const char* pszPattern, unsigned long nFlags) noexcept;
ZTK_API ZTKString ZTKFindNextFile() noexcept;

/// The path in the form that the operating system takes; "" for null.
ZTK_API ZTKString XPMacPathToCompName(const char* pszPath) noexcept;

/// The way back: the full path, in the native syntax, of the file that a path leads to, for those
/// who take paths apart (ZTKFileName, ZTKTempFile, ZTKTextFile). The path as it is where slashes
/// are native. Else:
///
///     /media/ada/Backup/docs/a.txt    Backup:docs:a.txt
///     /usr/share/                     System:usr:share:
///     docs/a.txt                      System:home:ada:docs:a.txt, in /home/ada
///     :docs:a.txt                     the same: it leads there, too
///     /tmp/a:b, /tmp/a.               "": a ':' in a name, or a '.' at the end, would be lost
///
/// Only folders before a ".." need exist. "" also without memory, and beyond 1,024 characters.
ZTK_API ZTKString XPCompNameToMacPath(const char* pszPath) noexcept;

/// The separator between the components of a native path.
ZTK_API char XPGetNativeSeparator() noexcept;

/// The system's folder for temporary files, in the native syntax; "" when there is none.
ZTK_API ZTKString XPGetTempFolder() noexcept;
