#include "tools/ztk/text_scan.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/temp_dir.h"
#include "ztk/text/text_file.h"

namespace {

using namespace std::string_literals;
using Encoding = TextReport::Encoding;

TextReport Scan(std::string_view text) {
  TextScanner scanner;
  scanner.Feed(text);
  return scanner.Finish();
}

TEST(TextScanner, TellsTheEncoding) {
  struct Row {
    std::string text;
    Encoding encoding;
    bool hasMark;
  };
  const std::vector<Row> rows = {
      {"", Encoding::kAscii, false},
      {"plain\n", Encoding::kAscii, false},
      {"caf\xC3\xA9\n", Encoding::kUtf8, false},
      {"caf\xE9\n", Encoding::kWindows1252, false},
      {"caf\xE9\ncaf\xC3\xA9\n", Encoding::kMixed, false},
      {"\xEF\xBB\xBF", Encoding::kUtf8, true},
      {"\xEF\xBB\xBFplain", Encoding::kUtf8, true},
      {"\xEF\xBB", Encoding::kWindows1252, false},
      {"\xFF\xFE", Encoding::kUtf16LittleEndian, true},
      {"\xFE\xFF\0a"s, Encoding::kUtf16BigEndian, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(Hex(row.text));
    const TextReport report = Scan(row.text);
    EXPECT_EQ(EncodingName(report.encoding), EncodingName(row.encoding));
    EXPECT_EQ(report.hasMark, row.hasMark);
    EXPECT_EQ(report.nBytes, row.text.size());
  }
}

TEST(TextScanner, CountsLinesAndTheirEnds) {
  struct Row {
    std::string text;
    uint64_t nLines, nLf, nCrLf, nCr;
    bool endsInLineEnd;
  };
  const std::vector<Row> rows = {
      {"", 0, 0, 0, 0, false},
      {"a", 1, 0, 0, 0, false},
      {"a\n", 1, 1, 0, 0, true},
      {"a\r\nb\rc\nd", 4, 1, 1, 1, false},
      {"\r\r\n\n", 3, 1, 1, 1, true},
      {"\xFF\xFE\r\0\n\0\r\0"s, 2, 0, 1, 1, true},
      {"\xFE\xFF\0\r\0a\0\n"s, 2, 1, 0, 1, true},
      // A unit with the bytes of a line end is none.
      {"\xFF\xFE\x0A\x0D"s, 1, 0, 0, 0, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(Hex(row.text));
    const TextReport report = Scan(row.text);
    EXPECT_EQ(report.nLines, row.nLines);
    EXPECT_EQ(report.nLf, row.nLf);
    EXPECT_EQ(report.nCrLf, row.nCrLf);
    EXPECT_EQ(report.nCr, row.nCr);
    EXPECT_EQ(report.endsInLineEnd, row.endsInLineEnd);
  }
}

TEST(TextScanner, FindsTheFirstIllFormedByte) {
  struct Row {
    std::string text;
    uint64_t nOffset;
  };
  const std::vector<Row> rows = {
      {"ab\x80", 2},
      {"\xC0\x80", 0},          // Two bytes for NUL.
      {"a\xC3", 1},             // The text ends inside.
      {"\xE0\x9F\xBF", 0},      // Three bytes for what takes two.
      {"\xED\xA0\x80", 0},      // A surrogate.
      {"\xF0\x8F\xBF\xBF", 0},  // Four bytes for what takes three.
      {"\xF4\x90\x80\x80", 0},  // Past the last code point.
      {"\xF5", 0},
      {"\xC3\xA9\xE2\x82", 2},
      {"\xEF\xBB\xBF\xFF", 3},
      {"\xFF\xFE\x00\xD8"s, 2},          // A high surrogate at the end,
      {"\xFF\xFE\x00\xD8\x61\x00"s, 2},  // or before something else.
      {"\xFF\xFE\x61\x00\x00\xDC"s, 4},  // A low one alone.
      {"\xFF\xFE\x61\x00\x62"s, 4},      // Half a unit.
      {"\xFE\xFF\xDC\x00"s, 2},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(Hex(row.text));
    EXPECT_EQ(Scan(row.text).firstIllFormed, row.nOffset);
  }
}

TEST(TextScanner, TakesEveryWellFormedText) {
  for (const std::string& text :
       {"\xC2\x80\xDF\xBF"s, "\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"s,
        "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"s, "\xFF\xFE\x3D\xD8\x00\xDE"s}) {
    SCOPED_TRACE(Hex(text));
    EXPECT_FALSE(Scan(text).firstIllFormed.has_value());
  }
}

TEST(TextScanner, FindsTheFirstNul) {
  EXPECT_EQ(Scan("ab\0c\0"s).firstNul, 2u);
  EXPECT_EQ(Scan("\xFF\xFE\x61\x00\x00\x00"s).firstNul, 4u);
  EXPECT_FALSE(Scan("\xFF\xFE\x61\x00"s).firstNul.has_value());
}

TEST(TextScanner, SaysTheSameWhateverThePieces) {
  const std::vector<std::string> texts = {
      "\xEF\xBB\xBF"
      "a\r\n\xE2\x82\xAC\rb\n\xE2\x82"s,
      "\xFF\xFE\x3D\xD8\x00\xDE\r\0\n\0x\0\0\xD8"s,
      "caf\xE9\r\ncaf\xC3\xA9\n\0"s,
  };
  for (const std::string& text : texts) {
    SCOPED_TRACE(Hex(text));
    const TextReport whole = Scan(text);
    for (size_t nPiece = 1; nPiece < text.size(); ++nPiece) {
      SCOPED_TRACE(nPiece);
      TextScanner scanner;
      for (size_t at = 0; at < text.size(); at += nPiece) {
        scanner.Feed(std::string_view(text).substr(at, nPiece));
      }
      const TextReport report = scanner.Finish();
      EXPECT_EQ(report.encoding, whole.encoding);
      EXPECT_EQ(report.nLines, whole.nLines);
      EXPECT_EQ(report.nLf, whole.nLf);
      EXPECT_EQ(report.nCrLf, whole.nCrLf);
      EXPECT_EQ(report.nCr, whole.nCr);
      EXPECT_EQ(report.endsInLineEnd, whole.endsInLineEnd);
      EXPECT_EQ(report.firstIllFormed, whole.firstIllFormed);
      EXPECT_EQ(report.firstNul, whole.firstNul);
    }
  }
}

TEST(TextScanner, CountsTheLinesThatTheLibraryReads) {
  const TempDir dir;
  for (const std::string& text :
       {""s, "\n"s, "a\r\r\nb"s, "\xEF\xBB\xBF\n\n"s, "\xFF\xFE\r\0\n\0a\0"s, "caf\xE9\rb\r"s}) {
    SCOPED_TRACE(Hex(text));
    WriteWholeFile(dir / "text", text);
    ZTKTextFile file{ZTKString((dir / "text").c_str())};
    ASSERT_TRUE(file.Open());
    EXPECT_EQ(Scan(text).nLines, file.GetLineCount());
  }
}

}  // namespace
