#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/foundation/string.h"
#include "ztk/stream/ieee_extended.h"
#include "ztk/stream/input_stream.h"
#include "ztk/stream/output_stream.h"
#include "ztk/stream/stream_bytes.h"

/// Writes integers, floating-point values and strings to an output stream and reads them back from
/// an input stream, in a byte order of choice, the same on every machine (docs/wire-format.md).
///
/// Neither stream is owned; both must outlive the data stream. A stream that was not given reads as
/// 0 and takes nothing. What the input stream does not deliver reads as 0 bytes; `IsOk()` tells, as
/// far as the streams report errors.
///
/// Floating-point values are written as 80-bit extended, but reading one consumes the ten bytes and
/// yields 0.0, deliberately. `ReadIeeeExtended` and `DecodeIeeeExtended` give the value.
class ZTK_API ZTKDataStream {
 public:
  enum BytesOrder : int {
    LittleEndian = 0,  ///< Least significant byte first.
    BigEndian = 1,     ///< Most significant byte first, as is every other non-zero value.
  };

  explicit ZTKDataStream(ZTKInputStream& in) noexcept : ZTKDataStream(&in, nullptr, kInput) {}
  explicit ZTKDataStream(ZTKOutputStream& out) noexcept : ZTKDataStream(nullptr, &out, kOutput) {}
  ZTKDataStream(ZTKInputStream& in, ZTKOutputStream& out) noexcept
      : ZTKDataStream(&in, &out, kBoth) {}
  ZTKDataStream(const ZTKDataStream&) = delete;
  ZTKDataStream& operator=(const ZTKDataStream&) = delete;

  /// The byte order of the integers that follow; little-endian until it is set.
  void SetNetWorkByteOrderTo(BytesOrder order) noexcept {
    m_networkOrder = order;
    m_bSwap = order != m_hostOrder;
  }
  BytesOrder GetNetWorkByteOrder() const noexcept { return m_networkOrder; }
  /// Whether no stream of this data stream has an error.
  bool IsOk() const noexcept;

  unsigned char Read8();
  unsigned short Read16();
  /// Four bytes, whatever the width of the type.
  unsigned long Read32();
  unsigned long long Read64();

  /// Arrays, one read of the stream each; elements that are not delivered are 0. Null: nothing.
  void Read8(unsigned char* pValues, unsigned long nCount);
  void Read16(unsigned short* pValues, unsigned long nCount);
  /// Four bytes for each element.
  void Read32(unsigned long* pValues, unsigned long nCount);
  void Read64(unsigned long long* pValues, unsigned long nCount);

  void Write8(unsigned char nValue);
  void Write16(unsigned short nValue);
  /// The low four bytes.
  void Write32(unsigned long nValue);
  void Write64(unsigned long long nValue);

  /// Arrays: bytes in one write (from 4 GiB on in several; a piece not taken in full is then
  /// `ZTK_STREAM_WRITE_ERROR`), wider elements in one write each. Null: nothing.
  void Write8(const unsigned char* pValues, unsigned long nCount);
  void Write16(const unsigned short* pValues, unsigned long nCount);
  void Write32(const unsigned long* pValues, unsigned long nCount);
  void Write64(const unsigned long long* pValues, unsigned long nCount);

  /// Consumes ten bytes and yields 0.0.
  double ReadDouble();
  void ReadDouble(double* pValues, unsigned long nCount);
  /// Ten bytes for each value, most significant first in either byte order.
  void WriteDouble(double dValue);
  void WriteDouble(const double* pValues, unsigned long nCount);
  /// Reads ten bytes and decodes them: the value that `WriteDouble` wrote.
  double ReadIeeeExtended();

  /// Four bytes of length and the text. A byte-order mark EF BB BF in front of four or more bytes
  /// is dropped, and the result ends at the first NUL; all bytes of the text are consumed. The
  /// length is not trusted: memory is taken as the text arrives. Without memory, and for a length
  /// over the limit, the result is "" and the rest stays unread. A text that no `ZTKString` can
  /// hold is cut, with `ZTK_STREAM_READ_ERROR`. The first three bytes of four or more are a read of
  /// their own: `LastRead()` is three less than the length of such a text.
  ZTKString ReadString();
  /// The length, and the text without a terminator.
  void WriteString(const ZTKString& text) { WriteText(text.c_str()); }
  /// Longer strings read as "" with `ZTK_STREAM_READ_ERROR`, and stay unread. No limit at first.
  void SetMaxString(unsigned long nMaxBytes) noexcept { m_nMaxString = ZTKClampCount(nMaxBytes); }

