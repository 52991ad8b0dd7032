#include "ztk/stream/memory_stream.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

#include "ztk/stream/internal/stream_buffer_storage.h"

// ---- input ----

ZTKMemoryInputStream::ZTKMemoryInputStream(const void* pData, unsigned long nLength)
    : m_pBuffer(new (std::nothrow) ZTKStreamBuffer(ZTKStreamBuffer::read)),
      m_nLength(ZTKClampCount(nLength)) {
  if (m_pBuffer != nullptr) m_pBuffer->SetReadOnlyBufferIO(pData, nLength);
}

ZTKMemoryInputStream::~ZTKMemoryInputStream() { delete m_pBuffer; }

unsigned long ZTKMemoryInputStream::GetSize() const { return m_nLength; }

long ZTKMemoryInputStream::OnSysSeek(long nOffset, ZTKSeekMode mode) {
  return m_pBuffer != nullptr ? m_pBuffer->Seek(nOffset, mode) : -1;
}

long ZTKMemoryInputStream::OnSysTell() const {
  return m_pBuffer != nullptr ? m_pBuffer->Tell() : -1;
}

char ZTKMemoryInputStream::Peek() {
  if (m_pBuffer == nullptr || m_pBuffer->GetBufferPos() == m_pBuffer->GetBufferEnd()) return 0;
  return *m_pBuffer->GetBufferPos();
}

bool ZTKMemoryInputStream::Eof() const {
  if (m_pBuffer != nullptr && m_pBuffer->GetBufferPos() < m_pBuffer->GetBufferEnd()) return false;
  return WBackLeft() == 0;
}

unsigned long ZTKMemoryInputStream::OnSysRead(void* pBuffer, unsigned long nCount) {
  ZTKStreamBuffer* const buffer = m_pBuffer;
  if (buffer == nullptr) return 0;
  if (nCount == 1 && buffer->BytesToEnd() != 0 && pBuffer != nullptr) [[likely]] {
    m_lastError = ZTK_STREAM_NO_ERROR;
    buffer->Consume(pBuffer, 1);
    return 1;
  }
  return ReadPiece(*buffer, pBuffer, nCount);
}

// Out of line, so that the single byte above saves no registers.
[[gnu::noinline]] unsigned long ZTKMemoryInputStream::ReadPiece(ZTKStreamBuffer& buffer,
                                                                void* pBuffer,
                                                                unsigned long nCount) {
  const size_t left = buffer.BytesToEnd();
  if (left == 0 && buffer.BytesFromStart() == m_nLength) {
    const bool cut = (buffer.m_storage & ZTKStreamBuffer::kCut) != 0;
    m_lastError = cut ? ZTK_STREAM_READ_ERROR : ZTK_STREAM_EOF;
    return 0;
  }
  m_lastError = ZTK_STREAM_NO_ERROR;
  if (pBuffer == nullptr) return 0;
  // Without a stream the buffer neither fills nor reports: its Read is this copy.
  const size_t count = nCount < left ? nCount : left;
  buffer.Consume(pBuffer, count);
  return static_cast<unsigned long>(count);
}

// ---- output ----

ZTKMemoryOutputStream::ZTKMemoryOutputStream(void* pData, unsigned long nLength)
    : m_pBuffer(new (std::nothrow) ZTKStreamBuffer(ZTKStreamBuffer::write)) {
  if (m_pBuffer == nullptr) return;
  if (pData != nullptr) m_pBuffer->SetBufferIO(pData, nLength, 0);
  m_pBuffer->SetFixed(0);
  m_pBuffer->SetFlushable(0);
}

ZTKMemoryOutputStream::~ZTKMemoryOutputStream() { delete m_pBuffer; }

unsigned long ZTKMemoryOutputStream::GetSize() const {
  if (m_pBuffer == nullptr) return 0;
  return static_cast<unsigned long>(m_pBuffer->GetBufferEnd() - m_pBuffer->GetBufferStart());
}

unsigned long ZTKMemoryOutputStream::CopyTo(void* pDest, unsigned long nLength) const {
  if (pDest == nullptr) return 0;
  const unsigned long count = std::min(nLength, ZTKMemoryOutputStream::GetSize());
  if (count > 0) std::memcpy(pDest, m_pBuffer->GetBufferStart(), count);
  return count;
}

long ZTKMemoryOutputStream::OnSysSeek(long nOffset, ZTKSeekMode mode) {
  return m_pBuffer != nullptr ? m_pBuffer->Seek(nOffset, mode) : -1;
}

long ZTKMemoryOutputStream::OnSysTell() const {
  return m_pBuffer != nullptr ? m_pBuffer->Tell() : -1;
}

unsigned long ZTKMemoryOutputStream::OnSysWrite(const void* pBuffer, unsigned long nCount) {
  ZTKStreamBuffer* const buffer = m_pBuffer;
  if (buffer == nullptr) return 0;
  if (pBuffer != nullptr && buffer->CanAppend(nCount)) [[likely]] {
    buffer->Append(pBuffer, nCount);
    return nCount;
  }
  const size_t old = buffer->BytesFromStart();
  if (nCount > buffer->BytesToEnd() && !buffer->CanHold(nCount)) {
    m_lastError = ZTK_STREAM_WRITE_ERROR;
    return 0;
  }
  // Without a stream, and growing as needed, the buffer's Write is this store.
  buffer->PutToBuffer(pBuffer, nCount);
  const size_t now = buffer->BytesFromStart();
  return static_cast<unsigned long>((now == 0 ? buffer->GetBufferSize() : now) - old);
}
