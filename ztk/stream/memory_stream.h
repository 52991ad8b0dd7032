#pragma once

#include <cstdint>

#include "ztk/stream/input_stream.h"
#include "ztk/stream/output_stream.h"

class ZTKStreamBuffer;

/// Reads the bytes of a caller, who keeps them alive and unchanged; they are never written to.
///
/// Seeking outside the data gives -1. At most 4 GiB - 1 bytes are seen: where there are more, a
/// read behind these is `ZTK_STREAM_READ_ERROR`. A null pointer with a length delivers nothing.
class ZTK_API ZTKMemoryInputStream : public ZTKInputStream {
 public:
  ZTKMemoryInputStream(const void* pData, unsigned long nLength);
  ~ZTKMemoryInputStream() override;

  unsigned long GetSize() const override;
  long OnSysSeek(long nOffset, ZTKSeekMode mode) override;
  long OnSysTell() const override;
  /// The next byte of the data; 0 at its end. Pushed-back bytes are not looked at.
  char Peek() override;
  /// Whether all data and all pushed-back bytes were read; the last error does not matter.
  bool Eof() const override;
  /// At the end of the data 0 with `ZTK_STREAM_EOF`; before it the error is cleared.
  unsigned long OnSysRead(void* pBuffer, unsigned long nCount) override;

 private:
  friend struct ZTKStreamLayout;

  unsigned long ReadPiece(ZTKStreamBuffer& buffer, void* pBuffer, unsigned long nCount);

  ZTKStreamBuffer* m_pBuffer;  // Owned; null when there was no memory for one.
  uint32_t m_nLength;
};

/// Writes into memory that grows, beginning with storage of a caller or with none.
///
/// A caller's storage must come from `malloc`: growing moves it with `realloc`, and neither it nor
/// the grown block is ever freed by the stream, unlike storage that the stream allocated. A write
/// past the capacity adds its whole length to the capacity: `GetSize()` is the number of bytes
/// written only as long as every write was at the end. A write that would make it larger than
/// `ZTKStreamBuffer::kLargestSize`, near 4 GiB, is `ZTK_STREAM_WRITE_ERROR` and stores nothing.
class ZTK_API ZTKMemoryOutputStream : public ZTKOutputStream {
 public:
  ZTKMemoryOutputStream() : ZTKMemoryOutputStream(nullptr, 0) {}
  /// Writes from the start of `pData`; null for none.
  ZTKMemoryOutputStream(void* pData, unsigned long nLength);
  ~ZTKMemoryOutputStream() override;

  /// The capacity in bytes.
  unsigned long GetSize() const override;
  /// Copies up to `nLength` bytes from the start of the storage and returns how many.
  unsigned long CopyTo(void* pDest, unsigned long nLength) const;
  /// Between 0 and the capacity; -1 outside.
  long OnSysSeek(long nOffset, ZTKSeekMode mode) override;
  long OnSysTell() const override;
  /// The bytes by which the position advanced; 0 when there was no memory. When the position
  /// stands at the start afterwards, the capacity (a deliberate oddity).
  unsigned long OnSysWrite(const void* pBuffer, unsigned long nCount) override;

 private:
  friend struct ZTKStreamLayout;

  ZTKStreamBuffer* m_pBuffer;  // Owned; null when there was no memory for one.
};
