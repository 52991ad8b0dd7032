#pragma once

#include <cstddef>

// Folders of the host, for the layers that lie over it. Paths have slashes.

/// Finds the home folder of a user in the password database; for "" that of the environment, and
/// else of the user who runs the process. False when there is none, or it does not fit.
bool XPFindHostHome(const char* pszUser, char* pszBuf, size_t nSize) noexcept;

/// The folder for temporary files: $TMPDIR, else /tmp.
const char* XPGetHostTempFolder() noexcept;
