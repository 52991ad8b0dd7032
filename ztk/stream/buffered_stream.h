#pragma once

#include "ztk/stream/filter_stream.h"
#include "ztk/stream/stream_buffer.h"

/// Reads ahead from a parent stream, 1024 bytes at a time unless it is given another buffer.
///
/// The stream buffer is owned and deleted with the stream, so it must come from `new`. The parent
/// is not owned and must outlive the stream: the destructor seeks it back over the unread
/// read-ahead (lost where it cannot seek), which drops the parent's pushed-back bytes and its
/// end-of-data error. Warns "read 0 data" when a read finds nothing.
class ZTK_API ZTKBufferedInputStream : public ZTKFilterInputStream {
 public:
  /// With a null buffer the stream makes its own.
  ZTKBufferedInputStream(ZTKInputStream& parent, ZTKStreamBuffer* pBuffer);
  ~ZTKBufferedInputStream() override;

  using ZTKInputStream::Read;

  long OnSysSeek(long nOffset, ZTKSeekMode mode) override;
  long OnSysTell() const override;
  /// The buffer's next byte; bytes pushed back into this stream are not looked at.
  char Peek() override;
  ZTKInputStream& Read(void* pBuffer, unsigned long nCount) override;
  /// Inside the read-ahead `ZTKFromCurrent` returns the offset itself; see `ZTKStreamBuffer::Seek`.
  long SeekI(long nOffset, ZTKSeekMode mode) override;
  /// Warns "empty pointer" without a buffer, and "invalid offset" where there is no position.
  long TellI() const override;
  unsigned long OnSysRead(void* pBuffer, unsigned long nCount) override;

  /// Deletes the old buffer with its read-ahead and owns the new one. Null warns
  /// "SetInputStreamBuffer: empty pointer" and changes nothing.
  void SetInputStreamBuffer(ZTKStreamBuffer* pBuffer);
  ZTKStreamBuffer* GetInputStreamBuffer() const noexcept { return m_pBuffer; }

 protected:
  ZTKStreamBuffer* m_pBuffer;  // Owned; null when there was no memory for one.

 private:
  friend struct ZTKStreamLayout;
};

/// Collects what is written and passes it to a parent stream: when 1024 bytes are full (unless it
/// is given another buffer), on `Sync()`, before every seek, and on destruction.
///
/// The stream buffer is owned and deleted with the stream, so it must come from `new`; the parent
/// must outlive the stream. Call `Sync()` to learn about a failure: the destructor cannot tell, and
/// uses this class's `OnSysWrite`, not that of a derived class.
class ZTK_API ZTKBufferedOutputStream : public ZTKFilterOutputStream {
 public:
  /// With a null buffer the stream makes its own.
  ZTKBufferedOutputStream(ZTKOutputStream& parent, ZTKStreamBuffer* pBuffer);
  ~ZTKBufferedOutputStream() override;

  using ZTKOutputStream::Write;

  /// The parent's size and the bytes that wait.
  unsigned long GetSize() const override;
  long OnSysSeek(long nOffset, ZTKSeekMode mode) override;
  long OnSysTell() const override;
  ZTKOutputStream& Write(const void* pBuffer, unsigned long nCount) override;
  long SeekO(long nOffset, ZTKSeekMode mode) override;
  long TellO() const override;
  void Sync() override;
  unsigned long OnSysWrite(const void* pBuffer, unsigned long nCount) override;

  /// Flushes the old buffer, deletes it and owns the new one. Null is ignored.
  void SetOutputStreamBuffer(ZTKStreamBuffer* pBuffer);
  ZTKStreamBuffer* GetOutputStreamBuffer() const noexcept { return m_pBuffer; }

 protected:
  ZTKStreamBuffer* m_pBuffer;  // Owned; null when there was no memory for one.

 private:
  friend struct ZTKStreamLayout;
};
