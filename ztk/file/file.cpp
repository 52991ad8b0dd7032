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

// NOLINTNEXTLINE(performance-no-int-to-ptr): a handle is the address of a stream.
std::FILE* StreamOf(ZTKFileHandle h) noexcept { return reinterpret_cast<std::FILE*>(h); }

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
  std::FILE* stream = XPOpenStream(path.c_str(), "wbx", nPermissions);
  bTaken = stream == nullptr && errno == EEXIST;
  return Adopt(stream);
}

bool ZTKFile::Adopt(std::FILE* pStream) noexcept {
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

long ZTKFile::Seek(long nOffset, ZTKSeekMode mode) noexcept {
  if (nOffset == -1) return -1;

  static_assert(ZTKFromStart == SEEK_SET && ZTKFromCurrent == SEEK_CUR && ZTKFromEnd == SEEK_END);
  return ZTKSeek(GetHandle(), nOffset, mode);
}

long ZTKFile::Length() const noexcept {
  const long position = Tell();
  if (position == -1) return -1;
  const long length = ZTKSeek(GetHandle(), 0, SEEK_END);
  if (length == -1) return -1;
  return ZTKSeek(GetHandle(), position, SEEK_SET) == -1 ? -1 : length;
}

bool ZTKFile::XPEof() const noexcept { return ZTKEof(GetHandle()) != 0; }

bool ZTKFile::HasReadError() const noexcept {
  if (m_pStream == nullptr) return false;
  return m_bReadError || (std::ferror(m_pStream) != 0 && !XPHasLostData(m_pStream));
}

bool ZTKFile::HasLostData() const noexcept {
  return m_pStream != nullptr && XPHasLostData(m_pStream);
}

bool ZTKFile::Exists(const char* pszPath) noexcept { return ZTKFileExists(ZTKString(pszPath)); }

int ZTKClose(ZTKFileHandle h) noexcept { return h == 0 ? 0 : std::fclose(StreamOf(h)); }

int ZTKEof(ZTKFileHandle h) noexcept { return h == 0 ? 1 : std::feof(StreamOf(h)); }

int ZTKFsync(ZTKFileHandle h) noexcept { return h == 0 ? 0 : std::fflush(StreamOf(h)); }

long ZTKTell(ZTKFileHandle h) noexcept { return h == 0 ? -1 : std::ftell(StreamOf(h)); }

long ZTKSeek(ZTKFileHandle h, long nOffset, int nWhence) noexcept {
  if (h == 0 || std::fseek(StreamOf(h), nOffset, nWhence) != 0) return -1;
  return std::ftell(StreamOf(h));
}

unsigned int ZTKWrite(ZTKFileHandle h, const void* pBuffer, unsigned int nCount) noexcept {
  if (h == 0 || nCount == 0) return 0;
  return static_cast<unsigned int>(XPWriteStream(StreamOf(h), pBuffer, nCount));
}

unsigned int ZTKRead(ZTKFileHandle h, void* pBuffer, unsigned int nCount) noexcept {
  if (h == 0 || nCount == 0) return 0;
  return static_cast<unsigned int>(XPReadStream(StreamOf(h), pBuffer, nCount));
}
