#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "ztk/foundation/internal/utf8.h"
#include "ztk/foundation/internal/windows1252.h"
#include "ztk/foundation/text_conversion.h"
#include "ztk/text/internal/text_line_reader.h"
#include "ztk/text/internal/text_scan.h"
#include "ztk/text/internal/utf16.h"
#include "ztk/text/internal/utf8_scan.h"
#include "ztk/text/text_file.h"

// Reading. A NUL inside a line ends its text; what is behind it is dropped.

namespace {

constexpr unsigned long kWorthReserving = 32UL * 1024;
// Lines to reserve for each that is expected.
constexpr double kReserve = 1.03;

size_t LengthToNul(const char* pText, size_t nLength) {
  const void* const nul = std::memchr(pText, '\0', nLength);
  return nul != nullptr ? static_cast<size_t>(static_cast<const char*>(nul) - pText) : nLength;
}

// The report that an `Open` on this thread is to fill. The hooks between it and the reading have no
// place for one.
struct ReportRequest {
  const ZTKTextFile* pFile;
  ZTKTextReport* pReport;
};
constinit thread_local ReportRequest t_request = {nullptr, nullptr};

bool HasHigh(const char* pText, size_t nLength) {
  unsigned char all = 0;
  for (size_t i = 0; i < nLength; ++i) all |= static_cast<unsigned char>(pText[i]);
  return all >= 0x80;
}

/// A block for one line after the other, as large as the longest needs.
class LineBuffer {
 public:
  LineBuffer() = default;
  ~LineBuffer() { std::free(m_pBlock); }
  LineBuffer(const LineBuffer&) = delete;
  LineBuffer& operator=(const LineBuffer&) = delete;

  /// A block of `nBytes`, whose content is nothing; null when the allocation fails.
  char* Reserve(size_t nBytes) noexcept {
    if (nBytes <= m_nCapacity) return m_pBlock;
    const size_t capacity = std::max(nBytes, size_t{4096});
    void* const block = std::realloc(m_pBlock, capacity);
    if (block == nullptr) return nullptr;
    m_pBlock = static_cast<char*>(block);
    m_nCapacity = capacity;
    return m_pBlock;
  }

 private:
  char* m_pBlock = nullptr;
  size_t m_nCapacity = 0;
};

}  // namespace

/// Fills the report of a reading, if one is asked for.
class ZTKTextFile::ReportScope {
 public:
  explicit ReportScope(ZTKTextFile& file) noexcept
      : m_file(file),
        m_pReport(t_request.pFile == &file ? t_request.pReport : nullptr),
        m_nStart(m_pReport != nullptr ? StartOf(file) : 0),
        m_scan(m_nStart),
        m_nFirstLine(file.GetLineCount()) {}
  ReportScope(const ReportScope&) = delete;
  ReportScope& operator=(const ReportScope&) = delete;

  ~ReportScope() {
    if (m_pReport == nullptr) return;
    m_scan.Finish();
    m_pReport->nEncoding = m_file.m_nEncoding;
    m_pReport->nNuls = m_scan.Nuls();
    m_pReport->nFirstIllFormed = m_scan.FirstIllFormed();
    for (unsigned long i = m_nFirstLine; i < m_file.GetLineCount(); ++i) {
      ++m_pReport->nLines[m_file.GetLineType(i)];
    }
  }

  /// To be called after the reading.
  template <typename Reader>
  void NoteRead(const Reader& reader) noexcept {
    if (m_pReport == nullptr) return;
    m_pReport->nBytes = m_nStart + reader.BytesRead();
    m_pReport->bOddByte = m_pReport->nBytes > m_scan.Position();
    m_pReport->bPastLimit = reader.IsPastLimit();
  }

  ZTKTextScan* Scan() noexcept { return m_pReport != nullptr ? &m_scan : nullptr; }

 private:
  // Where the text starts in the file. A pipe does not tell; it has been read up to its mark.
  static int64_t StartOf(ZTKTextFile& file) noexcept {
    const long position = file.m_file.Tell();
    if (position >= 0) return position;
    return file.m_nEncoding == ENC_ANSI ? 0 : file.m_nEncoding == ENC_UTF8 ? 3 : 2;
  }

  ZTKTextFile& m_file;
  ZTKTextReport* const m_pReport;
  const int64_t m_nStart;
  ZTKTextScan m_scan;
  const unsigned long m_nFirstLine;
};

/// The sink of 8-bit text.
///
/// Lines without a mark are judged one by one, but where the fresh text is UTF-8 as a whole all of
/// them are.
class ZTKTextFile::ByteLines {
 public:
  ByteLines(ZTKTextFile& file, ZTKTextScan* pScan) noexcept
      : m_file(file),
        m_pScan(pScan),
        m_isMarked(file.m_nEncoding == ENC_UTF8),
        m_readsUtf8(XPSystemReadsUtf8()) {}

