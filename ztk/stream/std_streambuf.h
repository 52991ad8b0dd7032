#pragma once

#include <streambuf>

#include "ztk/export.h"
#include "ztk/stream/input_stream.h"
#include "ztk/stream/output_stream.h"

/// A `std::streambuf` that reads from an input stream, for `std::istream` and all that takes one.
///
/// It reads ahead, up to 1024 bytes; at the end what was not taken is pushed back into the stream,
/// which must outlive it. The last eight bytes can be put back. It is seekable when the stream is.
class ZTK_API ZTKInputStreambuf : public std::streambuf {
 public:
  explicit ZTKInputStreambuf(ZTKInputStream& stream) noexcept;
  ~ZTKInputStreambuf() override;

 protected:
  int_type underflow() override;
  pos_type seekoff(off_type nOffset, std::ios_base::seekdir dir,
                   std::ios_base::openmode which) override;
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;

 private:
  static constexpr std::streamsize kPutBack = 8;
  static constexpr std::streamsize kReadAhead = 1024;

  ZTKInputStream& m_stream;
  char m_buffer[kPutBack + kReadAhead];
};

/// A `std::streambuf` that writes to an output stream, for `std::ostream` and all that takes one.
///
/// It collects up to 1024 bytes; `pubsync` (a flush) passes them on, calls the stream's `Sync` and
/// tells whether all was taken; the destructor passes on what waits. The stream must outlive it. It
/// is seekable when the stream is.
class ZTK_API ZTKOutputStreambuf : public std::streambuf {
 public:
  explicit ZTKOutputStreambuf(ZTKOutputStream& stream) noexcept;
  ~ZTKOutputStreambuf() override;

 protected:
  int_type overflow(int_type ch) override;
  std::streamsize xsputn(const char* pBytes, std::streamsize nCount) override;
  int sync() override;
  pos_type seekoff(off_type nOffset, std::ios_base::seekdir dir,
                   std::ios_base::openmode which) override;
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override;

 private:
  static constexpr std::streamsize kBuffer = 1024;

  bool PassOn();

  ZTKOutputStream& m_stream;
  char m_buffer[kBuffer];
};

/// An input stream over a `std::streambuf`, which is not owned and must outlive it.
///
/// The end of the data is `ZTK_STREAM_EOF`; a buffer that throws is `ZTK_STREAM_READ_ERROR`.
class ZTK_API ZTKStdInputStream : public ZTKInputStream {
 public:
  explicit ZTKStdInputStream(std::streambuf& source) noexcept : m_source(source) {}
  ~ZTKStdInputStream() override;

  long OnSysSeek(long nOffset, ZTKSeekMode mode) override;
  long OnSysTell() const override;
  unsigned long OnSysRead(void* pBuffer, unsigned long nCount) override;

 private:
  std::streambuf& m_source;
};

/// An output stream over a `std::streambuf`, which is not owned and must outlive it.
///
/// A short write, a failed flush and a throwing buffer are `ZTK_STREAM_WRITE_ERROR`, which stays.
class ZTK_API ZTKStdOutputStream : public ZTKOutputStream {
 public:
  explicit ZTKStdOutputStream(std::streambuf& sink) noexcept : m_sink(sink) {}
  ~ZTKStdOutputStream() override;

  long OnSysSeek(long nOffset, ZTKSeekMode mode) override;
  long OnSysTell() const override;
  void Sync() override;
  unsigned long OnSysWrite(const void* pBuffer, unsigned long nCount) override;

 private:
  std::streambuf& m_sink;
};
