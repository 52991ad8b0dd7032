#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/file/seek_mode.h"

/// The last error of a stream.
enum ZTKStreamError : int {
  ZTK_STREAM_NO_ERROR = 0,
  ZTK_STREAM_EOF = 1,          ///< The source had no more bytes.
  ZTK_STREAM_WRITE_ERROR = 2,  ///< The sink did not take all bytes.
  ZTK_STREAM_READ_ERROR = 3,   ///< A look at the next byte found none, or the source failed.
};

/// The common root of all byte streams: the outcome of the last operation, and the low-level
/// operations that a source or a sink overrides.
///
/// Positions and sizes are in bytes; -1 is the position of a stream that cannot tell. The last
/// count and the last error tell what happened. Streams never own those beneath them. One thread at
/// a time.
class ZTK_API ZTKStreamBase {
 public:
  ZTKStreamBase() noexcept = default;
  ZTKStreamBase(const ZTKStreamBase&) = delete;
  ZTKStreamBase& operator=(const ZTKStreamBase&) = delete;
  virtual ~ZTKStreamBase();

  /// The size of the data; 0 when it is not known.
  virtual unsigned long GetSize() const;
  /// Moves the source or sink and returns its new position. The base cannot seek: -1.
  virtual long OnSysSeek(long nOffset, ZTKSeekMode mode);
  /// The position of the source or sink. The base cannot tell: -1.
  virtual long OnSysTell() const;

  ZTKStreamError GetLastError() const noexcept { return m_lastError; }
  /// For derived sources and sinks, which report their own failures, and to clear an old one.
  void SetLastError(ZTKStreamError err) noexcept { m_lastError = err; }

 protected:
  uint32_t m_nLastCount = 0;  // Bytes moved by the last read or write.
  ZTKStreamError m_lastError = ZTK_STREAM_NO_ERROR;

 private:
  friend class ZTKStreamBuffer;  // Reports into the stream that it serves.
  friend class ZTKDataStream;    // Reports what it reads in pieces as the one read that it is.
  friend struct ZTKStreamLayout;
};
