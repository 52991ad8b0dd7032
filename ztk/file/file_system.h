#pragma once

#include "ztk/export.h"
#include "ztk/foundation/string.h"

ZTK_API bool ZTKFileExists(const ZTKString& path) noexcept;
ZTK_API bool ZTKPathExists(const ZTKString& path) noexcept;
ZTK_API bool ZTKSetWorkingDirectory(const ZTKString& dir) noexcept;
ZTK_API char* ZTKGetWorkingDirectory(char* pszBuf, int nSize) noexcept;
ZTK_API ZTKString ZTKGetCwd() noexcept;
ZTK_API bool ZTKRmdir(const ZTKString& dir) noexcept;
ZTK_API bool ZTKMkdir(const ZTKString& dir, unsigned long nPermissions) noexcept;
ZTK_API bool ZTKRenameFile(const ZTKString& from, const ZTKString& to) noexcept;
ZTK_API bool ZTKRemoveFile(const ZTKString& path) noexcept;
ZTK_API bool ZTKCopyFile(const ZTKString& from, const ZTKString& to, int bOverwrite) noexcept;
/// The home folder of `user` ("" is the current user), "." when unknown. Valid until the next call.
ZTK_API const char* ZTKGetUserHome(const ZTKString& user) noexcept;
ZTK_API bool ZTKIsPathSeparator(char ch) noexcept;
ZTK_API bool ZTKEndsWithPathSeparator(const char* psz) noexcept;
ZTK_API ZTKString ZTKFindFirstFile(const char* pszPattern, unsigned long nFlags) noexcept;
ZTK_API ZTKString ZTKFindNextFile() noexcept;

/// The path in the form that the operating system takes.
ZTK_API ZTKString XPMacPathToCompName(const char* pszPath) noexcept;

/// The separator between the components of a native path.
ZTK_API char XPGetNativeSeparator() noexcept;
/// The system's folder for temporary files, in the native syntax; "" when there is none.
ZTK_API ZTKString XPGetTempFolder() noexcept;
