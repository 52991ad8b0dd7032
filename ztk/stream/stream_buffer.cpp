#include "ztk/stream/stream_buffer.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "ztk/foundation/log.h"
#include "ztk/stream/input_stream.h"
#include "ztk/stream/output_stream.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // Polymorphic, but laid out plainly.
struct ZTKStreamBufferLayout {
  static constexpr size_t kWord = sizeof(void*);
  static constexpr size_t kTail = 6 * kWord;  // The size takes a whole word: a pointer follows.
  static_assert(offsetof(ZTKStreamBuffer, m_pStart) == kWord);
  static_assert(offsetof(ZTKStreamBuffer, m_pEnd) == 2 * kWord);
  static_assert(offsetof(ZTKStreamBuffer, m_pPos) == 3 * kWord);
  static_assert(offsetof(ZTKStreamBuffer, m_nSize) == 4 * kWord);
  static_assert(offsetof(ZTKStreamBuffer, m_pStream) == 5 * kWord);
  static_assert(offsetof(ZTKStreamBuffer, m_mode) == kTail);
  static_assert(offsetof(ZTKStreamBuffer, m_storage) == kTail + 4);
  static_assert(offsetof(ZTKStreamBuffer, m_bFixed) == kTail + 8);
  static_assert(offsetof(ZTKStreamBuffer, m_bFlushable) == kTail + 12);
  static_assert(sizeof(ZTKStreamBuffer) == kTail + 16);
};
#pragma GCC diagnostic pop

namespace {

constexpr unsigned long kCopyChunk = 5120;

// The block behind a capacity that grew: the next of four steps per doubling, so that small writes
// at the end rarely move the storage. A function of the capacity alone, because the buffer has no
// field for the size of its block. No block is larger than what a difference of pointers can
// express: a result below the capacity means that there cannot be one.
constexpr uint64_t BlockSize(uint32_t nSize) {
  const uint64_t last = uint64_t{nSize} - (nSize > 0 ? 1 : 0);
  const uint64_t step = std::max<uint64_t>(std::bit_floor(last) / 4, ZTKStreamBuffer::kBlockStep);
  return std::min<uint64_t>((last | (step - 1)) + 1, PTRDIFF_MAX);
}
static_assert(BlockSize(0) == 256 && BlockSize(1) == 256 && BlockSize(256) == 256);
static_assert(BlockSize(257) == 512 && BlockSize(2048) == 2048 && BlockSize(2049) == 2560);
static_assert(BlockSize(1u << 30) == 1u << 30);

}  // namespace

ZTKStreamBuffer::ZTKStreamBuffer(const ZTKStreamBuffer& other) noexcept
    : m_pStart(other.m_pStart),
      m_pEnd(other.m_pEnd),
      m_pPos(other.m_pPos),
      m_nSize(other.m_nSize),
      m_pStream(other.m_pStream),
      m_mode(other.m_mode),
      m_storage(kShared | (other.m_storage & kReadOnly)),
      m_bFixed(other.m_bFixed),
      m_bFlushable(other.m_bFlushable) {}

ZTKStreamBuffer::~ZTKStreamBuffer() { FreeBuffer(); }

// ---- storage ----

void ZTKStreamBuffer::Adopt(void* pStart, unsigned long nSize, uint32_t storage) noexcept {
  if (pStart != m_pStart) FreeBuffer();  // The same block may be handed over once more.
  m_pStart = static_cast<char*>(pStart);
  m_nSize = m_pStart != nullptr ? ZTKClampCount(nSize) : 0;
  m_pEnd = m_pStart + m_nSize;
  m_storage = storage;
  ResetBuffer();
}

void ZTKStreamBuffer::SetBufferIO(void* pStart, unsigned long nSize, int bTakeOwnership) noexcept {
  Adopt(pStart, nSize, bTakeOwnership != 0 ? uint32_t{kOwned} : 0);
}

