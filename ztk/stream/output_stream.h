#pragma once

#include "ztk/stream/stream_base.h"

class ZTKInputStream;

/// A sink of bytes. A concrete sink overrides `OnSysWrite`, and `OnSysSeek`, `OnSysTell` and
/// `GetSize` where it can.
///
/// A write may take fewer bytes than given; `LastWrite()` tells how many.
class ZTK_API ZTKOutputStream : public ZTKStreamBase {
 public:
  ZTKOutputStream() noexcept = default;
  ~ZTKOutputStream() override;

  /// With null or 0 bytes nothing happens, and `LastWrite()` stays. At most 4 GiB - 1 bytes are
  /// offered to the sink; for more `ZTK_STREAM_WRITE_ERROR` stands.
  virtual ZTKOutputStream& Write(const void* pBuffer, unsigned long nCount);
  virtual long SeekO(long nOffset, ZTKSeekMode mode);
  virtual long TellO() const;
  virtual unsigned long LastWrite() const;
  /// Passes on what waits in buffers. The base has none.
  virtual void Sync();
  /// Returns how many bytes the sink took. The base takes none.
  virtual unsigned long OnSysWrite(const void* pBuffer, unsigned long nCount);

  /// Copies all that is left of `in`, as `in.Read(*this)` does.
  ZTKOutputStream& Write(ZTKInputStream& in);
  void PutC(char ch) { Write(&ch, 1); }
};

/// Writes the line end, a lone carriage return (0x0D) on purpose, and returns the stream.
ZTK_API ZTKOutputStream& ZTKEndL(ZTKOutputStream& stream);
