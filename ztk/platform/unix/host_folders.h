#pragma once

#include <cstddef>

// Folders of the host, for the layers that lie over it. Paths have slashes.

/// Finds the home folder of a user in the password database; for "" that of the environment, and
/// else of the user who runs the process. It does not end in a separator, unless it is the root.
/// False when there is none, or it does not fit.
bool XPFindHostHome(const char* pszUser, char* pszBuf, size_t nSize) noexcept;

/// The same by the password database alone.
bool XPFindPasswordHome(const char* pszUser, char* pszBuf, size_t nSize) noexcept;

/// The folder for temporary files: $TMPDIR where that is an absolute path, else /tmp.
const char* XPGetHostTempFolder() noexcept;
