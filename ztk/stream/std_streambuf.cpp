#include "ztk/stream/std_streambuf.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <ios>

#include "ztk/stream/internal/seek_mode.h"

namespace {

using std::ios_base;
using Traits = std::streambuf::traits_type;

const std::streambuf::pos_type kNowhere = std::streambuf::pos_type(std::streambuf::off_type(-1));

// Where a seek from the current position leads, as an offset from the start; -1 for nowhere. Made
// absolute because a buffered stream answers a relative seek with the offset.
long Target(long nPos, std::streambuf::off_type nOffset) {
  if (nPos < 0 || nOffset < -nPos || nOffset > LONG_MAX - nPos) return -1;
  return static_cast<long>(nPos + nOffset);
}

bool FitsLong(std::streambuf::off_type nOffset) {
  return nOffset >= LONG_MIN && nOffset <= LONG_MAX;
}

long SeekStd(std::streambuf& buffer, long nOffset, ZTKSeekMode mode, ios_base::openmode which) {
  if (!ZTKIsSeekMode(mode)) return -1;
  const ios_base::seekdir dir = mode == ZTKFromStart ? ios_base::beg
                                : mode == ZTKFromEnd ? ios_base::end
                                                     : ios_base::cur;
  try {
    const std::streamoff pos = buffer.pubseekoff(nOffset, dir, which);
    return FitsLong(pos) ? static_cast<long>(pos) : -1;
  } catch (...) {
    return -1;
  }
}

}  // namespace

// ---- std::streambuf over an input stream ----

ZTKInputStreambuf::ZTKInputStreambuf(ZTKInputStream& stream) noexcept : m_stream(stream) {
  setg(m_buffer, m_buffer, m_buffer);
}

ZTKInputStreambuf::~ZTKInputStreambuf() {
  m_stream.Ungetch(gptr(), static_cast<unsigned long>(egptr() - gptr()));
}

ZTKInputStreambuf::int_type ZTKInputStreambuf::underflow() {
  if (gptr() < egptr()) return Traits::to_int_type(*gptr());
  const std::streamsize kept = std::min<std::streamsize>(egptr() - eback(), kPutBack);
  std::memmove(m_buffer + kPutBack - kept, egptr() - kept, static_cast<size_t>(kept));
  const auto count = static_cast<std::streamsize>(
      m_stream.Read(m_buffer + kPutBack, static_cast<unsigned long>(kReadAhead)).LastRead());
  setg(m_buffer + kPutBack - kept, m_buffer + kPutBack, m_buffer + kPutBack + count);
  return count > 0 ? Traits::to_int_type(*gptr()) : Traits::eof();
}

ZTKInputStreambuf::pos_type ZTKInputStreambuf::seekoff(off_type nOffset, ios_base::seekdir dir,
                                                       ios_base::openmode which) {
  if ((which & ios_base::in) == 0 || !FitsLong(nOffset)) return kNowhere;
  ZTKSeekMode mode = ZTKFromStart;
  if (dir == ios_base::cur) {
    const long ahead = m_stream.TellI();
    if (ahead == -1) return kNowhere;
    const long pos = ahead - static_cast<long>(egptr() - gptr());
    if (nOffset == 0) return pos_type(pos);
    nOffset = Target(pos, nOffset);
    if (nOffset == -1) return kNowhere;
  } else if (dir == ios_base::end) {
    mode = ZTKFromEnd;
  }
  const long pos = m_stream.SeekI(static_cast<long>(nOffset), mode);
  setg(m_buffer, m_buffer, m_buffer);  // A refused seek has moved a read-ahead stream all the same.
  return pos_type(pos);
}

ZTKInputStreambuf::pos_type ZTKInputStreambuf::seekpos(pos_type pos, ios_base::openmode which) {
  return seekoff(off_type(pos), ios_base::beg, which);
}

// ---- std::streambuf over an output stream ----

ZTKOutputStreambuf::ZTKOutputStreambuf(ZTKOutputStream& stream) noexcept : m_stream(stream) {
  setp(m_buffer, m_buffer + kBuffer);
}

ZTKOutputStreambuf::~ZTKOutputStreambuf() { PassOn(); }

// Writes what waits. What the stream does not accept stays, to be tried again.
bool ZTKOutputStreambuf::PassOn() {
  const std::streamsize waiting = pptr() - pbase();
  if (waiting == 0) return true;
  const auto taken = std::min<std::streamsize>(
      waiting, static_cast<std::streamsize>(
                   m_stream.Write(pbase(), static_cast<unsigned long>(waiting)).LastWrite()));
  std::memmove(m_buffer, m_buffer + taken, static_cast<size_t>(waiting - taken));
  setp(m_buffer, m_buffer + kBuffer);
  pbump(static_cast<int>(waiting - taken));
  return taken == waiting;
}