void ZTKStreamBuffer::SetBufferIO(void* pStart, void* pEnd, int bTakeOwnership) noexcept {
  const auto first = reinterpret_cast<uintptr_t>(pStart);
  const auto last = reinterpret_cast<uintptr_t>(pEnd);
  SetBufferIO(pStart, last > first ? static_cast<unsigned long>(last - first) : 0, bTakeOwnership);
}

void ZTKStreamBuffer::SetBufferIO(unsigned long nSize) noexcept {
  if (nSize == 0) {
    FreeBuffer();
    InitBuffer();
    return;
  }
  // Zeroed: a seek can make bytes that nobody wrote part of what is flushed or read.
  void* const block = nSize <= UINT32_MAX ? std::calloc(nSize, 1) : nullptr;
  Adopt(block, nSize, kOwned);
}

void ZTKStreamBuffer::SetReadOnlyBufferIO(const void* pStart, unsigned long nSize) noexcept {
  Adopt(const_cast<void*>(pStart), nSize, kShared | kReadOnly);
}

void ZTKStreamBuffer::ResetBuffer() noexcept {
  SetError(ZTK_STREAM_NO_ERROR, nullptr);
  SetLastCount(0);
  // An empty read-ahead buffer holds nothing behind its position either: a seek back must not find
  // bytes of another place there.
  if (m_mode == read && m_bFlushable != 0) m_pEnd = m_pStart;
  m_pPos = m_pStart;
}

void ZTKStreamBuffer::InitBuffer() noexcept {
  m_pStart = m_pEnd = m_pPos = nullptr;
  m_nSize = 0;
  m_storage = kOwned;
}

void ZTKStreamBuffer::Init() noexcept {
  InitBuffer();
  m_bFixed = 1;
}

void ZTKStreamBuffer::FreeBuffer() noexcept {
  if ((m_storage & kOwned) == 0 || m_pStart == nullptr) return;
  std::free(m_pStart);
  InitBuffer();
}

bool ZTKStreamBuffer::MoveToBlock(uint32_t nNewSize) noexcept {
  const uint64_t blockSize = BlockSize(nNewSize);
  if (nNewSize > blockSize) return false;
  const size_t used = BytesFromStart();
  char* block;
  if ((m_storage & kShared) != 0) {
    block = static_cast<char*>(std::malloc(static_cast<size_t>(blockSize)));
    if (block == nullptr) return false;
    if (m_nSize > 0) std::memcpy(block, m_pStart, m_nSize);
    m_storage = kOwned | kRounded;
  } else {
    block = static_cast<char*>(std::realloc(m_pStart, static_cast<size_t>(blockSize)));
    if (block == nullptr) return false;
    m_storage |= kRounded;
  }
  m_pStart = block;
  m_pPos = block + used;
  return true;
}

// Adds `nCount` bytes to the capacity.
inline bool ZTKStreamBuffer::Grow(uint32_t nCount) noexcept {
  if (nCount > UINT32_MAX - m_nSize) return false;
  const uint32_t newSize = m_nSize + nCount;
  const bool fits = (m_storage & kRounded) != 0 && newSize <= BlockSize(m_nSize);
  if (!fits && !MoveToBlock(newSize)) return false;

  // The caller writes `nCount` bytes at the position; what it leaves of the new part is zeroed.
  const size_t firstUnwritten = std::max<size_t>(m_nSize, BytesFromStart() + nCount);
  if (firstUnwritten < newSize) std::memset(m_pStart + firstUnwritten, 0, newSize - firstUnwritten);
  m_nSize = newSize;
  m_pEnd = m_pStart + newSize;
  return true;
}

void ZTKStreamBuffer::PutPastEnd(const void* pSrc, uint32_t nCount) noexcept {
  if (m_bFixed != 0) {
    Store(pSrc, BytesToEnd());
    return;
  }
  // Bytes of the storage itself move along when the storage moves.
  const auto offset = reinterpret_cast<uintptr_t>(pSrc) - reinterpret_cast<uintptr_t>(m_pStart);
  const bool inside = m_pStart != nullptr && offset < m_nSize;
  if (!Grow(nCount)) return;
  Store(inside ? m_pStart + offset : pSrc, nCount);
}

