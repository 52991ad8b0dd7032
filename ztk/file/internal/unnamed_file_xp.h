#pragma once

// Files without a name, which vanish when the process ends. Where the system or the file system
// has none, creating one fails. Paths are in the form that XPMacPathToCompName gives.

struct XPStream;

/// Makes a file without a name in a folder, with `nPermissions` less the umask, and opens it for
/// writing. It is gone when its stream and `nHandle`, which are independent, are both closed. Null,
/// with `nHandle` untouched, on failure.
XPStream* XPCreateUnnamed(const char* pszFolder, int nPermissions, int& nHandle) noexcept;

/// Gives it a name. Whatever has that name already makes it fail with `bTaken` set.
bool XPNameUnnamed(int nHandle, const char* pszPath, bool& bTaken) noexcept;

/// Has its content written to the disk.
bool XPSyncUnnamed(int nHandle) noexcept;

/// Writes its content to an open stream, whose buffer is empty.
bool XPCopyUnnamed(int nHandle, XPStream* pTo) noexcept;

/// Closes the handle and makes it -1. False when it was that.
bool XPCloseUnnamed(int& nHandle) noexcept;
