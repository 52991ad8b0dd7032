// Buffered streams over handles of the system: no text mode, and 64 bits throughout.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "ztk/file/internal/file_state_xp.h"
#include "ztk/file/internal/file_xp.h"
#include "ztk/file/seek_mode.h"
#include "ztk/platform/win32/file_handle.h"
#include "ztk/platform/win32/stream.h"

namespace {

constexpr size_t kBufferSize = 8192;
constexpr DWORD kLargestStep = 1UL << 30;

struct Opening {
  DWORD access = 0;
  DWORD disposition = 0;
  bool empties = false;
  bool appends = false;
  bool isNew = false;
};

// How a mode of fopen is opened; false for an invalid one.
bool ReadMode(const char* pszMode, Opening& opening) noexcept {
  const bool updates = std::strchr(pszMode, '+') != nullptr;
  switch (pszMode[0]) {
    case 'r':
      opening.access = GENERIC_READ;
      if (updates) opening.access |= GENERIC_WRITE;
      opening.disposition = OPEN_EXISTING;
      return true;
    case 'w':
      opening.access = GENERIC_WRITE;
      if (updates) opening.access |= GENERIC_READ;
      opening.isNew = std::strchr(pszMode, 'x') != nullptr;
      // Not CREATE_ALWAYS, which a hidden file refuses, and which drops the attributes of others.
      opening.disposition = opening.isNew ? CREATE_NEW : OPEN_ALWAYS;
      opening.empties = !opening.isNew;
      return true;
    case 'a':
      // Without the right to write anywhere else, every write goes to the end as one step.
      opening.access = FILE_APPEND_DATA | FILE_WRITE_ATTRIBUTES | READ_CONTROL | SYNCHRONIZE;
      if (updates) opening.access |= GENERIC_READ;
      opening.disposition = OPEN_ALWAYS;
      opening.appends = true;
      return true;
    default:
      return false;
  }
}

XPStream* Fail(DWORD nError) noexcept {
  errno = ErrnoOf(nError);
  return nullptr;
}

// Windows refuses to create a file in the place of a folder as it refuses what is not allowed.
DWORD ReasonOfNew(const WidePath& path, DWORD nError) noexcept {
  if (nError != ERROR_ACCESS_DENIED) return nError;
  const DWORD attributes = GetFileAttributesW(path.Get());
  return attributes == INVALID_FILE_ATTRIBUTES ? nError : DWORD{ERROR_FILE_EXISTS};
}

// The number of bytes written; less on failure.
size_t WriteAll(HANDLE hFile, const char* pBytes, size_t nCount) noexcept {
  size_t total = 0;
  while (total < nCount) {
    const auto step = static_cast<DWORD>(std::min<size_t>(nCount - total, kLargestStep));
    DWORD written = 0;
    if (WriteFile(hFile, pBytes + total, step, &written, nullptr) == 0 || written == 0) break;
    total += written;
  }
  return total;
}

}  // namespace

bool XPStream::MoveTo(std::int64_t nOffset, DWORD nMethod) noexcept {
  LARGE_INTEGER offset;
  LARGE_INTEGER position;
  offset.QuadPart = nOffset;
  if (SetFilePointerEx(handle, offset, &position, nMethod) == 0) return false;
  systemAt = position.QuadPart;
  return true;
}

// What could not be written stays, for the next try.
bool XPStream::WriteOut() noexcept {
  if (state != kWriting) return true;
  systemAt = -1;
  const size_t written = WriteAll(handle, buffer, end);
  end -= written;
  if (end == 0) {
    state = kIdle;
    return true;
  }
  std::memmove(buffer, buffer + written, end);
  hasFailed = true;
  return false;
}

// Drops what was read ahead, so that the system's position is the stream's.
bool XPStream::DropReadAhead() noexcept {
  if (state != kReading) return true;
  // What came out of a pipe stays for the next read.
  if (!isDisk) return true;
  const auto ahead = static_cast<std::int64_t>(end - start);
  if (ahead != 0 && !MoveTo(-ahead, FILE_CURRENT)) return false;
  state = kIdle;
  start = end = 0;
  return true;
}

