#include "ztk/stream/output_stream.h"

#include "ztk/stream/input_stream.h"
#include "ztk/stream/stream_bytes.h"

ZTKOutputStream::~ZTKOutputStream() = default;

ZTKOutputStream& ZTKOutputStream::Write(const void* pBuffer, unsigned long nCount) {
  if (pBuffer == nullptr || nCount == 0) return *this;
  m_nLastCount = ZTKClampCount(OnSysWrite(pBuffer, ZTKClampCount(nCount)));
  if (ZTKIsClamped(nCount)) [[unlikely]]
    m_lastError = ZTK_STREAM_WRITE_ERROR;
  return *this;
}

long ZTKOutputStream::SeekO(long nOffset, ZTKSeekMode mode) { return OnSysSeek(nOffset, mode); }

long ZTKOutputStream::TellO() const { return OnSysTell(); }

unsigned long ZTKOutputStream::LastWrite() const { return m_nLastCount; }

void ZTKOutputStream::Sync() {}

unsigned long ZTKOutputStream::OnSysWrite(const void*, unsigned long) { return 0; }

ZTKOutputStream& ZTKOutputStream::Write(ZTKInputStream& in) {
  in.Read(*this);
  return *this;
}

ZTKOutputStream& ZTKEndL(ZTKOutputStream& stream) {
  static constexpr char kLineEnd = '\r';
  return stream.Write(&kLineEnd, 1);
}
