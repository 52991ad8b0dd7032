#include "ztk/stream/input_stream.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "ztk/stream/output_stream.h"
#include "ztk/stream/stream_bytes.h"

ZTKInputStream::~ZTKInputStream() { FreeWBack(); }

char ZTKInputStream::Peek() {
  char ch = 0;
  Read(&ch, 1);
  if (m_lastError != ZTK_STREAM_NO_ERROR) return 0;
  Ungetch(ch);
  return ch;
}

ZTKInputStream& ZTKInputStream::Read(void* pBuffer, unsigned long nCount) {
  m_nLastCount = 0;
  // 0 wraps, and a count near the limit of the last count is cut.
  if (pBuffer == nullptr || nCount - 1 >= INT32_MAX || m_pWBack != nullptr) [[unlikely]] {
    return ReadUnusual(static_cast<char*>(pBuffer), nCount);
  }
  const unsigned long taken = OnSysRead(pBuffer, nCount);
  if (taken < nCount) [[unlikely]] {
    if (taken > 0) ReadOn(static_cast<char*>(pBuffer), nCount, taken);
    return *this;
  }
  m_nLastCount = static_cast<uint32_t>(nCount);
  return *this;
}

// What is rare: nothing to read, pushed-back bytes, or a very large piece.
[[gnu::noinline]] ZTKInputStream& ZTKInputStream::ReadUnusual(char* pNext, unsigned long nCount) {
  if (pNext == nullptr || nCount == 0) return *this;
  const unsigned long wanted = ZTKClampCount(nCount);
  const unsigned long pushedBack = GetWBack(pNext, wanted);
  const unsigned long taken =
      pushedBack != 0 ? pushedBack : std::min(OnSysRead(pNext, wanted), wanted);
  if (taken != 0) ReadOn(pNext, wanted, taken);
  return *this;
}

// Continues a read whose first piece was delivered.
void ZTKInputStream::ReadOn(char* pNext, unsigned long nRemaining, unsigned long nTaken) {
  for (;;) {
    m_nLastCount += static_cast<uint32_t>(nTaken);
    if (nTaken == nRemaining) break;
    // Once something was delivered, a source at its end is not asked again.
    if (nTaken > 0 && !CanRead()) break;
    pNext += nTaken;
    nRemaining -= nTaken;
    nTaken = std::min(OnSysRead(pNext, nRemaining), nRemaining);
    if (nTaken == 0) break;
  }
}

unsigned long ZTKInputStream::LastRead() const { return m_nLastCount; }

bool ZTKInputStream::CanRead() const { return m_lastError != ZTK_STREAM_EOF || WBackLeft() > 0; }

bool ZTKInputStream::Eof() const { return m_lastError == ZTK_STREAM_EOF && WBackLeft() == 0; }

long ZTKInputStream::SeekI(long nOffset, ZTKSeekMode mode) {
  if (m_lastError == ZTK_STREAM_EOF) m_lastError = ZTK_STREAM_NO_ERROR;
  FreeWBack();
  return OnSysSeek(nOffset, mode);
}

long ZTKInputStream::TellI() const {
  const long pos = OnSysTell();
  if (pos == -1) return -1;
  // Unsigned, so that no position a source may claim overflows.
  return static_cast<long>(static_cast<unsigned long>(pos) - WBackLeft());
}

ZTKInputStream& ZTKInputStream::Read(ZTKOutputStream& out) {
  char chunk[5120];
  for (;;) {
    const unsigned long count = Read(chunk, sizeof chunk).LastRead();
    if (count == 0) break;
    if (out.Write(chunk, count).LastWrite() != count) break;
  }
  return *this;
}

unsigned long ZTKInputStream::Ungetch(const void* pBuffer, unsigned long nCount) {
  if (pBuffer == nullptr || nCount == 0) return 0;
  if (m_lastError > ZTK_STREAM_EOF) return 0;
  char* const room = AllocSpaceWBack(nCount);
  if (room == nullptr) return 0;

  if (m_lastError == ZTK_STREAM_EOF) m_lastError = ZTK_STREAM_NO_ERROR;
  std::memcpy(room, pBuffer, nCount);
  return nCount;
}

bool ZTKInputStream::Ungetch(char ch) { return Ungetch(&ch, 1) == 1; }

char* ZTKInputStream::AllocSpaceWBack(unsigned long nCount) noexcept {
  const uint32_t unread = WBackLeft();
  if (nCount > UINT32_MAX - unread) return nullptr;  // The size field could not hold it.
  const auto added = static_cast<uint32_t>(nCount);
  auto* const block = static_cast<char*>(std::malloc(size_t{unread} + added));
  if (block == nullptr) return nullptr;

  if (m_pWBack != nullptr) {
    std::memcpy(block + added, m_pWBack + m_nWBackPos, unread);
    std::free(m_pWBack);
  }
  m_pWBack = block;
  m_nWBackPos = 0;
  m_nWBackSize = unread + added;
  return block;
}

void ZTKInputStream::FreeWBack() noexcept {
  std::free(m_pWBack);
  m_pWBack = nullptr;
  m_nWBackSize = 0;
  m_nWBackPos = 0;
}

unsigned long ZTKInputStream::ConsumeWBack(void* pBuffer, unsigned long nCount) noexcept {
  const uint32_t taken = std::min(WBackLeft(), ZTKClampCount(nCount));
  if (taken == 0 || pBuffer == nullptr) return 0;
  std::memcpy(pBuffer, m_pWBack + m_nWBackPos, taken);
  m_nWBackPos += taken;
  if (m_nWBackPos == m_nWBackSize) FreeWBack();
  return taken;
}