  /// `bool`, `signed char` and the wider character types are promoted to `int` or `unsigned int`,
  /// four bytes, and `>>` of these types reads four bytes.
  ZTKDataStream& operator<<(char ch) { return Write8(static_cast<unsigned char>(ch)), *this; }
  ZTKDataStream& operator<<(unsigned char n) { return Write8(n), *this; }
  ZTKDataStream& operator<<(short n) { return Write16(static_cast<unsigned short>(n)), *this; }
  ZTKDataStream& operator<<(unsigned short n) { return Write16(n), *this; }
  ZTKDataStream& operator<<(int n) { return Write32(static_cast<unsigned int>(n)), *this; }
  ZTKDataStream& operator<<(unsigned int n) { return Write32(n), *this; }
  /// Four bytes: what does not fit is cut.
  ZTKDataStream& operator<<(long n) { return Write32(static_cast<unsigned long>(n)), *this; }
  ZTKDataStream& operator<<(unsigned long n) { return Write32(n), *this; }
  ZTKDataStream& operator<<(long long n) {
    return Write64(static_cast<unsigned long long>(n)), *this;
  }
  ZTKDataStream& operator<<(unsigned long long n) { return Write64(n), *this; }
  ZTKDataStream& operator<<(float f) { return WriteDouble(static_cast<double>(f)), *this; }
  ZTKDataStream& operator<<(double d) { return WriteDouble(d), *this; }
  ZTKDataStream& operator<<(const ZTKString& text) { return WriteString(text), *this; }
  /// Null is the empty string.
  ZTKDataStream& operator<<(const char* psz) { return WriteText(psz), *this; }

  ZTKDataStream& operator>>(char& ch) { return ch = static_cast<char>(Read8()), *this; }
  ZTKDataStream& operator>>(unsigned char& n) { return n = Read8(), *this; }
  ZTKDataStream& operator>>(signed char& ch) { return ReadPromoted(ch); }
  ZTKDataStream& operator>>(wchar_t& ch) { return ReadPromoted(ch); }
  ZTKDataStream& operator>>(char16_t& ch) { return ReadPromoted(ch); }
  ZTKDataStream& operator>>(char32_t& ch) { return ReadPromoted(ch); }
#ifdef __cpp_char8_t
  ZTKDataStream& operator>>(char8_t& ch) { return ReadPromoted(ch); }
#endif
  /// True for every value but 0.
  ZTKDataStream& operator>>(bool& b) { return b = Read32() != 0, *this; }
  ZTKDataStream& operator>>(short& n) { return n = static_cast<short>(Read16()), *this; }
  ZTKDataStream& operator>>(unsigned short& n) { return n = Read16(), *this; }
  ZTKDataStream& operator>>(int& n) { return n = static_cast<int32_t>(Read32()), *this; }
  ZTKDataStream& operator>>(unsigned int& n) { return n = static_cast<uint32_t>(Read32()), *this; }
  /// Four bytes with their sign.
  ZTKDataStream& operator>>(long& n) { return n = static_cast<int32_t>(Read32()), *this; }
  ZTKDataStream& operator>>(unsigned long& n) { return n = Read32(), *this; }
  ZTKDataStream& operator>>(long long& n) { return n = static_cast<long long>(Read64()), *this; }
  ZTKDataStream& operator>>(unsigned long long& n) { return n = Read64(), *this; }
  /// Consume ten bytes and store 0.
  ZTKDataStream& operator>>(float& f) { return f = static_cast<float>(ReadDouble()), *this; }
  ZTKDataStream& operator>>(double& d) { return d = ReadDouble(), *this; }
  ZTKDataStream& operator>>(ZTKString& text) { return text = ReadString(), *this; }

  static void ConvertToIeeeExtended(double dValue, unsigned char* pOut) noexcept {
    ZTKEncodeIeeeExtended(dValue, pOut);
  }
  /// 0.0 whatever the bytes, deliberately.
  static double ConvertFromIeeeExtended(const unsigned char* pBytes) noexcept;
  static double DecodeIeeeExtended(const unsigned char* pBytes) noexcept {
    return ZTKDecodeIeeeExtended(pBytes);
  }

 private:
  friend struct ZTKStreamLayout;

  enum Kind : int { kInput = 0, kOutput = 1, kBoth = 2 };

  ZTKDataStream(ZTKInputStream* pIn, ZTKOutputStream* pOut, Kind kind) noexcept
      : m_pIn(pIn), m_pOut(pOut), m_kind(kind) {}

  size_t ReadBytes(void* pDest, size_t nCount);
  template <typename T>
  ZTKDataStream& ReadPromoted(T& value) {
    return value = static_cast<T>(static_cast<uint32_t>(Read32())), *this;
  }
  void SetLastRead(size_t nCount) noexcept;
  size_t ReadPadded(void* pDest, unsigned long nElements, size_t nSize);
  ZTKString ReadShortText(uint32_t nLength);
  ZTKString ReadLongText(uint32_t nLength);
  void WriteBytes(const void* pSrc, unsigned long nCount);
  void WriteText(const char* psz);

  ZTKInputStream* m_pIn;
  ZTKOutputStream* m_pOut;
  BytesOrder m_hostOrder = LittleEndian;  // Bytes are put together by value: never another one.
  BytesOrder m_networkOrder = LittleEndian;
  int32_t m_bSwap = 0;
  Kind m_kind;
  uint32_t m_nMaxString = UINT32_MAX;
};
