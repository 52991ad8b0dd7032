#include "ztk/stream/stream_buffer.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include "ztk/foundation/word.h"
#include "ztk/log/log.h"
#include "ztk/stream/input_stream.h"
#include "ztk/stream/internal/seek_mode.h"
#include "ztk/stream/internal/stream_buffer_storage.h"
#include "ztk/stream/output_stream.h"

namespace {

constexpr unsigned long kCopyChunk = 5120;

// A position as the interface gives it: -1 for one that is beyond a `long` of 32 bits.
constexpr long AsLong(int64_t nPos) { return ZTKFitsLong(nPos) ? static_cast<long>(nPos) : -1; }

}  // namespace

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

// Whole fills within the request bypass the storage, so that a byte is copied once; the storage is
// left as if it had held them.
unsigned long ZTKStreamBuffer::ReadRefilling(char* pDest, uint32_t nCount) {
  ZTKInputStream* const in = GetInputStream();
  const bool mayBypass = in != nullptr && pDest != nullptr && (m_storage & kReadOnly) == 0;
  uint32_t remaining = nCount;
  uint32_t bypassed = 0;  // Bytes of the last fill, if it bypassed the storage.
  const auto fill = [&] {
    if (!mayBypass || remaining <= m_nSize) {
      if (!FillFrom(in)) return false;
      bypassed = 0;
      return true;
    }
    const uint32_t count = std::min(ZTKClampCount(in->OnSysRead(pDest, m_nSize)), m_nSize);
    if (count == 0) return false;
    pDest += count;
    remaining -= count;
    bypassed = count;
    return true;
  };

  for (;;) {
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
      if (bypassed > 0) {
        std::memcpy(m_pStart, pDest - bypassed, bypassed);
        m_pPos = m_pEnd = m_pStart + bypassed;
      }
      SetError(ZTK_STREAM_EOF, nullptr);
      return nCount - remaining;
    } while (BytesToEnd() == 0);
  }
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

void ZTKStreamBuffer::PutToBuffer(const void* pSrc, unsigned long nCount) noexcept {
  if (pSrc == nullptr || nCount == 0) return;
  if (nCount <= BytesToEnd()) {
    Store(pSrc, nCount);
  } else if (CanAppend(nCount)) {
    Append(pSrc, nCount);
  } else {
    PutPastEnd(pSrc, ZTKClampCount(nCount));
  }
}

unsigned long ZTKStreamBuffer::Write(const void* pSrc, unsigned long nCount) {
  if (pSrc == nullptr || nCount == 0) return 0;
  SetError(ZTK_STREAM_NO_ERROR, nullptr);
  const uint32_t wanted = ZTKClampCount(nCount);
  unsigned long accepted = wanted;
  if (m_nSize == 0 && m_bFixed != 0) {
    accepted = WriteUnbuffered(pSrc, wanted);
  } else {
    if (wanted <= BytesToEnd() || m_bFixed == 0) {
      PutToBuffer(pSrc, wanted);
    } else {
      accepted = WriteFlushing(static_cast<const char*>(pSrc), wanted);
    }
    SetLastCount(accepted);
  }
  if (ZTKIsClamped(nCount)) [[unlikely]]
    SetError(ZTK_STREAM_WRITE_ERROR, nullptr);
  return accepted;
}

unsigned long ZTKStreamBuffer::WriteUnbuffered(const void* pSrc, uint32_t nCount) {
  ZTKOutputStream* const out = GetOutputStream();
  if (out == nullptr) return 0;
  const unsigned long count = out->OnSysWrite(pSrc, nCount);
  SetLastCount(count);
  return count;
}

// Whole buffers bypass the storage, so that a byte is copied once; the storage is left as if it had
// held them: a later seek can make part of it wait once more.
unsigned long ZTKStreamBuffer::WriteFlushing(const char* pSrc, uint32_t nCount) {
  ZTKOutputStream* const out = GetOutputStream();
  const bool mayBypass = out != nullptr && m_bFlushable != 0 && (m_storage & kReadOnly) == 0 &&
                         !Overlaps(pSrc, nCount);
  uint32_t remaining = nCount;
  const char* bypassed = nullptr;  // The last buffer that bypassed the storage.
  for (;;) {
    const auto left = static_cast<uint32_t>(BytesToEnd());
    if (remaining <= left) {
      if (bypassed != nullptr) {
        std::memcpy(m_pStart + remaining, bypassed + remaining, left - remaining);
      }
      PutToBuffer(pSrc, remaining);
      return nCount;
    }
    remaining -= left;
    bool taken;
    if (mayBypass && left > 0 && m_pPos == m_pStart) {
      m_pPos = m_pEnd;  // All of it waits while the sink looks at it.
      taken = out->OnSysWrite(pSrc, left) >= left;
      if (taken) {
        m_pPos = m_pStart;
        bypassed = pSrc;
      } else {
        std::memcpy(m_pStart, pSrc, left);  // The next flush sends all of it again.
      }
    } else {
      PutToBuffer(pSrc, left);
      taken = FlushTo(out);
    }
    pSrc += left;
    if (!taken) {
      SetError(ZTK_STREAM_WRITE_ERROR, nullptr);
      return nCount - remaining;
    }
  }
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
  const auto base = static_cast<uint64_t>(pos);
  // The source of a read-ahead buffer is ahead of the reader by what is still unread.
  const bool isAhead = m_mode == read && m_bFlushable != 0;
  return AsLong(static_cast<int64_t>(isAhead ? base - BytesToEnd() : base + BytesFromStart()));
}

long ZTKStreamBuffer::Seek(long nOffset, ZTKSeekMode mode) {
  const auto used = static_cast<int64_t>(BytesFromStart());
  const auto left = static_cast<int64_t>(BytesToEnd());
  if (!ZTKIsSeekMode(mode)) return -1;

  if (m_bFlushable != 0) {
    if (mode == ZTKFromCurrent) {
      if (-used <= nOffset && nOffset <= left) {
        m_pPos += nOffset;
        return nOffset;
      }
      // The stream stands at the end of the buffer.
      nOffset = nOffset < LONG_MIN + left ? LONG_MIN : static_cast<long>(nOffset - left);
    }
    const long pos = m_pStream != nullptr ? m_pStream->OnSysSeek(nOffset, mode) : -1;
    ResetBuffer();
    return pos;
  }

  const int64_t length = used + left;
  const int64_t origin = mode == ZTKFromStart ? 0 : mode == ZTKFromEnd ? length : used;
  if (nOffset < -origin || nOffset > length - origin || !ZTKFitsLong(origin + nOffset)) return -1;
  m_pPos = m_pStart + origin + nOffset;
  return static_cast<long>(origin + nOffset);
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
      } else if (pSrc->m_pStream == nullptr) {  // Memory has nothing to push back into.
        pSrc->m_pPos -= std::min<size_t>(rest, pSrc->BytesFromStart());
      }
    }
    total += accepted;
    if (accepted != kCopyChunk) break;
  }
  return total;
}