ZTKOutputStreambuf::int_type ZTKOutputStreambuf::overflow(int_type ch) {
  PassOn();
  if (pptr() == epptr()) return Traits::eof();
  if (Traits::eq_int_type(ch, Traits::eof())) return Traits::not_eof(ch);
  return sputc(Traits::to_char_type(ch));
}

std::streamsize ZTKOutputStreambuf::xsputn(const char* pBytes, std::streamsize nCount) {
  std::streamsize done = 0;
  while (done < nCount) {
    if (pptr() == epptr() && Traits::eq_int_type(overflow(Traits::eof()), Traits::eof())) break;
    const std::streamsize count = std::min<std::streamsize>(nCount - done, epptr() - pptr());
    std::memcpy(pptr(), pBytes + done, static_cast<size_t>(count));
    pbump(static_cast<int>(count));
    done += count;
  }
  return done;
}

int ZTKOutputStreambuf::sync() {
  if (!PassOn()) return -1;
  m_stream.Sync();
  return m_stream.GetLastError() == ZTK_STREAM_WRITE_ERROR ? -1 : 0;
}

ZTKOutputStreambuf::pos_type ZTKOutputStreambuf::seekoff(off_type nOffset, ios_base::seekdir dir,
                                                         ios_base::openmode which) {
  if ((which & ios_base::out) == 0 || !FitsLong(nOffset) || !PassOn()) return kNowhere;
  ZTKSeekMode mode = ZTKFromStart;
  if (dir == ios_base::cur) {
    const long pos = m_stream.TellO();
    if (nOffset == 0) return pos_type(pos);
    nOffset = Target(pos, nOffset);
    if (nOffset == -1) return kNowhere;
  } else if (dir == ios_base::end) {
    mode = ZTKFromEnd;
  }
  return pos_type(m_stream.SeekO(static_cast<long>(nOffset), mode));
}

ZTKOutputStreambuf::pos_type ZTKOutputStreambuf::seekpos(pos_type pos, ios_base::openmode which) {
  return seekoff(off_type(pos), ios_base::beg, which);
}

// ---- streams over a std::streambuf ----

ZTKStdInputStream::~ZTKStdInputStream() = default;

long ZTKStdInputStream::OnSysSeek(long nOffset, ZTKSeekMode mode) {
  return SeekStd(m_source, nOffset, mode, ios_base::in);
}

long ZTKStdInputStream::OnSysTell() const {
  return SeekStd(m_source, 0, ZTKFromCurrent, ios_base::in);
}

unsigned long ZTKStdInputStream::OnSysRead(void* pBuffer, unsigned long nCount) {
  try {
    const auto wanted = static_cast<std::streamsize>(std::min<unsigned long>(nCount, LONG_MAX));
    const std::streamsize count = m_source.sgetn(static_cast<char*>(pBuffer), wanted);
    m_lastError = count > 0 ? ZTK_STREAM_NO_ERROR : ZTK_STREAM_EOF;
    return count > 0 ? static_cast<unsigned long>(count) : 0;
  } catch (...) {
    m_lastError = ZTK_STREAM_READ_ERROR;
    return 0;
  }
}

ZTKStdOutputStream::~ZTKStdOutputStream() = default;

long ZTKStdOutputStream::OnSysSeek(long nOffset, ZTKSeekMode mode) {
  return SeekStd(m_sink, nOffset, mode, ios_base::out);
}

long ZTKStdOutputStream::OnSysTell() const {
  return SeekStd(m_sink, 0, ZTKFromCurrent, ios_base::out);
}

void ZTKStdOutputStream::Sync() {
  try {
    if (m_sink.pubsync() != -1) return;
  } catch (...) {  // Reported below, like a flush that failed.
  }
  m_lastError = ZTK_STREAM_WRITE_ERROR;
}

unsigned long ZTKStdOutputStream::OnSysWrite(const void* pBuffer, unsigned long nCount) {
  unsigned long count = 0;
  try {
    const auto wanted = static_cast<std::streamsize>(std::min<unsigned long>(nCount, LONG_MAX));
    const std::streamsize taken = m_sink.sputn(static_cast<const char*>(pBuffer), wanted);
    count = taken > 0 ? static_cast<unsigned long>(taken) : 0;
  } catch (...) {  // Nothing counts as written.
  }
  if (count < nCount) m_lastError = ZTK_STREAM_WRITE_ERROR;
  return count;
}
