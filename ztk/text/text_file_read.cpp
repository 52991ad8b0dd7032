#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "ztk/foundation/internal/utf8.h"
#include "ztk/foundation/text_conversion.h"
#include "ztk/text/internal/text_line_reader.h"
#include "ztk/text/internal/text_scan.h"
#include "ztk/text/internal/utf16.h"
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
class ZTKTextFile::ByteLines {
 public:
  ByteLines(ZTKTextFile& file, ZTKTextScan* pScan) noexcept
      : m_file(file),
        m_pScan(pScan),
        m_isUtf8(file.m_nEncoding == ENC_UTF8),
        m_keepsAscii(m_isUtf8 || XPSystemReadsUtf8()) {}

  void Prepare(const char* pLine, const char* pStart, const char* pEnd) noexcept {
    if (m_pScan != nullptr) m_pScan->Bytes(pStart, pEnd);
    if (pStart < pEnd) m_file.NoteFound(kSomething);
    if (!m_hasReserved) {
      m_hasReserved = true;
      m_file.ReserveForRest(static_cast<unsigned long>(pEnd - pStart),
                            static_cast<unsigned long>(std::count(pStart, pEnd, '\n')));
    }
    if (pLine == pStart) m_hasNul = m_hasHigh = false;
    // Most text has neither; one look at all of it saves one at every line.
    const auto size = static_cast<size_t>(pEnd - pStart);
    m_hasNul |= LengthToNul(pStart, size) < size;
    m_hasHigh |= HasHigh(pStart, size);
  }

  bool Line(char* pText, size_t nLength, ZTKTextFileType type) noexcept {
    if (m_hasNul) nLength = LengthToNul(pText, nLength);
    const unsigned long length = ZTKCountOf(nLength);
    if (m_isUtf8 || (m_keepsAscii && !(m_hasHigh && HasHigh(pText, nLength)))) {
      return m_file.AppendLine(pText, length, type);
    }

    const char next = pText[nLength];
    pText[nLength] = '\0';
    const bool added = m_file.AppendSystemLine(pText, length, type);
    pText[nLength] = next;
    return added;
  }

 private:
  ZTKTextFile& m_file;
  ZTKTextScan* const m_pScan;  // Null when there is nothing to be reported.
  const bool m_isUtf8;
  const bool m_keepsAscii;  // Lines of ASCII are what they are in UTF-8.
  bool m_hasReserved = false;
  bool m_hasNul = false;   // Somewhere in the open line or the fresh text.
  bool m_hasHigh = false;  // The same for bytes above 0x7F.
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
  ~UnitLines() { std::free(m_pUtf8); }
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
    uint16_t nul = 0;
    for (const uint16_t* p = pStart; p < pEnd; ++p) nul |= *p == 0 ? uint16_t{1} : uint16_t{0};
    m_hasNul |= nul != 0;
  }

  bool Line(const uint16_t* pText, size_t nLength, ZTKTextFileType type) noexcept {
    if (m_hasNul) nLength = static_cast<size_t>(std::find(pText, pText + nLength, 0) - pText);
    if (!Reserve(ZTKUtf16ToUtf8Bound(nLength))) return false;
    const size_t length = ZTKUtf16ToUtf8(pText, nLength, m_pUtf8);
    return m_file.AppendLine(m_pUtf8, ZTKCountOf(length), type);
  }

 private:
  bool Reserve(size_t nBytes) noexcept {
    if (nBytes <= m_nCapacity) return true;
    const size_t capacity = std::max(nBytes, size_t{4096});
    void* const block = std::realloc(m_pUtf8, capacity);
    if (block == nullptr) return false;
    m_pUtf8 = static_cast<char*>(block);
    m_nCapacity = capacity;
    return true;
  }

  ZTKTextFile& m_file;
  ZTKTextScan* const m_pScan;  // Null when there is nothing to be reported.
  const bool m_isBigEndian;
  bool m_hasReserved = false;
  bool m_hasNul = false;  // Somewhere in the open line or the fresh text.
  char* m_pUtf8 = nullptr;
  size_t m_nCapacity = 0;
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
