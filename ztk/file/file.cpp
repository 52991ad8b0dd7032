#include "ztk/file/file.h"

#include <algorithm>
#include <cerrno>
#include <climits>

#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_xp.h"

namespace {

// The raw functions count in 32 bits, and all bits set means failure: larger requests are split.
constexpr unsigned long kLargestStep = 1UL << 30;
constexpr unsigned int kWriteFailed = UINT_MAX;

const char* ModeString(ZTKFile::OpenMode mode) noexcept {
  switch (mode) {
    case ZTKFile::read:
      return "rb";
    case ZTKFile::write:
    case ZTKFile::write_new:
      return "wb";
    case ZTKFile::read_write:
      return "r+b";
    case ZTKFile::append:
      return "ab";
  }
  return "";
}

// A position as a long; -1 where that is too narrow for it.
long AsLong(std::int64_t nPosition) noexcept {
  const auto narrow = static_cast<long>(nPosition);
  return narrow == nPosition ? narrow : -1;
}

}  // namespace

bool ZTKFile::ms_strict = false;

ZTKFile::ZTKFile(const char* pszPath, OpenMode mode) noexcept { XPOpen(pszPath, mode, 0666); }

ZTKFile::~ZTKFile() { Close(); }

bool ZTKFile::XPOpen(const char* pszPath, OpenMode mode, int nPermissions) noexcept {
  const ZTKString path = XPMacPathToCompName(pszPath);
  return Adopt(XPOpenStream(path.c_str(), ModeString(mode), nPermissions));
}

bool ZTKFile::XPCreate(const char* pszPath, bool bOverwrite, int nPermissions) noexcept {
  const ZTKString path = XPMacPathToCompName(pszPath);
  if (bOverwrite) return Adopt(XPOpenStream(path.c_str(), "w+", nPermissions));

  // The probe decides; the exclusive open closes the race between the two.
  if (XPCanRead(path.c_str())) return false;
  return Adopt(XPOpenStream(path.c_str(), "w+x", nPermissions));
}

bool ZTKFile::XPCreateExclusive(const char* pszPath, int nPermissions, bool& bTaken) noexcept {
  const ZTKString path = XPMacPathToCompName(pszPath);
  errno = 0;
  XPStream* const stream = XPOpenStream(path.c_str(), "wbx", nPermissions);
  bTaken = stream == nullptr && errno == EEXIST;
  return Adopt(stream);
}

bool ZTKFile::Adopt(XPStream* pStream) noexcept {
  if (pStream == nullptr) return false;

  Close();
  m_pStream = pStream;
  m_bError = false;
  m_bReadError = false;
  return true;
}

bool ZTKFile::Close() noexcept {
  if (m_pStream == nullptr) return true;

  // After a failed write fclose may succeed: remember the loss here.
  if (ms_strict && XPHasLostData(m_pStream)) m_bError = true;
  const bool closed = ZTKClose(GetHandle()) != -1;
  m_pStream = nullptr;
  if (!ms_strict) return closed;

  if (!closed) m_bError = true;
  return !m_bError;
}

unsigned long ZTKFile::Read(void* pBuffer, unsigned long nCount) noexcept {
  if (m_pStream == nullptr) return 0;
  unsigned long total = 0;
  while (total < nCount) {
    const size_t step = std::min(nCount - total, kLargestStep);
    bool failed = false;
    const size_t got = XPReadStream(m_pStream, static_cast<char*>(pBuffer) + total, step, &failed);
    if (failed) m_bReadError = true;
    total += static_cast<unsigned long>(got);
    if (got < step) break;
  }
  return total;
}

unsigned long ZTKFile::Write(const void* pBuffer, unsigned long nCount) noexcept {
  unsigned long total = 0;
  while (total < nCount) {
    const auto step = static_cast<unsigned int>(std::min(nCount - total, kLargestStep));
    const unsigned int put = ZTKWrite(GetHandle(), static_cast<const char*>(pBuffer) + total, step);
    if (put == kWriteFailed) {
      m_bError = true;
      return 0;
    }
    total += put;
    if (put < step) break;
  }
  if (ms_strict && total < nCount) m_bError = true;
  return total;
}