// The bytes read, 0 at the end and on failure.
size_t XPStream::ReadSome(char* pBytes, size_t nCount, bool& failed) noexcept {
  const auto step = static_cast<DWORD>(std::min<size_t>(nCount, kLargestStep));
  DWORD got = 0;
  systemAt = -1;
  failed = false;
  if (ReadFile(handle, pBytes, step, &got, nullptr) == 0) {
    const DWORD error = GetLastError();
    failed = error != ERROR_HANDLE_EOF && error != ERROR_BROKEN_PIPE;
    got = 0;
  }
  if (got == 0 && !failed) isAtEnd = true;
  return got;
}

XPStream* XPOpenStream(const char* pszPath, const char* pszMode, int nPermissions) noexcept {
  Opening opening;
  if (!ReadMode(pszMode, opening)) return Fail(ERROR_INVALID_PARAMETER);
  const bool creates = opening.disposition != OPEN_EXISTING;
  const WidePath path(pszPath, creates ? WidePath::kNewName : WidePath::kAny);
  if (!path.IsValid()) return Fail(GetLastError());
  if (opening.isNew && path.IsDevice()) return Fail(ERROR_INVALID_NAME);

  std::unique_ptr<XPStream> stream(new (std::nothrow) XPStream);
  if (stream == nullptr) return Fail(ERROR_NOT_ENOUGH_MEMORY);
  stream->buffer = new (std::nothrow) char[kBufferSize];
  if (stream->buffer == nullptr) return Fail(ERROR_NOT_ENOUGH_MEMORY);

  // A file without write bits is read-only, for all but this handle. A new one does not follow
  // links.
  DWORD flags = (nPermissions & 0222) == 0 ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL;
  if (opening.isNew) flags |= FILE_FLAG_OPEN_REPARSE_POINT;
  stream->handle = CreateFileW(path.Get(), opening.access, kShareAll, nullptr, opening.disposition,
                               creates ? flags : DWORD{FILE_ATTRIBUTE_NORMAL}, nullptr);
  if (stream->handle == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    return Fail(opening.isNew ? ReasonOfNew(path, error) : error);
  }
  // Only files are created anew.
  const DWORD type = opening.isNew ? DWORD{FILE_TYPE_DISK} : GetFileType(stream->handle);
  if (type == FILE_TYPE_UNKNOWN && GetLastError() != ERROR_SUCCESS) return Fail(GetLastError());
  stream->isDisk = type == FILE_TYPE_DISK;
  stream->canWrite = pszMode[0] != 'r' || (opening.access & GENERIC_WRITE) != 0;
  if (stream->isDisk && opening.empties && SetEndOfFile(stream->handle) == 0) {
    return Fail(GetLastError());
  }
  if (stream->isDisk && opening.appends && !stream->MoveTo(0, FILE_END)) {
    return Fail(GetLastError());
  }
  return stream.release();
}

// The system writes out only through a handle that may write.
XPStream* XPOpenToSync(const char* pszPath) noexcept { return XPOpenStream(pszPath, "r+b", 0666); }

bool XPCloseStream(XPStream* pStream) noexcept {
  const bool written = pStream->WriteOut();
  delete pStream;
  return written;
}

bool XPFlushStream(XPStream* pStream) noexcept { return pStream->WriteOut(); }

bool XPIsAtEnd(XPStream* pStream) noexcept { return pStream->isAtEnd; }

bool XPHasStreamError(XPStream* pStream) noexcept { return pStream->hasFailed; }

bool XPHasLostData(XPStream* pStream) noexcept { return pStream->canWrite && pStream->hasFailed; }

bool XPIsRegularStream(XPStream* pStream) noexcept { return pStream->isDisk; }

std::int64_t XPTellStream(XPStream* pStream) noexcept {
  if (!pStream->isDisk) return -1;
  if (pStream->systemAt < 0 && !pStream->MoveTo(0, FILE_CURRENT)) return -1;
  const std::int64_t position = pStream->systemAt;
  if (pStream->state == XPStream::kWriting)
    return position + static_cast<std::int64_t>(pStream->end);
  return position - static_cast<std::int64_t>(pStream->end - pStream->start);
}

bool XPSeekStream(XPStream* pStream, std::int64_t nOffset, int nWhence) noexcept {
  static_assert(ZTKFromStart == FILE_BEGIN && ZTKFromCurrent == FILE_CURRENT &&
                ZTKFromEnd == FILE_END);
  if (!pStream->isDisk || nWhence < ZTKFromStart || nWhence > ZTKFromEnd) return false;
  if (!pStream->WriteOut() || !pStream->DropReadAhead()) return false;
  if (!pStream->MoveTo(nOffset, static_cast<DWORD>(nWhence))) return false;
  pStream->isAtEnd = false;
  return true;
}

