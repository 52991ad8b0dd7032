#pragma once

#include <cstdint>

#include "ztk/stream/output_stream.h"

/// A sink that stores nothing and counts: writing to it tells the size of data beforehand.
///
/// The size is the greatest position reached. `LastWrite()` is the position, not the bytes written,
/// deliberately: `ZTKInputStream::Read` into it stops after the second piece. Position and size
/// stop at 4 GiB - 1; a write past that is `ZTK_STREAM_WRITE_ERROR`.
class ZTK_API ZTKCountingOutputStream : public ZTKOutputStream {
 public:
  ZTKCountingOutputStream() noexcept = default;
  ~ZTKCountingOutputStream() override;

  unsigned long GetSize() const override;
  /// Any target of 32 bits is accepted; one past the size becomes the size and `LastWrite()`. The
  /// comparison is unsigned: a target below 0 makes the size very large.
  long OnSysSeek(long nOffset, ZTKSeekMode mode) override;
  long OnSysTell() const override;
  /// Returns the new position.
  unsigned long OnSysWrite(const void* pBuffer, unsigned long nCount) override;

 private:
  friend struct ZTKStreamLayout;

  uint32_t m_nPos = 0;
  uint32_t m_nCounted = 0;  // The greatest position reached.
};