  void Prepare(const char* pLine, const char* pStart, const char* pEnd) noexcept {
    if (m_pScan != nullptr) m_pScan->Bytes(pStart, pEnd);
    if (pStart < pEnd) m_file.NoteFound(kSomething);
    if (!m_hasReserved) {
      m_hasReserved = true;
      m_file.ReserveForRest(static_cast<unsigned long>(pEnd - pStart),
                            static_cast<unsigned long>(std::count(pStart, pEnd, '\n')));
    }
    if (pLine == pStart) m_found = {};
    if (m_isMarked) {
      const auto size = static_cast<size_t>(pEnd - pStart);
      m_found.hasNul |= LengthToNul(pStart, size) < size;
      return;
    }
    // What opened a character at the end of the text before still stands in front of this one.
    const char* const start = pStart - m_nOpen;
    m_nOpen = ZTKOpenBytes(start, pEnd);
    const ZTKBytesFound fresh = ZTKScanBytes(start, pEnd - m_nOpen);
    m_found.hasNul |= fresh.hasNul;
    m_found.hasHigh |= fresh.hasHigh || m_nOpen > 0;
    m_found.isUtf8 &= fresh.isUtf8;
  }

  bool Line(char* pText, size_t nLength, ZTKTextFileType type) noexcept {
    if (m_found.hasNul) nLength = LengthToNul(pText, nLength);
    const unsigned long length = ZTKCountOf(nLength);
    // Only the last line of a file ends inside a character.
    const bool isKnown = m_found.isUtf8 && (type != EOL_NONE || m_nOpen == 0);
    const bool isNoted = isKnown && m_file.HasFound(kUtf8);
    if (m_isMarked || (m_readsUtf8 && (isNoted || !m_found.hasHigh || !HasHigh(pText, nLength)))) {
      return m_file.AppendLine(pText, length, type);
    }

    const char next = pText[nLength];
    pText[nLength] = '\0';
    const bool added = m_readsUtf8 ? HighLine(pText, nLength, type, isKnown)
                                   : m_file.AppendSystemLine(pText, length, type);
    pText[nLength] = next;
    return added;
  }

 private:
  // A NUL-terminated line that is not ASCII.
  bool HighLine(const char* pText, size_t nLength, ZTKTextFileType type, bool isUtf8) noexcept {
    if (isUtf8 || ztk_utf8::IsValid(pText)) {
      m_file.NoteFound(kUtf8);
      return m_file.AppendLine(pText, ZTKCountOf(nLength), type);
    }
    m_file.NoteFound(kLegacy);
    char* const utf8 = m_buffer.Reserve(ztk_windows1252::Utf8Bound(nLength));
    if (utf8 == nullptr) return false;
    const size_t length = ztk_windows1252::ToUtf8({pText, nLength}, utf8);
    // As the general conversion, which counts in `int`.
    return length < INT_MAX && m_file.AppendLine(utf8, ZTKCountOf(length), type);
  }

  ZTKTextFile& m_file;
  ZTKTextScan* const m_pScan;  // Null when there is nothing to be reported.
  const bool m_isMarked;
  const bool m_readsUtf8;  // Where a line is valid UTF-8; asked once a file.
  bool m_hasReserved = false;
  ZTKBytesFound m_found;  // Somewhere in the open line or the fresh text, but for m_nOpen.
  size_t m_nOpen = 0;     // Bytes at the end of the text that open a character.
  LineBuffer m_buffer;
};

/// The sink of 16-bit text.
class ZTKTextFile::UnitLines {
 public:
  UnitLines(ZTKTextFile& file, ZTKTextScan* pScan) noexcept
      : m_file(file),
        m_pScan(pScan),
        m_isBigEndian((ms_swapUtf16 || file.Has(TEXT_SWAP_UTF16)) &&
                      file.m_nEncoding == ENC_UTF16BE) {
    file.NoteFound(kSomething);  // The mark at least.
    if (m_isBigEndian) file.NoteFound(kBigEndian);
  }
  UnitLines(const UnitLines&) = delete;
  UnitLines& operator=(const UnitLines&) = delete;

  void Prepare(const uint16_t* pLine, uint16_t* pStart, uint16_t* pEnd) noexcept {
    ZTKUnitsFromBytes(pStart, pEnd, m_isBigEndian);
    if (m_pScan != nullptr) m_pScan->Units(pStart, pEnd);
    if (!m_hasReserved) {
      m_hasReserved = true;
      m_file.ReserveForRest(static_cast<unsigned long>(2 * (pEnd - pStart)),
                            static_cast<unsigned long>(std::count(pStart, pEnd, uint16_t{0x0A})));
    }
    if (pLine == pStart) m_hasNul = false;
    m_hasNul |= ZTKHasNulUnit(pStart, pEnd);
  }