size_t XPReadStream(XPStream* pStream, void* pBuffer, size_t nCount, bool* pFailed) noexcept {
  XPStream& stream = *pStream;
  auto* const bytes = static_cast<char*>(pBuffer);
  bool failed = !stream.WriteOut();
  size_t total = 0;
  while (!failed && total < nCount) {
    const size_t wanted = nCount - total;
    if (stream.state == XPStream::kReading && stream.start < stream.end) {
      const size_t step = std::min(wanted, stream.end - stream.start);
      std::memcpy(bytes + total, stream.buffer + stream.start, step);
      stream.start += step;
      total += step;
    } else if (wanted >= kBufferSize) {
      stream.state = XPStream::kIdle;
      stream.start = stream.end = 0;
      const size_t got = stream.ReadSome(bytes + total, wanted, failed);
      if (got == 0) break;
      total += got;
    } else {
      stream.state = XPStream::kReading;
      stream.start = 0;
      stream.end = stream.ReadSome(stream.buffer, kBufferSize, failed);
      if (stream.end == 0) break;
    }
  }
  // The mark of a stream that can be written stands for what was lost.
  if (failed && !stream.canWrite) stream.hasFailed = true;
  if (pFailed != nullptr) *pFailed = failed;
  return total;
}

size_t XPWriteStream(XPStream* pStream, const void* pBuffer, size_t nCount) noexcept {
  XPStream& stream = *pStream;
  const auto* const bytes = static_cast<const char*>(pBuffer);
  if (!stream.canWrite || !stream.DropReadAhead()) {
    stream.hasFailed = true;
    return 0;
  }
  stream.isAtEnd = false;
  // Past the end of the buffer, and to what is no file, at once.
  const size_t room = stream.state == XPStream::kWriting ? kBufferSize - stream.end : kBufferSize;
  if (!stream.isDisk || nCount > room) {
    if (!stream.WriteOut()) return 0;
    if (!stream.isDisk || nCount >= kBufferSize) {
      stream.systemAt = -1;
      const size_t written = WriteAll(stream.handle, bytes, nCount);
      if (written < nCount) stream.hasFailed = true;
      return written;
    }
  }
  if (stream.state != XPStream::kWriting) {
    stream.state = XPStream::kWriting;
    stream.start = stream.end = 0;
  }
  std::memcpy(stream.buffer + stream.end, bytes, nCount);
  stream.end += nCount;
  return nCount;
}

bool XPUnreadStream(XPStream* pStream, const void* pBuffer, size_t nCount) noexcept {
  XPStream& stream = *pStream;
  if (!stream.WriteOut()) return false;
  if (stream.state != XPStream::kReading) {
    stream.state = XPStream::kReading;
    stream.start = stream.end = 0;
  }
  if (nCount > stream.start) {
    const size_t count = stream.end - stream.start;
    if (nCount + count > kBufferSize) return false;
    std::memmove(stream.buffer + nCount, stream.buffer + stream.start, count);
    stream.start = nCount;
    stream.end = nCount + count;
  }
  stream.start -= nCount;
  std::memcpy(stream.buffer + stream.start, pBuffer, nCount);
  stream.isAtEnd = false;
  return true;
}

bool XPSyncStream(XPStream* pStream) noexcept {
  if (FlushFileBuffers(pStream->handle) != 0) return true;
  const DWORD error = GetLastError();
  // Some file systems of networks write out nothing on demand.
  if (error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED) return true;
  if (!pStream->isDisk) return error == ERROR_ACCESS_DENIED || error == ERROR_INVALID_HANDLE;
  if (error != ERROR_ACCESS_DENIED || pStream->canWrite) return false;
  const FileHandle writer(ReOpenFile(pStream->handle, GENERIC_WRITE, kShareAll, 0));
  return writer.IsOpen() && FlushFileBuffers(writer.Get()) != 0;
}

int XPGetNewFilePermissions(int nPermissions) noexcept { return nPermissions; }

bool XPCanRead(const char* pszPath) noexcept {
  const WidePath path(pszPath);
  // Opening a pipe would take one of its instances.
  if (path.IsPipe())
    return WaitNamedPipeW(path.Get(), 1) != 0 || GetLastError() == ERROR_SEM_TIMEOUT;
  return OpenExisting(path, GENERIC_READ).IsOpen();
}
