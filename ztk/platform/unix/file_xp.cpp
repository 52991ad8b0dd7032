#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ztk/file/internal/file_xp.h"
#include "ztk/file/seek_mode.h"
#include "ztk/platform/unix/descriptor.h"
#include "ztk/platform/unix/stream.h"

namespace {

// The flags of open for a mode of fopen; -1 for an invalid one.
int OpenFlags(const char* pszMode) noexcept {
  const bool update = std::strchr(pszMode, '+') != nullptr;
  const int access = update ? O_RDWR : O_WRONLY;
  switch (pszMode[0]) {
    case 'r':
      return update ? O_RDWR : O_RDONLY;
    case 'w':
      if (std::strchr(pszMode, 'x') != nullptr) return access | O_CREAT | O_EXCL | O_NOFOLLOW;
      return access | O_CREAT | O_TRUNC;
    case 'a':
      return access | O_CREAT | O_APPEND;
    default:
      return -1;
  }
}

// A file that is appended to begins at its end, so that its position says whether it is new.
// Pipes have no position.
bool GoToAppend(int nDescriptor, int nFlags) noexcept {
  if ((nFlags & O_APPEND) == 0) return true;
  return lseek(nDescriptor, 0, SEEK_END) != -1 || errno == ESPIPE;
}

// On any error stdio forgets what it had buffered, so an interrupted write to a pipe could not be
// continued: pipes are written without a buffer. Files do not interrupt.
void UnbufferPipe(std::FILE* pStream, int nDescriptor) noexcept {
  struct stat status;
  if (fstat(nDescriptor, &status) != 0) return;
  if (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)) std::setbuf(pStream, nullptr);
}

}  // namespace

XPStream* XPOpenStream(const char* pszPath, const char* pszMode, int nPermissions) noexcept {
  const int flags = OpenFlags(pszMode);
  if (flags < 0) {
    errno = EINVAL;
    return nullptr;
  }
  const auto mode = static_cast<mode_t>(XPGetNewFilePermissions(nPermissions)) & 07777;
  const int descriptor = OpenDescriptor(pszPath, flags, mode);
  if (descriptor < 0) return nullptr;

  // fdopen neither creates nor empties, so the 'x' means nothing to it; nor does it go to the end.
  std::FILE* const stream = GoToAppend(descriptor, flags) ? fdopen(descriptor, pszMode) : nullptr;
  if (stream == nullptr) {
    const int reason = errno;
    close(descriptor);
    if ((flags & O_EXCL) != 0) unlink(pszPath);  // Made just now, and by nobody else.
    errno = reason;
    return nullptr;
  }
  if ((flags & O_ACCMODE) != O_RDONLY) UnbufferPipe(stream, descriptor);
  return StreamOf(stream);
}

// A descriptor needs no right to write for that.
XPStream* XPOpenToSync(const char* pszPath) noexcept { return XPOpenStream(pszPath, "rb", 0); }

bool XPCloseStream(XPStream* pStream) noexcept { return std::fclose(FileOf(pStream)) == 0; }

bool XPFlushStream(XPStream* pStream) noexcept { return std::fflush(FileOf(pStream)) == 0; }

bool XPIsAtEnd(XPStream* pStream) noexcept { return std::feof(FileOf(pStream)) != 0; }

bool XPHasStreamError(XPStream* pStream) noexcept { return std::ferror(FileOf(pStream)) != 0; }

std::int64_t XPTellStream(XPStream* pStream) noexcept { return ftello(FileOf(pStream)); }

bool XPSeekStream(XPStream* pStream, std::int64_t nOffset, int nWhence) noexcept {
  static_assert(sizeof(off_t) == sizeof nOffset);
  static_assert(ZTKFromStart == SEEK_SET && ZTKFromCurrent == SEEK_CUR && ZTKFromEnd == SEEK_END);
  return fseeko(FileOf(pStream), nOffset, nWhence) == 0;
}

bool XPCanRead(const char* pszPath) noexcept {
  const int descriptor = OpenDescriptor(pszPath, O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (descriptor < 0) return false;
  close(descriptor);
  return true;
}

bool XPUnreadStream(XPStream* pStream, const void* pBuffer, size_t nCount) noexcept {
  const auto* const bytes = static_cast<const unsigned char*>(pBuffer);
  while (nCount > 0 && std::ungetc(bytes[nCount - 1], FileOf(pStream)) != EOF) --nCount;
  return nCount == 0;
}

bool XPIsRegularStream(XPStream* pStream) noexcept {
  struct stat status;
  return fstat(fileno(FileOf(pStream)), &status) == 0 && S_ISREG(status.st_mode);
}

bool XPSyncStream(XPStream* pStream) noexcept { return SyncIfKept(fileno(FileOf(pStream))); }
