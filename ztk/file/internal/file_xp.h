#pragma once

// What the file handle asks of a platform layer: one question to the system each; the body decides.
// Paths are in the form that XPMacPathToCompName gives.

#include <cstddef>
#include <cstdio>

/// Opens a stream as fopen does, with close-on-exec set; created files get the permissions that
/// XPGetNewFilePermissions makes of `nPermissions`, less the umask. An 'x' in the mode makes "w"
/// refuse whatever exists under the path, a dangling link included. "a" begins at the end. Null on
/// failure, with the reason in errno; a file made with 'x' does not stay then.
std::FILE* XPOpenStream(const char* pszPath, const char* pszMode, int nPermissions) noexcept;

/// The permissions of a new file for which `nPermissions` were asked.
int XPGetNewFilePermissions(int nPermissions) noexcept;

/// Whether the path can be opened for reading. Asks without waiting for the other end of a pipe.
bool XPCanRead(const char* pszPath) noexcept;

/// fread and fwrite on a stream that may change its direction at any time. Interrupted calls are
/// continued. A failed read, which `*pFailed` tells, is no lost data.
size_t XPReadStream(std::FILE* pStream, void* pBuffer, size_t nCount,
                    bool* pFailed = nullptr) noexcept;
size_t XPWriteStream(std::FILE* pStream, const void* pBuffer, size_t nCount) noexcept;

/// Pushes bytes that were just read back onto a stream, as a pipe cannot seek. False when not all
/// of them could be.
bool XPUnreadStream(std::FILE* pStream, const void* pBuffer, size_t nCount) noexcept;

/// Whether a stream is on a regular file: a pipe or a device may have no end.
bool XPIsRegularStream(std::FILE* pStream) noexcept;

/// Whether an operation on a stream that can be written has failed since it was opened: also a seek
/// or a read may have had to write out what was buffered, and lost it.
bool XPHasLostData(std::FILE* pStream) noexcept;

/// Has the content of an open file written to the disk. True also where there is no disk behind it.
bool XPSyncStream(std::FILE* pStream) noexcept;
