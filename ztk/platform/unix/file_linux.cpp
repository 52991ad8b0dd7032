// Reading and writing by turns: only extensions of stdio tell what a stream did last.
#include <stdio_ext.h>

#include <cerrno>
#include <cstdio>

#include "ztk/file/internal/file_xp.h"
#include "ztk/platform/unix/stream.h"

size_t XPReadStream(XPStream* pStream, void* pBuffer, size_t nCount, bool* pFailed) noexcept {
  std::FILE* const file = FileOf(pStream);
  // In C, changing direction without a flush or a seek is undefined.
  if (__fwriting(file) != 0) std::fflush(file);

  // Nothing is buffered for writing any more: a failure from here on is a read error.
  const bool keepsError = XPHasLostData(pStream);
  size_t total = 0;
  for (;;) {
    errno = 0;
    total += std::fread(static_cast<char*>(pBuffer) + total, 1, nCount - total, file);
    const bool failed = total < nCount && std::feof(file) == 0;
    if (pFailed != nullptr) *pFailed = failed;
    if (!failed) return total;
    const bool interrupted = errno == EINTR;
    // The error flag of a stream that can be written stands for what was lost.
    if (!keepsError && (interrupted || __fwritable(file) != 0)) std::clearerr(file);
    if (!interrupted) return total;
  }
}

size_t XPWriteStream(XPStream* pStream, const void* pBuffer, size_t nCount) noexcept {
  std::FILE* const file = FileOf(pStream);
  if (__freading(file) != 0) std::fseek(file, 0, SEEK_CUR);

  const bool continues = __fbufsize(file) == 1;  // Unbuffered.
  size_t total = 0;
  for (;;) {
    errno = 0;
    total += std::fwrite(static_cast<const char*>(pBuffer) + total, 1, nCount - total, file);
    if (total == nCount || errno != EINTR || !continues) return total;
    std::clearerr(file);
  }
}

bool XPHasLostData(XPStream* pStream) noexcept {
  std::FILE* const file = FileOf(pStream);
  return __fwritable(file) != 0 && std::ferror(file) != 0;
}