// ---- filling and flushing ----

ZTKInputStream* ZTKStreamBuffer::GetInputStream() const noexcept {
  return m_mode == write ? nullptr : dynamic_cast<ZTKInputStream*>(m_pStream);
}

ZTKOutputStream* ZTKStreamBuffer::GetOutputStream() const noexcept {
  return m_mode == read ? nullptr : dynamic_cast<ZTKOutputStream*>(m_pStream);
}

int ZTKStreamBuffer::FillBuffer() { return FillFrom(GetInputStream()) ? 1 : 0; }

bool ZTKStreamBuffer::FillFrom(ZTKInputStream* pIn) {
  if (pIn == nullptr || m_nSize == 0 || (m_storage & kReadOnly) != 0) return false;
  const unsigned long count = std::min<unsigned long>(pIn->OnSysRead(m_pStart, m_nSize), m_nSize);
  if (count == 0) return false;
  m_pEnd = m_pStart + count;
  m_pPos = m_pStart;
  return true;
}

int ZTKStreamBuffer::FlushBuffer() { return FlushTo(GetOutputStream()) ? 1 : 0; }

bool ZTKStreamBuffer::FlushTo(ZTKOutputStream* pOut) {
  if (pOut == nullptr || m_bFlushable == 0 || m_pPos == m_pStart) return false;
  const auto waiting = static_cast<unsigned long>(BytesFromStart());
  if (pOut->OnSysWrite(m_pStart, waiting) < waiting) return false;
  m_pPos = m_pStart;
  return true;
}

// ---- reading ----

unsigned long ZTKStreamBuffer::Read(void* pDest, unsigned long nCount) {
  SetError(ZTK_STREAM_NO_ERROR, nullptr);
  const uint32_t wanted = ZTKClampCount(nCount);
  if (m_nSize == 0) return ReadUnbuffered(pDest, wanted);

  unsigned long delivered = wanted;
  if (wanted <= BytesToEnd()) {
    GetFromBuffer(pDest, wanted);
  } else {
    delivered = ReadRefilling(static_cast<char*>(pDest), wanted);
  }
  SetLastCount(delivered);
  return delivered;
}

unsigned long ZTKStreamBuffer::ReadUnbuffered(void* pDest, uint32_t nCount) {
  ZTKInputStream* const in = GetInputStream();
  if (in == nullptr) return 0;
  const unsigned long count =
      pDest != nullptr ? std::min<unsigned long>(in->OnSysRead(pDest, nCount), nCount) : 0;
  SetLastCount(count);
  return count;
}

// Whole fills that the request swallows are read straight to their destination, so that a byte
// moves once; the storage is left as if they had passed through it.
unsigned long ZTKStreamBuffer::ReadRefilling(char* pDest, uint32_t nCount) {
  ZTKInputStream* const in = GetInputStream();
  const bool mayPass = in != nullptr && pDest != nullptr && (m_storage & kReadOnly) == 0;
  uint32_t remaining = nCount;
  uint32_t passed = 0;  // Bytes of the last fill, if it went past the storage.
  const auto fill = [&] {
    if (!mayPass || remaining <= m_nSize) {
      if (!FillFrom(in)) return false;
      passed = 0;
      return true;
    }
    const uint32_t count = std::min(ZTKClampCount(in->OnSysRead(pDest, m_nSize)), m_nSize);
    if (count == 0) return false;
    pDest += count;
    remaining -= count;
    passed = count;
    return true;
  };

  while (remaining > 0) {
    if (m_pPos == m_pEnd && m_bFlushable != 0) fill();
    const auto left = static_cast<uint32_t>(BytesToEnd());
    if (remaining <= left) {
      GetFromBuffer(pDest, remaining);
      return nCount;
    }
    GetFromBuffer(pDest, left);
    remaining -= left;
    if (pDest != nullptr) pDest += left;
    do {
      if (fill()) continue;
      if (passed > 0) {
        std::memcpy(m_pStart, pDest - passed, passed);
        m_pPos = m_pEnd = m_pStart + passed;
      }
      SetError(ZTK_STREAM_EOF, nullptr);
      return nCount - remaining;
    } while (BytesToEnd() == 0);
  }
  return nCount;
}

