#include "ztk/stream/counting_stream.h"

#include <algorithm>

#include "ztk/foundation/word.h"
#include "ztk/stream/internal/seek_mode.h"

ZTKCountingOutputStream::~ZTKCountingOutputStream() = default;

unsigned long ZTKCountingOutputStream::GetSize() const { return m_nCounted; }

long ZTKCountingOutputStream::OnSysSeek(long nOffset, ZTKSeekMode mode) {
  if (!ZTKIsSeekMode(mode)) return -1;
  const int64_t origin = mode == ZTKFromStart ? 0 : mode == ZTKFromEnd ? m_nCounted : m_nPos;
  // Written so that no sum of a wild offset is formed.
  if (nOffset < INT32_MIN - origin || nOffset > int64_t{UINT32_MAX} - origin) return -1;
  const int64_t target = origin + nOffset;
  if (!ZTKFitsLong(target)) return -1;  // Of 32 bits, half the positions are beyond it.
  m_nPos = static_cast<uint32_t>(target);
  if (m_nPos > m_nCounted) {
    m_nCounted = m_nPos;
    m_nLastCount = m_nPos;  // The size shows in LastWrite() too.
  }
  return static_cast<long>(target);
}

long ZTKCountingOutputStream::OnSysTell() const {
  return ZTKFitsLong(m_nPos) ? static_cast<long>(m_nPos) : -1;
}

unsigned long ZTKCountingOutputStream::OnSysWrite(const void*, unsigned long nCount) {
  const uint32_t left = UINT32_MAX - m_nPos;
  if (nCount > left) m_lastError = ZTK_STREAM_WRITE_ERROR;
  m_nPos += static_cast<uint32_t>(std::min<uint64_t>(nCount, left));
  m_nCounted = std::max(m_nCounted, m_nPos);
  return m_nPos;
}
