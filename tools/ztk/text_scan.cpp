#include "tools/ztk/text_scan.h"

using Encoding = TextReport::Encoding;

namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kLittleEndianMark = "\xFF\xFE";
constexpr std::string_view kBigEndianMark = "\xFE\xFF";
constexpr std::string_view kUtf32LittleEndianMark("\xFF\xFE\0\0", 4);
constexpr std::string_view kUtf32BigEndianMark("\0\0\xFE\xFF", 4);
constexpr size_t kLongestMark = 4;

bool IsHighSurrogate(unsigned unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(unsigned unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

std::string_view EncodingName(Encoding encoding) {
  switch (encoding) {
    case Encoding::kAscii:
      return "ASCII";
    case Encoding::kUtf8:
      return "UTF-8";
    case Encoding::kWindows1252:
      return "Windows-1252";
    case Encoding::kMixed:
      return "UTF-8 and Windows-1252";
    case Encoding::kUtf16LittleEndian:
      return "UTF-16LE";
    case Encoding::kUtf16BigEndian:
      return "UTF-16BE";
    case Encoding::kUtf32LittleEndian:
      return "UTF-32LE";
    case Encoding::kUtf32BigEndian:
      return "UTF-32BE";
    case Encoding::kBinary:
      return "binary";
  }
  return "";
}

void TextScanner::Feed(std::string_view bytes) {
  if (m_mark != Mark::kUndecided) {
    FeedBytes(bytes);
    return;
  }
  m_head.append(bytes);
  if (m_head.size() >= kLongestMark) DecideMark();
}

TextReport TextScanner::Finish() {
  if (m_mark == Mark::kUndecided) DecideMark();
  if (m_nMissing != 0) NoteIllFormed(m_sequenceStart);
  if (m_highSurrogate) NoteIllFormed(*m_highSurrogate);
  if (m_nBytes != 0) {  // Half a unit.
    NoteIllFormed(m_offset - m_nBytes);
    m_lineHasText = true;
  }
  m_report.nBytes = m_offset;
  m_report.endsInLineEnd = m_report.nLines != 0 && !m_lineHasText;
  if (m_lineHasText) EndLine();
  m_report.encoding = FindEncoding();
  return m_report;
}

void TextScanner::DecideMark() {
  const std::string_view head = m_head;
  const auto begins = [head](std::string_view mark) { return head.substr(0, mark.size()) == mark; };
  if (begins(kUtf8Mark)) {
    m_mark = Mark::kUtf8;
    m_offset = kUtf8Mark.size();
  } else if (begins(kUtf32LittleEndianMark) || begins(kUtf32BigEndianMark)) {
    // No UTF-16 text begins so: its first character would be a NUL.
    m_mark = m_head[0] == '\0' ? Mark::kUtf32BigEndian : Mark::kUtf32LittleEndian;
    m_offset = kLongestMark;
    m_width = 4;
  } else if (begins(kLittleEndianMark)) {
    m_mark = Mark::kUtf16LittleEndian;
    m_offset = kLittleEndianMark.size();
    m_width = 2;
  } else if (begins(kBigEndianMark)) {
    m_mark = Mark::kUtf16BigEndian;
    m_offset = kBigEndianMark.size();
    m_width = 2;
  } else {
    m_mark = Mark::kNone;
  }
  m_report.hasMark = m_mark != Mark::kNone;
  m_report.encoding = FindEncoding();
  FeedBytes(head.substr(static_cast<size_t>(m_offset)));
}

Encoding TextScanner::FindEncoding() const {
  switch (m_mark) {
    case Mark::kUtf16LittleEndian:
      return Encoding::kUtf16LittleEndian;
    case Mark::kUtf16BigEndian:
      return Encoding::kUtf16BigEndian;
    case Mark::kUtf32LittleEndian:
      return Encoding::kUtf32LittleEndian;
    case Mark::kUtf32BigEndian:
      return Encoding::kUtf32BigEndian;
    case Mark::kUtf8:
      return Encoding::kUtf8;
    case Mark::kUndecided:
    case Mark::kNone:
      break;
  }
  if (m_report.firstNul) return Encoding::kBinary;
  if (m_nLegacyLines != 0) return m_nUtf8Lines != 0 ? Encoding::kMixed : Encoding::kWindows1252;
  return m_nUtf8Lines != 0 ? Encoding::kUtf8 : Encoding::kAscii;
}

void TextScanner::FeedBytes(std::string_view bytes) {
  for (const char ch : bytes) {
    const auto byte = static_cast<unsigned char>(ch);
    if (m_width == 1) {
      FeedUtf8(byte);
      FeedCharacter(byte, m_offset);
    } else {
      FeedWide(byte);
    }
    ++m_offset;
  }
}

void TextScanner::FeedWide(unsigned char byte) {
  const bool isLittle = m_mark == Mark::kUtf16LittleEndian || m_mark == Mark::kUtf32LittleEndian;
  m_unit = isLittle ? m_unit | unsigned{byte} << 8 * m_nBytes : m_unit << 8 | byte;
  if (++m_nBytes < m_width) return;
  const unsigned unit = m_unit;
  m_unit = 0;
  m_nBytes = 0;
  if (m_width == 2) {
    FeedUnit(unit);
  } else {
    FeedCodePoint(unit);
  }
}

// The well-formed sequences of the Unicode Standard, table 3-7: after the first byte the range of
// the second is narrowed for E0, ED, F0 and F4.
void TextScanner::FeedUtf8(unsigned char byte) {
  if (byte >= 0x80) m_lineIsAscii = false;
  if (m_nMissing != 0) {
    const bool fits = byte >= m_low && byte <= m_high;
    m_low = 0x80;
    m_high = 0xBF;
    if (fits) {
      --m_nMissing;
      return;
    }
    NoteIllFormed(m_sequenceStart);
    m_nMissing = 0;  // The byte may begin a sequence of its own.
  }
  if (byte < 0x80) return;

  m_sequenceStart = m_offset;
  if (byte >= 0xC2 && byte <= 0xDF) {
    m_nMissing = 1;
  } else if (byte >= 0xE0 && byte <= 0xEF) {
    m_nMissing = 2;
    if (byte == 0xE0) m_low = 0xA0;
    if (byte == 0xED) m_high = 0x9F;
  } else if (byte >= 0xF0 && byte <= 0xF4) {
    m_nMissing = 3;
    if (byte == 0xF0) m_low = 0x90;
    if (byte == 0xF4) m_high = 0x8F;
  } else {
    NoteIllFormed(m_offset);
  }
}

void TextScanner::FeedUnit(unsigned unit) {
  const uint64_t nStart = m_offset - 1;
  if (m_highSurrogate && !IsLowSurrogate(unit)) NoteIllFormed(*m_highSurrogate);
  if (!m_highSurrogate && IsLowSurrogate(unit)) NoteIllFormed(nStart);
  m_highSurrogate.reset();
  if (IsHighSurrogate(unit)) m_highSurrogate = nStart;
  FeedCharacter(unit, nStart);
}

void TextScanner::FeedCodePoint(unsigned codePoint) {
  const uint64_t nStart = m_offset - 3;
  if (codePoint > 0x10FFFF || IsHighSurrogate(codePoint) || IsLowSurrogate(codePoint)) {
    NoteIllFormed(nStart);
  }
  FeedCharacter(codePoint, nStart);
}

void TextScanner::FeedCharacter(unsigned unit, uint64_t nOffset) {
  const bool followsCr = m_lastWasCr;
  m_lastWasCr = unit == '\r';
  if (unit == '\r') {
    EndLine();
    ++m_report.nCr;  // Until a LF follows.
  } else if (unit == '\n' && followsCr) {
    --m_report.nCr;
    ++m_report.nCrLf;
  } else if (unit == '\n') {
    EndLine();
    ++m_report.nLf;
  } else {
    m_lineHasText = true;
    if (unit == 0 && !m_report.firstNul) m_report.firstNul = nOffset;
  }
}

void TextScanner::EndLine() {
  ++m_report.nLines;
  if (!m_lineIsUtf8) {
    ++m_nLegacyLines;
  } else if (!m_lineIsAscii) {
    ++m_nUtf8Lines;
  }
  m_lineHasText = false;
  m_lineIsAscii = true;
  m_lineIsUtf8 = true;
}

void TextScanner::NoteIllFormed(uint64_t nOffset) {
  m_lineIsUtf8 = false;
  if (!m_report.firstIllFormed) m_report.firstIllFormed = nOffset;
}
