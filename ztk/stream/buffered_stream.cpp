#include "ztk/stream/buffered_stream.h"

#include <algorithm>
#include <climits>
#include <new>

#include "ztk/foundation/word.h"
#include "ztk/log/log.h"

namespace {

constexpr unsigned long kBufferSize = 1024;

ZTKStreamBuffer* NewBuffer(ZTKStreamBase& stream, ZTKStreamBuffer::BufMode mode) {
  auto* const buffer = new (std::nothrow) ZTKStreamBuffer(stream, mode);
  if (buffer != nullptr) buffer->SetBufferIO(kBufferSize);
  return buffer;
}

}  // namespace

// ---- input ----

ZTKBufferedInputStream::ZTKBufferedInputStream(ZTKInputStream& parent, ZTKStreamBuffer* pBuffer)
    : ZTKFilterInputStream(parent),
      m_pBuffer(pBuffer != nullptr ? pBuffer : NewBuffer(*this, ZTKStreamBuffer::read)) {}

ZTKBufferedInputStream::~ZTKBufferedInputStream() {
  if (m_pBuffer == nullptr) return;
  if (m_pParent != nullptr) {
    // At once, unless the unread bytes are more than an offset can express.
    auto unread = static_cast<size_t>(m_pBuffer->GetBufferEnd() - m_pBuffer->GetBufferPos());
    do {
      const auto step = static_cast<long>(std::min<size_t>(unread, LONG_MAX));
      m_pParent->SeekI(-step, ZTKFromCurrent);
      unread -= static_cast<size_t>(step);
    } while (unread > 0);
  }
  delete m_pBuffer;
}

long ZTKBufferedInputStream::OnSysSeek(long nOffset, ZTKSeekMode mode) {
  return m_pParent != nullptr ? m_pParent->SeekI(nOffset, mode) : -1;
}

long ZTKBufferedInputStream::OnSysTell() const {
  return m_pParent != nullptr ? m_pParent->TellI() : -1;
}

char ZTKBufferedInputStream::Peek() { return m_pBuffer != nullptr ? m_pBuffer->Peek() : '\0'; }

ZTKInputStream& ZTKBufferedInputStream::Read(void* pBuffer, unsigned long nCount) {
  m_lastError = ZTK_STREAM_NO_ERROR;
  if (pBuffer == nullptr) return *this;

  const uint32_t wanted = ZTKClampCount(nCount);
  const auto pushedBack = static_cast<uint32_t>(GetWBack(pBuffer, wanted));
  m_nLastCount = pushedBack;
  if (pushedBack >= wanted || m_pBuffer == nullptr) return *this;

  const unsigned long delivered =
      m_pBuffer->Read(static_cast<char*>(pBuffer) + pushedBack, wanted - pushedBack);
  if (delivered == 0) ZTKLogWarning("read 0 data");
  m_nLastCount = static_cast<uint32_t>(delivered) + pushedBack;
  return *this;
}

long ZTKBufferedInputStream::SeekI(long nOffset, ZTKSeekMode mode) {
  if (m_lastError == ZTK_STREAM_EOF) m_lastError = ZTK_STREAM_NO_ERROR;
  FreeWBack();
  return m_pBuffer != nullptr ? m_pBuffer->Seek(nOffset, mode) : -1;
}

long ZTKBufferedInputStream::TellI() const {
  if (m_pBuffer == nullptr) ZTKLogWarning("empty pointer");
  const long pos = m_pBuffer != nullptr ? m_pBuffer->Tell() : -1;
  if (pos == -1) {
    ZTKLogWarning("invalid offset");
    return -1;
  }
  return static_cast<long>(static_cast<unsigned long>(pos) - WBackLeft());
}

unsigned long ZTKBufferedInputStream::OnSysRead(void* pBuffer, unsigned long nCount) {
  return m_pParent != nullptr ? m_pParent->Read(pBuffer, nCount).LastRead() : 0;
}

void ZTKBufferedInputStream::SetInputStreamBuffer(ZTKStreamBuffer* pBuffer) {
  if (pBuffer == nullptr) {
    ZTKLogWarning("SetInputStreamBuffer: empty pointer");
    return;
  }
  if (pBuffer == m_pBuffer) return;
  delete m_pBuffer;
  m_pBuffer = pBuffer;
}

// ---- output ----

ZTKBufferedOutputStream::ZTKBufferedOutputStream(ZTKOutputStream& parent, ZTKStreamBuffer* pBuffer)
    : ZTKFilterOutputStream(parent),
      m_pBuffer(pBuffer != nullptr ? pBuffer : NewBuffer(*this, ZTKStreamBuffer::write)) {}

ZTKBufferedOutputStream::~ZTKBufferedOutputStream() {
  ZTKBufferedOutputStream::Sync();
  delete m_pBuffer;
}

unsigned long ZTKBufferedOutputStream::GetSize() const {
  const unsigned long passedOn = ZTKFilterOutputStream::GetSize();
  if (m_pBuffer == nullptr) return passedOn;
  return ZTKCountOf(passedOn +
                    static_cast<size_t>(m_pBuffer->GetBufferPos() - m_pBuffer->GetBufferStart()));
}

long ZTKBufferedOutputStream::OnSysSeek(long nOffset, ZTKSeekMode mode) {
  return m_pParent != nullptr ? m_pParent->SeekO(nOffset, mode) : -1;
}

long ZTKBufferedOutputStream::OnSysTell() const {
  return m_pParent != nullptr ? m_pParent->TellO() : -1;
}

ZTKOutputStream& ZTKBufferedOutputStream::Write(const void* pBuffer, unsigned long nCount) {
  if (pBuffer == nullptr || nCount == 0) return *this;
  m_nLastCount = 0;
  if (m_pBuffer != nullptr) m_pBuffer->Write(pBuffer, nCount);
  return *this;
}

long ZTKBufferedOutputStream::SeekO(long nOffset, ZTKSeekMode mode) {
  Sync();
  return m_pBuffer != nullptr ? m_pBuffer->Seek(nOffset, mode) : -1;
}

long ZTKBufferedOutputStream::TellO() const {
  return m_pBuffer != nullptr ? m_pBuffer->Tell() : -1;
}

void ZTKBufferedOutputStream::Sync() {
  if (m_pBuffer != nullptr) m_pBuffer->FlushBuffer();
  if (m_pParent != nullptr) m_pParent->Sync();
}

unsigned long ZTKBufferedOutputStream::OnSysWrite(const void* pBuffer, unsigned long nCount) {
  return m_pParent != nullptr ? m_pParent->Write(pBuffer, nCount).LastWrite() : 0;
}

void ZTKBufferedOutputStream::SetOutputStreamBuffer(ZTKStreamBuffer* pBuffer) {
  if (pBuffer == nullptr || pBuffer == m_pBuffer) return;
  if (m_pBuffer != nullptr) m_pBuffer->FlushBuffer();
  delete m_pBuffer;
  m_pBuffer = pBuffer;
}
