#include <fcntl.h>
#include <stdio_ext.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "ztk/file/internal/file_xp.h"
#include "ztk/platform/unix/descriptor.h"

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

std::FILE* XPOpenStream(const char* pszPath, const char* pszMode, int nPermissions) noexcept {
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
  return stream;
}

bool XPCanRead(const char* pszPath) noexcept {
  const int descriptor = OpenDescriptor(pszPath, O_RDONLY | O_NONBLOCK | O_NOCTTY);
  if (descriptor < 0) return false;
  close(descriptor);
  return true;
}

size_t XPReadStream(std::FILE* pStream, void* pBuffer, size_t nCount, bool* pFailed) noexcept {
  // In C, changing direction without a flush or a seek is undefined.
  if (__fwriting(pStream) != 0) std::fflush(pStream);

  // Nothing is buffered for writing any more: a failure from here on is a read error.
  const bool keepsError = XPHasLostData(pStream);
  size_t total = 0;
  for (;;) {
    errno = 0;
    total += std::fread(static_cast<char*>(pBuffer) + total, 1, nCount - total, pStream);
    const bool failed = total < nCount && std::feof(pStream) == 0;
    if (pFailed != nullptr) *pFailed = failed;
    if (!failed) return total;
    const bool interrupted = errno == EINTR;
    // The error flag of a stream that can be written stands for what was lost.
    if (!keepsError && (interrupted || __fwritable(pStream) != 0)) std::clearerr(pStream);
    if (!interrupted) return total;
  }
}

size_t XPWriteStream(std::FILE* pStream, const void* pBuffer, size_t nCount) noexcept {
  if (__freading(pStream) != 0) std::fseek(pStream, 0, SEEK_CUR);

  const bool continues = __fbufsize(pStream) == 1;  // Unbuffered.
  size_t total = 0;
  for (;;) {
    errno = 0;
    total += std::fwrite(static_cast<const char*>(pBuffer) + total, 1, nCount - total, pStream);
    if (total == nCount || errno != EINTR || !continues) return total;
    std::clearerr(pStream);
  }
}

bool XPUnreadStream(std::FILE* pStream, const void* pBuffer, size_t nCount) noexcept {
  const auto* const bytes = static_cast<const unsigned char*>(pBuffer);
  while (nCount > 0 && std::ungetc(bytes[nCount - 1], pStream) != EOF) --nCount;
  return nCount == 0;
}

bool XPIsRegularStream(std::FILE* pStream) noexcept {
  struct stat status;
  return fstat(fileno(pStream), &status) == 0 && S_ISREG(status.st_mode);
}

bool XPHasLostData(std::FILE* pStream) noexcept {
  return __fwritable(pStream) != 0 && std::ferror(pStream) != 0;
}

bool XPSyncStream(std::FILE* pStream) noexcept { return SyncIfKept(fileno(pStream)); }
