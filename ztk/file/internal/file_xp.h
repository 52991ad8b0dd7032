#pragma once

// What the file handle asks of a platform layer: one question to the system each; the body decides.
// Paths are in the form that XPMacPathToCompName gives.

#include <cstddef>
#include <cstdint>

/// A buffered stream of bytes on an open file, never text that is translated. It remembers whether
/// a read has met the end, and errors. What it is, only the layer knows.
struct XPStream;

/// The stream of a ZTKFileHandle.
inline XPStream* XPStreamOf(std::intptr_t nHandle) noexcept {
  return reinterpret_cast<XPStream*>(nHandle);  // NOLINT(performance-no-int-to-ptr)
}

/// Opens a stream as fopen does, for bytes whatever the mode says, not inherited by other programs;
/// created files get the permissions that XPGetNewFilePermissions makes of `nPermissions`, less the
/// umask. An 'x' in the mode makes "w" refuse whatever exists under the path, a dangling link
/// included. "a" begins at the end. Null on failure, with the reason in errno; a file made with 'x'
/// does not stay then.
XPStream* XPOpenStream(const char* pszPath, const char* pszMode, int nPermissions) noexcept;

/// Opens an existing file so that XPSyncStream can write it to the disk. Null on failure.
XPStream* XPOpenToSync(const char* pszPath) noexcept;

/// Writes out what is buffered and closes the stream; it is gone even when that fails.
bool XPCloseStream(XPStream* pStream) noexcept;

bool XPFlushStream(XPStream* pStream) noexcept;

/// Whether a read has met the end; a seek forgets it.
bool XPIsAtEnd(XPStream* pStream) noexcept;

/// Whether an operation has failed that was no read of a stream that can be written.
bool XPHasStreamError(XPStream* pStream) noexcept;

/// The position; -1 where there is none.
std::int64_t XPTellStream(XPStream* pStream) noexcept;

/// `nWhence` is 0, 1, 2 for the start, the current position, the end; any other value fails.
bool XPSeekStream(XPStream* pStream, std::int64_t nOffset, int nWhence) noexcept;

/// The permissions of a new file for which `nPermissions` were asked.
int XPGetNewFilePermissions(int nPermissions) noexcept;

/// Whether the path can be opened for reading. Asks without waiting for the other end of a pipe.
bool XPCanRead(const char* pszPath) noexcept;

/// Read from or write to a stream that may change its direction at any time. Interrupted calls are
/// continued. A failed read, which `*pFailed` tells, is no lost data.
size_t XPReadStream(XPStream* pStream, void* pBuffer, size_t nCount,
                    bool* pFailed = nullptr) noexcept;
size_t XPWriteStream(XPStream* pStream, const void* pBuffer, size_t nCount) noexcept;

/// Pushes bytes that were just read back onto a stream, as a pipe cannot seek. False when not all
/// of them could be.
bool XPUnreadStream(XPStream* pStream, const void* pBuffer, size_t nCount) noexcept;

/// Whether a stream is on a regular file: a pipe or a device may have no end.
bool XPIsRegularStream(XPStream* pStream) noexcept;

/// Whether an operation on a stream that can be written has failed since it was opened: also a seek
/// or a read may have had to write out what was buffered, and lost it.
bool XPHasLostData(XPStream* pStream) noexcept;

/// Has the content of an open file written to the disk. True also where there is no disk behind it.
bool XPSyncStream(XPStream* pStream) noexcept;
