#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// What a text file turned out to be. Offsets are in bytes from the start of the file, its mark
/// included.
struct TextReport {
  enum class Encoding {
    kAscii,
    kUtf8,
    kWindows1252,
    kMixed,  ///< Without a mark, and some lines are UTF-8 and some are not.
    kUtf16LittleEndian,
    kUtf16BigEndian,
    kUtf32LittleEndian,  ///< Only recognised: no reader of the library takes it.
    kUtf32BigEndian,
    kBinary,  ///< Without a mark, and with a NUL.
  };

  Encoding encoding = Encoding::kAscii;
  bool hasMark = false;
  uint64_t nBytes = 0;
  uint64_t nLines = 0;  ///< A last line without a line end counts, an empty one does not.
  uint64_t nLf = 0;
  uint64_t nCrLf = 0;
  uint64_t nCr = 0;
  bool endsInLineEnd = false;
  /// The first byte that the encoding of the mark does not allow; without a mark, the first that is
  /// not UTF-8, which is then read as Windows-1252 with the rest of its line.
  std::optional<uint64_t> firstIllFormed;
  std::optional<uint64_t> firstNul;

  /// Whether the text can be read without loss.
  bool IsLossless() const { return !IsUtf32() && !firstNul && (!hasMark || !firstIllFormed); }
  bool IsUtf32() const {
    return encoding == Encoding::kUtf32LittleEndian || encoding == Encoding::kUtf32BigEndian;
  }
};

/// "UTF-8", "Windows-1252", …
std::string_view EncodingName(TextReport::Encoding encoding);

/// Reports on a text that comes in pieces of any size, in one pass and without keeping it.
class TextScanner {
 public:
  void Feed(std::string_view bytes);
  /// What was found up to now; the encoding as far as a mark tells it.
  const TextReport& SoFar() const { return m_report; }
  /// The report; nothing may be fed afterwards.
  TextReport Finish();

 private:
  enum class Mark {
    kUndecided,
    kNone,
    kUtf8,
    kUtf16LittleEndian,
    kUtf16BigEndian,
    kUtf32LittleEndian,
    kUtf32BigEndian,
  };

  void DecideMark();
  TextReport::Encoding FindEncoding() const;
  void FeedBytes(std::string_view bytes);
  void FeedUtf8(unsigned char byte);
  void FeedWide(unsigned char byte);
  void FeedUnit(unsigned unit);
  void FeedCodePoint(unsigned codePoint);
  void FeedCharacter(unsigned unit, uint64_t nOffset);
  void EndLine();
  void NoteIllFormed(uint64_t nOffset);

  TextReport m_report;
  Mark m_mark = Mark::kUndecided;
  std::string m_head;     // The first bytes, until the mark is decided.
  uint64_t m_offset = 0;  // Of the next byte.

  // The line under way.
  bool m_lineHasText = false;
  bool m_lineIsAscii = true;
  bool m_lineIsUtf8 = true;
  bool m_lastWasCr = false;

  uint64_t m_nUtf8Lines = 0;    // Lines with more than ASCII in them.
  uint64_t m_nLegacyLines = 0;  // Lines that are not UTF-8.

  // The UTF-8 sequence under way: bytes still to come, and the range of the next one.
  unsigned m_nMissing = 0;
  unsigned char m_low = 0x80;
  unsigned char m_high = 0xBF;
  uint64_t m_sequenceStart = 0;

  size_t m_width = 1;  // Bytes of a unit, and of the one under way:
  size_t m_nBytes = 0;
  unsigned m_unit = 0;
  std::optional<uint64_t> m_highSurrogate;  // The offset of one that waits for its partner.
};
