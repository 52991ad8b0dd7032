#include "ztk/stream/file_stream.h"

#include <climits>
#include <cstdint>

#include "ztk/stream/internal/seek_mode.h"

namespace {

unsigned long SizeOf(const ZTKFile& file) {
  const std::int64_t length = file.Length64();
  const auto size = static_cast<unsigned long>(length);
  return length > 0 && static_cast<std::int64_t>(size) == length ? size : 0;
}

// A file refuses every seek by exactly -1, so each is made one from the start.
long SeekTo(ZTKFile& file, long nOffset, ZTKSeekMode mode) {
  if (!ZTKIsSeekMode(mode)) return -1;
  const long origin = mode == ZTKFromStart ? 0 : mode == ZTKFromEnd ? file.Length() : file.Tell();
  if (origin < 0 || nOffset < -origin || nOffset > LONG_MAX - origin) return -1;
  return file.Seek(origin + nOffset, ZTKFromStart);
}

}  // namespace

// ---- input ----

ZTKFileInputStream::~ZTKFileInputStream() = default;

unsigned long ZTKFileInputStream::GetSize() const { return SizeOf(*m_pFile); }

long ZTKFileInputStream::OnSysSeek(long nOffset, ZTKSeekMode mode) {
  return SeekTo(*m_pFile, nOffset, mode);
}

long ZTKFileInputStream::OnSysTell() const { return m_pFile->Tell(); }

unsigned long ZTKFileInputStream::OnSysRead(void* pBuffer, unsigned long nCount) {
  const unsigned long count = m_pFile->Read(pBuffer, nCount);
  if (count > 0) {
    m_lastError = ZTK_STREAM_NO_ERROR;
  } else if (m_pFile->IsOpen() && m_pFile->XPEof()) {
    m_lastError = ZTK_STREAM_EOF;
  } else {
    m_lastError = ZTK_STREAM_READ_ERROR;
  }
  return count;
}

// ---- output ----

ZTKFileOutputStream::~ZTKFileOutputStream() = default;

unsigned long ZTKFileOutputStream::GetSize() const { return SizeOf(*m_pFile); }

long ZTKFileOutputStream::OnSysSeek(long nOffset, ZTKSeekMode mode) {
  return SeekTo(*m_pFile, nOffset, mode);
}

long ZTKFileOutputStream::OnSysTell() const { return m_pFile->Tell(); }

void ZTKFileOutputStream::Sync() {
  if (!m_pFile->Flush()) m_lastError = ZTK_STREAM_WRITE_ERROR;
}

unsigned long ZTKFileOutputStream::OnSysWrite(const void* pBuffer, unsigned long nCount) {
  const unsigned long count = m_pFile->Write(pBuffer, nCount);
  if (count < nCount) m_lastError = ZTK_STREAM_WRITE_ERROR;
  return count;
}