char ZTKStreamBuffer::Peek() {
  if (m_pStream == nullptr || m_nSize == 0) {
    ZTKLogWarning("ZTKStreamBuffer:Empty stream");
    return 0;
  }
  if (GetDataLeft() != 0) return *m_pPos;
  SetError(ZTK_STREAM_READ_ERROR, nullptr);
  return 0;
}

char ZTKStreamBuffer::GetChar() {
  ZTKInputStream* const in = GetInputStream();
  if (in == nullptr) return 0;
  char ch = 0;
  if (m_nSize == 0) {
    in->OnSysRead(&ch, 1);
  } else if (GetDataLeft() != 0) {
    GetFromBuffer(&ch, 1);
    SetLastCount(1);
  } else {
    SetError(ZTK_STREAM_READ_ERROR, nullptr);
  }
  return ch;
}

// ---- writing ----

unsigned long ZTKStreamBuffer::Write(const void* pSrc, unsigned long nCount) {
  if (pSrc == nullptr || nCount == 0) return 0;
  SetError(ZTK_STREAM_NO_ERROR, nullptr);
  const uint32_t wanted = ZTKClampCount(nCount);
  if (m_nSize == 0 && m_bFixed != 0) return WriteUnbuffered(pSrc, wanted);

  unsigned long accepted = wanted;
  if (wanted <= BytesToEnd() || m_bFixed == 0) {
    PutToBuffer(pSrc, wanted);
  } else {
    accepted = WriteFlushing(static_cast<const char*>(pSrc), wanted);
  }
  SetLastCount(accepted);
  return accepted;
}

unsigned long ZTKStreamBuffer::WriteUnbuffered(const void* pSrc, uint32_t nCount) {
  ZTKOutputStream* const out = GetOutputStream();
  if (out == nullptr) return 0;
  const unsigned long count = out->OnSysWrite(pSrc, nCount);
  SetLastCount(count);
  return count;
}

// Whole buffers are written straight from their source; only what is not accepted, or does not fill
// a buffer, is stored.
unsigned long ZTKStreamBuffer::WriteFlushing(const char* pSrc, uint32_t nCount) {
  ZTKOutputStream* const out = GetOutputStream();
  const bool mayPass = out != nullptr && m_bFlushable != 0 && (m_storage & kReadOnly) == 0;
  uint32_t remaining = nCount;
  while (remaining > 0) {
    const auto left = static_cast<uint32_t>(BytesToEnd());
    if (remaining <= left) {
      PutToBuffer(pSrc, remaining);
      return nCount;
    }
    remaining -= left;
    bool taken;
    if (mayPass && left > 0 && m_pPos == m_pStart) {
      taken = out->OnSysWrite(pSrc, left) >= left;
      if (!taken)
        PutToBuffer(pSrc, left);  // Waits for the next flush, which sends all of it again.
    } else {
      PutToBuffer(pSrc, left);
      taken = FlushTo(out);
    }
    pSrc += left;
    if (!taken) {
      SetError(ZTK_STREAM_WRITE_ERROR, nullptr);
      break;
    }
  }
  return nCount - remaining;
}