bool ZTKFile::Flush() noexcept {
  if (ZTKFsync(GetHandle()) != -1) return true;
  if (ms_strict) m_bError = true;
  return false;
}

bool ZTKFile::XPSync() noexcept {
  if (!Flush()) return false;
  return m_pStream == nullptr || XPSyncStream(m_pStream);
}

long ZTKFile::Tell() const noexcept { return ZTKTell(GetHandle()); }

std::int64_t ZTKFile::Tell64() const noexcept { return ZTKTell64(GetHandle()); }

long ZTKFile::Seek(long nOffset, ZTKSeekMode mode) noexcept {
  return nOffset == -1 ? -1 : ZTKSeek(GetHandle(), nOffset, mode);
}

std::int64_t ZTKFile::Seek64(std::int64_t nOffset, ZTKSeekMode mode) noexcept {
  return nOffset == -1 ? -1 : ZTKSeek64(GetHandle(), nOffset, mode);
}

long ZTKFile::Length() const noexcept { return AsLong(Length64()); }

std::int64_t ZTKFile::Length64() const noexcept {
  const std::int64_t position = Tell64();
  if (position == -1) return -1;
  const std::int64_t length = ZTKSeek64(GetHandle(), 0, ZTKFromEnd);
  if (length == -1) return -1;
  return ZTKSeek64(GetHandle(), position, ZTKFromStart) == -1 ? -1 : length;
}

bool ZTKFile::XPEof() const noexcept { return ZTKEof(GetHandle()) != 0; }

bool ZTKFile::HasReadError() const noexcept {
  if (m_pStream == nullptr) return false;
  return m_bReadError || (XPHasStreamError(m_pStream) && !XPHasLostData(m_pStream));
}

bool ZTKFile::HasLostData() const noexcept {
  return m_pStream != nullptr && XPHasLostData(m_pStream);
}

bool ZTKFile::Exists(const char* pszPath) noexcept { return ZTKFileExists(ZTKString(pszPath)); }

int ZTKClose(ZTKFileHandle h) noexcept { return h == 0 || XPCloseStream(XPStreamOf(h)) ? 0 : -1; }

int ZTKEof(ZTKFileHandle h) noexcept { return h == 0 || XPIsAtEnd(XPStreamOf(h)) ? 1 : 0; }

int ZTKFsync(ZTKFileHandle h) noexcept { return h == 0 || XPFlushStream(XPStreamOf(h)) ? 0 : -1; }

long ZTKTell(ZTKFileHandle h) noexcept { return AsLong(ZTKTell64(h)); }

std::int64_t ZTKTell64(ZTKFileHandle h) noexcept {
  return h == 0 ? -1 : XPTellStream(XPStreamOf(h));
}

long ZTKSeek(ZTKFileHandle h, long nOffset, int nWhence) noexcept {
  constexpr bool isNarrow = sizeof(long) < sizeof(std::int64_t);
  const std::int64_t before = isNarrow ? ZTKTell64(h) : 0;
  const std::int64_t position = ZTKSeek64(h, nOffset, nWhence);
  const long result = AsLong(position);
  if (isNarrow && result != position) ZTKSeek64(h, before, ZTKFromStart);
  return result;
}

std::int64_t ZTKSeek64(ZTKFileHandle h, std::int64_t nOffset, int nWhence) noexcept {
  if (h == 0 || !XPSeekStream(XPStreamOf(h), nOffset, nWhence)) return -1;
  return XPTellStream(XPStreamOf(h));
}

unsigned int ZTKWrite(ZTKFileHandle h, const void* pBuffer, unsigned int nCount) noexcept {
  if (h == 0 || nCount == 0) return 0;
  return static_cast<unsigned int>(XPWriteStream(XPStreamOf(h), pBuffer, nCount));
}

unsigned int ZTKRead(ZTKFileHandle h, void* pBuffer, unsigned int nCount) noexcept {
  if (h == 0 || nCount == 0) return 0;
  return static_cast<unsigned int>(XPReadStream(XPStreamOf(h), pBuffer, nCount));
}