  bool Line(const uint16_t* pText, size_t nLength, ZTKTextFileType type) noexcept {
    if (m_hasNul) nLength = static_cast<size_t>(std::find(pText, pText + nLength, 0) - pText);
    char* const utf8 = m_buffer.Reserve(ZTKUtf16ToUtf8Bound(nLength));
    if (utf8 == nullptr) return false;
    const size_t length = ZTKUtf16ToUtf8(pText, nLength, utf8);
    return m_file.AppendLine(utf8, ZTKCountOf(length), type);
  }

 private:
  ZTKTextFile& m_file;
  ZTKTextScan* const m_pScan;  // Null when there is nothing to be reported.
  const bool m_isBigEndian;
  bool m_hasReserved = false;
  bool m_hasNul = false;  // Somewhere in the open line or the fresh text.
  LineBuffer m_buffer;
};

bool ZTKTextFile::OnRead() {
  if (!m_file.IsOpen()) return false;
  return m_nEncoding == ENC_UTF16LE || m_nEncoding == ENC_UTF16BE ? OnReadW() : OnReadA();
}

bool ZTKTextFile::Open(ZTKTextReport& report) {
  report = ZTKTextReport();
  const ReportRequest outer = t_request;
  t_request = {this, &report};
  const bool isRead = Open();
  t_request = outer;
  return isRead;
}

template <typename Unit, typename Sink>
bool ZTKTextFile::ReadLines() {
  ReportScope report(*this);
  Sink sink(*this, report.Scan());
  ZTKTextLineReader<Unit, Sink> reader(sink, Limit());
  const bool isRead = reader.Run(m_file);
  report.NoteRead(reader);
  return isRead;
}

bool ZTKTextFile::OnReadA() { return ReadLines<char, ByteLines>(); }

bool ZTKTextFile::OnReadW() { return ReadLines<uint16_t, UnitLines>(); }

void ZTKTextFile::AddLineA(char* pszText, ZTKTextFileType type) {
  if (pszText == nullptr) return;
  const unsigned long length = ZTKCountOf(std::strlen(pszText));
  if (m_nEncoding == ENC_UTF8) {
    AppendLine(pszText, length, type);
  } else {
    AppendSystemLine(pszText, length, type);
  }
}

void ZTKTextFile::AddLineW(wchar_t* pszText, ZTKTextFileType type) {
  if (pszText == nullptr) return;
  const ZTKCW2AEX<128> text(pszText, kCodePageUtf8);
  AppendLine(text.m_psz, ZTKCountOf(std::strlen(text.m_psz)), type);
}

// Reserves capacity for the lines of the whole file, of which the first `nBytes` hold `nLines`:
// growing step by step would touch about twice the memory. Not for a file of one chunk.
void ZTKTextFile::ReserveForRest(unsigned long nBytes, unsigned long nLines) noexcept {
  const long length = nBytes >= kWorthReserving ? m_file.Length() : -1;
  if (length <= 0) return;
  const double chunks = static_cast<double>(length) / static_cast<double>(nBytes);
  const double lines = kReserve * chunks * static_cast<double>(nLines);
  if (lines < static_cast<double>(ZTKPtrArr::kMaxCount)) {
    ReserveLines(static_cast<unsigned long>(lines));
  }
}

// Adds a line in the system's code page. Where that reads valid UTF-8 as UTF-8, such a line stays
// as it is, and the two conversions would only spell it out and put it together again.
bool ZTKTextFile::AppendSystemLine(const char* pszText, unsigned long nLength,
                                   ZTKTextFileType type) {
  if (XPSystemReadsUtf8()) {
    const bool isUtf8 = ztk_utf8::IsValid(pszText);
    if (!isUtf8) NoteFound(kLegacy);
    if (isUtf8 && HasHigh(pszText, nLength)) NoteFound(kUtf8);
    if (isUtf8) return AppendLine(pszText, nLength, type);
  }

  const ZTKCA2WEX<128> wide(pszText, kCodePageSystem);
  const ZTKCW2AEX<128> text(wide.m_psz, kCodePageUtf8);
  if (text.m_psz == nullptr) return false;
  const unsigned long length = ZTKCountOf(std::strlen(text.m_psz));
  if (length == 0 && nLength > 0) return false;  // An allocation failed.
  return AppendLine(text.m_psz, length, type);
}