void ZTKStreamBuffer::PutChar(char ch) {
  ZTKOutputStream* const out = GetOutputStream();
  if (out == nullptr) {
    ZTKLogWarning("Empty out stream");
    return;
  }
  if (m_nSize == 0) {
    out->OnSysWrite(&ch, 1);
    return;
  }
  if (GetDataLeft() == 0 && FlushBuffer() == 0) {
    SetError(ZTK_STREAM_WRITE_ERROR, nullptr);
    ZTKLogWarning("TKStreamBuffer::PutChar");  // Without its first letter: readers know it so.
    return;
  }
  PutToBuffer(&ch, 1);
  SetLastCount(1);
}

// ---- position ----

long ZTKStreamBuffer::Tell() const {
  const long pos = m_pStream != nullptr ? m_pStream->OnSysTell() : 0;
  if (m_pStream != nullptr && pos == -1) return -1;
  // Unsigned, so that no position a stream may claim overflows.
  const auto base = static_cast<unsigned long>(pos);
  // The source of a read-ahead buffer is ahead of the reader by what is still unread.
  if (m_mode == read && m_bFlushable != 0) return static_cast<long>(base - BytesToEnd());
  return static_cast<long>(base + BytesFromStart());
}

long ZTKStreamBuffer::Seek(long nOffset, ZTKSeekMode mode) {
  const auto used = static_cast<long>(BytesFromStart());
  const auto left = static_cast<long>(BytesToEnd());
  const bool nearby = -used <= nOffset && nOffset <= left;  // From the current position.

  if (m_bFlushable != 0) {
    if (mode != ZTKFromStart && mode != ZTKFromCurrent && mode != ZTKFromEnd) return -1;
    if (mode == ZTKFromCurrent) {
      if (nearby) {
        m_pPos += nOffset;
        return nOffset;
      }
      // The stream stands at the end of the buffer.
      nOffset = nOffset < LONG_MIN + left ? LONG_MIN : nOffset - left;
    }
    const long pos = m_pStream != nullptr ? m_pStream->OnSysSeek(nOffset, mode) : -1;
    ResetBuffer();
    return pos;
  }

  switch (mode) {
    case ZTKFromStart:
      if (nOffset < 0 || nOffset > used + left) return -1;
      m_pPos = m_pStart + nOffset;
      break;
    case ZTKFromCurrent:
      if (!nearby) return -1;
      m_pPos += nOffset;
      break;
    case ZTKFromEnd:
      if (nOffset > 0 || nOffset < -(used + left)) return -1;
      m_pPos = m_pEnd + nOffset;
      break;
    default:
      return -1;
  }
  return static_cast<long>(BytesFromStart());
}

// ---- buffer to buffer ----

unsigned long ZTKStreamBuffer::Read(ZTKStreamBuffer* pDest) {
  if (m_mode == write || pDest == nullptr || pDest == this) return 0;
  char chunk[kCopyChunk];
  unsigned long total = 0;
  for (;;) {
    const unsigned long count = Read(chunk, sizeof chunk);
    if (count == 0) break;
    const unsigned long accepted = pDest->Write(chunk, count);
    if (accepted == 0) break;
    total += accepted;
  }
  return total;
}

unsigned long ZTKStreamBuffer::Write(ZTKStreamBuffer* pSrc) {
  if (m_mode == read || pSrc == nullptr || pSrc->m_mode == write || pSrc == this) return 0;
  char chunk[kCopyChunk];
  unsigned long total = 0;
  for (;;) {
    const unsigned long count = pSrc->Read(chunk, sizeof chunk);
    if (count == 0) break;
    const unsigned long accepted = Write(chunk, count);
    if (accepted < count) {
      const unsigned long rest = count - accepted;
      if (ZTKInputStream* const in = pSrc->GetInputStream()) {
        in->Ungetch(chunk + accepted, rest);
      } else if (pSrc->m_pStream == nullptr) {
        pSrc->m_pPos -= std::min<size_t>(
            rest,
            pSrc->BytesFromStart());  // Memory has no stream to push back into: it steps back.
      }
    }
    total += accepted;
    if (accepted != kCopyChunk) break;
  }
  return total;
}
