#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/support/failing_allocator.h"
#include "tests/support/latin9_locale.h"
#include "tests/text/text_file_support.h"

// Reading: encodings, line ends, conversions, faults.

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Opens the protected operations.
class OpenTextFile : public ZTKTextFile {
 public:
  using ZTKTextFile::AddLineA;
  using ZTKTextFile::AddLineW;
  using ZTKTextFile::OnReadA;
  using ZTKTextFile::OnReadW;
  using ZTKTextFile::SwapStr;
  using ZTKTextFile::ZTKTextFile;
};

class ScopedSwap {
 public:
  ScopedSwap() { ZTKTextFile::ms_swapUtf16 = true; }
  ~ScopedSwap() { ZTKTextFile::ms_swapUtf16 = false; }
};

using ZTKTextFileReading = ZTKTextFileTest;

std::string AllTexts(size_t length, std::string_view alphabet, size_t number) {
  std::string text;
  for (size_t i = 0; i < length; ++i, number /= alphabet.size()) {
    text += alphabet[number % alphabet.size()];
  }
  return text;
}

size_t Power(size_t base, size_t exponent) {
  size_t result = 1;
  while (exponent-- > 0) result *= base;
  return result;
}

}  // namespace

TEST(ZTKTextFile, EncodingsKeepTheirValues) {
  EXPECT_EQ(ENC_NONE, 0);
  EXPECT_EQ(ENC_ANSI, 1);
  EXPECT_EQ(ENC_UTF8, 2);
  EXPECT_EQ(ENC_UTF16LE, 3);
  EXPECT_EQ(ENC_UTF16BE, 4);
  EXPECT_FALSE(ZTKTextFile::ms_swapUtf16);
}

TEST(ZTKTextFile, IsAnsiAndClosedAtFirst) {
  OpenTextFile file("no such file");
  EXPECT_EQ(file.GetEncoding(), ENC_ANSI);
  EXPECT_EQ(file.EncodedType(), ENC_NONE);
  file.ResetFilePointer();
  EXPECT_FALSE(file.OnRead());
  EXPECT_TRUE(file.OnClose());
  EXPECT_TRUE(file.SwapStr(nullptr, 5));
  unsigned short text[] = {0x1234};
  EXPECT_TRUE(file.SwapStr(text, 1));
  EXPECT_EQ(text[0], 0x1234);
}

TEST_F(ZTKTextFileReading, TellsTheEncodingByTheMark) {
  const Utf8CodePage page;
  struct {
    std::string bytes;
    int encoding;
    Lines lines;
  } const rows[] = {
      {"", ENC_ANSI, {}},
      {"a", ENC_ANSI, {{"a", 0}}},
      {"\xEF", ENC_ANSI, {{"\xC3\xAF", 0}}},
      {"\xFF", ENC_ANSI, {{"\xC3\xBF", 0}}},
      {"\xFE", ENC_ANSI, {{"\xC3\xBE", 0}}},
      {"\xEF\xBB", ENC_ANSI, {{"\xC3\xAF\xC2\xBB", 0}}},
      {"\xEF\xBB\x41", ENC_ANSI, {{"\xC3\xAF\xC2\xBB\x41", 0}}},
      {"\xEF\xBB\xBE", ENC_ANSI, {{"\xEF\xBB\xBE", 0}}},
      {"\xEF\xBB\xBF", ENC_UTF8, {}},
      {"\xEF\xBB\xBF\xEF\xBB\xBF", ENC_UTF8, {{"\xEF\xBB\xBF", 0}}},
      {"\xEF\xBB\xBF\n", ENC_UTF8, {{"", 1}}},
      {"\xFF\xFE", ENC_UTF16LE, {}},
      {"\xFF\xFE\x41", ENC_UTF16LE, {}},
      {Bytes("\xFF\xFE\x41\x00"), ENC_UTF16LE, {{"A", 0}}},
      {"\xFE\xFF", ENC_UTF16BE, {}},
      {"\xFF\xFF", ENC_ANSI, {{"\xC3\xBF\xC3\xBF", 0}}},
      // UTF-32LE: UTF-16 in which every other unit is NUL.
      {Bytes("\xFF\xFE\x00\x00\x41\x00\x00\x00"), ENC_UTF16LE, {{"", 0}}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Hex(row.bytes));
    EXPECT_EQ(Read(row.bytes), row.lines);
    EXPECT_EQ(m_encoding, row.encoding);
  }
}

TEST_F(ZTKTextFileReading, LineEndsInEveryEncoding) {
  struct {
    std::u16string text;
    Lines lines;
  } const rows[] = {
      {u"a\r\nb", {{"a", EOL_DOS}, {"b", EOL_NONE}}},
      {u"a\n", {{"a", EOL_UNIX}}},
      {u"A\r\r", {{"", EOL_MAC}, {"A", EOL_NONE}}},
      {u"A\r\rB", {{"", EOL_MAC}, {"A", EOL_MAC}, {"B", EOL_NONE}}},
      {u"A\r\r\rB", {{"", EOL_MAC}, {"", EOL_MAC}, {"A", EOL_MAC}, {"B", EOL_NONE}}},
      {u"A\r\r\n", {{"", EOL_MAC}, {"A", EOL_DOS}}},
      {u"A\r", {{"A", EOL_NONE}}},
      {u"\r", {}},
      {u"\r\r", {{"", EOL_MAC}}},
      {u"\n\r", {{"", EOL_UNIX}}},
      {u"\n\n", {{"", EOL_UNIX}, {"", EOL_UNIX}}},
      {u"\r\n\r\n", {{"", EOL_DOS}, {"", EOL_DOS}}},
      {u"\rA", {{"", EOL_MAC}, {"A", EOL_NONE}}},
      {u"\n\rA\r\nB\r", {{"", EOL_UNIX}, {"", EOL_MAC}, {"A", EOL_DOS}, {"B", EOL_NONE}}},
  };
  for (const auto& row : rows) {
    const std::string narrow(row.text.begin(), row.text.end());
    SCOPED_TRACE(testing::PrintToString(narrow));
    EXPECT_EQ(Read(narrow), row.lines);
    EXPECT_EQ(Read("\xEF\xBB\xBF" + narrow), row.lines);
    EXPECT_EQ(Read(Utf16(row.text)), row.lines);
    const ScopedSwap swap;
    EXPECT_EQ(Read(Utf16(row.text, true)), row.lines);
  }
}

TEST_F(ZTKTextFileReading, EveryShortTextGivesTheLinesOfTheTable) {
  for (size_t length = 0; length <= 6; ++length) {
    for (size_t number = 0; number < Power(3, length); ++number) {
      const std::string text = AllTexts(length, "A\r\n", number);
      ASSERT_EQ(Read(text), text_reference::Read(text)) << testing::PrintToString(text);
    }
  }
}

TEST_F(ZTKTextFileReading, EveryTextOfTenInTheMidstOfOthersGivesTheLinesOfTheTable) {
  std::string narrow;
  std::u16string wide;
  for (size_t number = 0; number < Power(3, 10); ++number) {
    const std::string text = AllTexts(10, "A\r\n", number) + "Z";
    narrow += text;
    wide.append(text.begin(), text.end());
  }
  const Lines expected = text_reference::Read(narrow);
  ASSERT_GT(expected.size(), 300000u);
  EXPECT_EQ(Read(narrow), expected);
  EXPECT_EQ(Read(Utf16(wide)), expected);
}

TEST_F(ZTKTextFileReading, ChunkBoundariesCannotBeSeen) {
  // Every text of a few characters across byte, or unit, 1,024 and 65,536, with every split.
  for (const size_t boundary : {1024u, 65536u}) {
    for (size_t length = 1; length <= (boundary == 1024 ? 4u : 3u); ++length) {
      for (size_t number = 0; number < Power(3, length); ++number) {
        const std::string text = AllTexts(length, "A\r\n", number);
        for (size_t before = 1; before <= length; ++before) {
          for (const char* const after : {"", "B"}) {
            const std::string narrow = std::string(boundary - before, 'x') + text + after;
            ASSERT_EQ(Read(narrow), text_reference::Read(narrow))
                << testing::PrintToString(text) << " across " << boundary;
          }
        }
      }
    }
  }
  for (const size_t boundary : {1024u, 32768u}) {
    for (size_t number = 0; number < Power(3, 3); ++number) {
      const std::string text = AllTexts(3, "A\r\n", number);
      for (size_t before = 1; before <= 3; ++before) {
        const std::u16string wide =
            std::u16string(boundary - before, u'x') + std::u16string(text.begin(), text.end());
        ASSERT_EQ(Read(Utf16(wide)), text_reference::Read(Utf16(wide)))
            << testing::PrintToString(text) << " across " << boundary;
      }
    }
  }
}

TEST_F(ZTKTextFileReading, LinesOfEveryLengthAroundTheBlocks) {
  for (size_t length : {0u,     1u,     126u,   127u,    128u,    129u,    1022u,   1023u,
                        1024u,  1025u,  1026u,  2047u,   2048u,   2049u,   2050u,   65534u,
                        65535u, 65536u, 65537u, 131071u, 131072u, 131073u, 1000000u}) {
    SCOPED_TRACE(length);
    const std::string text(length, 'x');
    const Lines expected = {{text, EOL_DOS}, {"y", EOL_UNIX}, {text + "z", EOL_NONE}};
    EXPECT_EQ(Read(text + "\r\ny\n" + text + "z"), expected);
    const std::u16string wide(length, u'x');
    EXPECT_EQ(Read(Utf16(wide + u"\r\ny\n" + wide + u"z")), expected);
    // The same with a byte that makes every line go through the conversions.
    const Lines legacy = {{text + "\xC3\xA9", EOL_MAC}, {text + "\xE2\x82\xAC", EOL_NONE}};
    EXPECT_EQ(Read(text + "\xE9\r" + text + "\x80"), legacy);
  }
}

TEST_F(ZTKTextFileReading, BytesOfTheCodePageBecomeUtf8) {
  const Utf8CodePage page;
  EXPECT_EQ(Read("caf\xE9\n\x80\x81\x9F\xA0\xFF"),
            (Lines{{"caf\xC3\xA9", EOL_UNIX},
                   {"\xE2\x82\xAC\xC2\x81\xC5\xB8\xC2\xA0\xC3\xBF", EOL_NONE}}));
  // Each line is judged by itself: the second is UTF-8 already.
  EXPECT_EQ(Read("\xE9\n\xC3\xA9\nabc\n"),
            (Lines{{"\xC3\xA9", EOL_UNIX}, {"\xC3\xA9", EOL_UNIX}, {"abc", EOL_UNIX}}));
}

TEST_F(ZTKTextFileReading, EveryByteOfTheCodePageIsKept) {
  for (int byte = 1; byte < 256; ++byte) {
    if (byte == '\r' || byte == '\n') continue;
    SCOPED_TRACE(byte);
    const std::string text = std::string("x") + static_cast<char>(byte);
    EXPECT_EQ(Read(text), text_reference::Read(text));
  }
}

TEST_F(ZTKTextFileReading, MarkedUtf8IsTakenAsItIs) {
  EXPECT_EQ(Read("\xEF\xBB\xBF\xE9\xFF\n\xC3\xA9"),
            (Lines{{"\xE9\xFF", EOL_UNIX}, {"\xC3\xA9", EOL_NONE}}));
}

TEST_F(ZTKTextFileReading, ANulEndsTheTextOfItsLine) {
  EXPECT_EQ(Read(Bytes("a\0b\nc\0\n\0d\r\n\0")),
            (Lines{{"a", EOL_UNIX}, {"c", EOL_UNIX}, {"", EOL_DOS}, {"", EOL_NONE}}));
  EXPECT_EQ(Read(Bytes("\xEF\xBB\xBF\0")), (Lines{{"", EOL_NONE}}));
  EXPECT_EQ(Read(Bytes("\xE9\0b\nc")), (Lines{{"\xC3\xA9", EOL_UNIX}, {"c", EOL_NONE}}));
  EXPECT_EQ(Read(Utf16(std::u16string(u"a\0b\nc\0\n\0", 8))),
            (Lines{{"a", EOL_UNIX}, {"c", EOL_UNIX}, {"", EOL_NONE}}));
  // Far in front of the chunk that the line ends in.
  const std::string tail(200000, 'x');
  EXPECT_EQ(Read(Bytes("a\0") + tail + "\nb"), (Lines{{"a", EOL_UNIX}, {"b", EOL_NONE}}));
  EXPECT_EQ(Read("\xE9" + tail + "\nb"), (Lines{{"\xC3\xA9" + tail, EOL_UNIX}, {"b", EOL_NONE}}));
}

// Not merely hidden behind the NUL, from where saving would write it again.
TEST_F(ZTKTextFileReading, NothingBehindANulIsKeptOrSaved) {
  const std::u16string text(u"a\0b\n\0c\r\nd\0", 9);
  for (const std::string& bytes : {Bytes("a\0b\n\0c\r\nd\0"),
                                   Bytes("\xEF\xBB\xBF"
                                         "a\0b\n\0c\r\nd\0"),
                                   Utf16(text), Utf16(text, true)}) {
    SCOPED_TRACE(Hex(bytes));
    WriteWholeFile(Path(), bytes);
    ZTKTextFile file(Native().c_str(), TEXT_SWAP_UTF16);
    ASSERT_TRUE(file.Open());
    EXPECT_EQ(LinesOf(file), (Lines{{"a", EOL_UNIX}, {"", EOL_DOS}, {"d", EOL_NONE}}));
    for (const ZTKString& line : file) EXPECT_EQ(line.DataLength(), line.Len());
    ASSERT_TRUE(file.Write(EOL_NONE));
    EXPECT_EQ(Hex(ReadWholeFile(Path())), "EF BB BF 61 0A 0D 0A 64");
  }
}

TEST_F(ZTKTextFileReading, UnitsBecomeUtf8) {
  struct {
    std::u16string text;
    std::string utf8;
  } const rows[] = {
      {u"\u007F\u0080\u07FF\u0800", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80"},
      {u"\u8000\uFFFF", "\xE8\x80\x80\xEF\xBF\xBF"},
      {u"\U0001F600\U0010FFFF", "\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"},
      {{0xD800}, "\xEF\xBF\xBD"},
      {{0xDC00}, "\xEF\xBF\xBD"},
      {{0xD800, u'a'},
       "\xEF\xBF\xBD"
       "a"},
      {{0xDC00, 0xD800}, "\xEF\xBF\xBD\xEF\xBF\xBD"},
      {{0xD800, 0xD800, 0xDC00}, "\xEF\xBF\xBD\xF0\x90\x80\x80"},
      {u"abcdefgh\u00E9ijklmnop", "abcdefgh\xC3\xA9ijklmnop"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Hex(row.utf8));
    EXPECT_EQ(Read(Utf16(row.text)), (Lines{{row.utf8, EOL_NONE}}));
  }
}

TEST_F(ZTKTextFileReading, APairOfSurrogatesMayStraddleAChunk) {
  for (size_t before : {1022u, 1023u, 1024u, 32766u, 32767u, 32768u, 65535u}) {
    SCOPED_TRACE(before);
    const std::u16string text = std::u16string(before, u'x') + u"\U0001F600";
    EXPECT_EQ(Read(Utf16(text)),
              (Lines{{std::string(before, 'x') + "\xF0\x9F\x98\x80", EOL_NONE}}));
  }
}

TEST_F(ZTKTextFileReading, ALineEndBetweenTwoSurrogatesKeepsThemApart) {
  EXPECT_EQ(Read(Utf16(std::u16string{0xD83D, u'\n', 0xDE00})),
            (Lines{{"\xEF\xBF\xBD", EOL_UNIX}, {"\xEF\xBF\xBD", EOL_NONE}}));
}

TEST_F(ZTKTextFileReading, AnOddByteAtTheEndIsIgnored) {
  EXPECT_EQ(Read(Utf16(u"a\n") + "b"), (Lines{{"a", EOL_UNIX}}));
  EXPECT_EQ(Read(Utf16(u"a\r") + "\n"), (Lines{{"a", EOL_NONE}}));
}

TEST_F(ZTKTextFileReading, BigEndianUnitsAreNotSwapped) {
  // One line of swapped characters: CR and LF are U+0D00 and U+0A00.
  const Lines expected = {{"\xE6\x84\x80\xE0\xB4\x80\xE0\xA8\x80", EOL_NONE}};
  EXPECT_EQ(Read(Utf16(u"a\r\n", true)), expected);
  EXPECT_EQ(m_encoding, ENC_UTF16BE);
}

TEST_F(ZTKTextFileReading, BigEndianUnitsAreSwappedOnRequest) {
  const ScopedSwap swap;
  EXPECT_EQ(Read(Utf16(u"a\r\n\u20AC\U0001F600", true)),
            (Lines{{"a", EOL_DOS}, {"\xE2\x82\xAC\xF0\x9F\x98\x80", EOL_NONE}}));
  EXPECT_EQ(m_encoding, ENC_UTF16BE);
  EXPECT_EQ(Read(Utf16(u"a\r\n")), (Lines{{"a", EOL_DOS}})) << "little-endian text stays";
}

TEST_F(ZTKTextFileReading, OtherLocalesConvertTheirOwnCodeSet) {
  const Latin9Locale locale;
  if (!locale.IsMade()) GTEST_SKIP() << "no locale can be made";
  ASSERT_TRUE(locale.IsSet());
  // 0xA4 is the euro there, and what looks like UTF-8 is not taken for it.
  EXPECT_EQ(Read("\xA4\nab\n\xC3\xA9"),
            (Lines{{"\xE2\x82\xAC", EOL_UNIX}, {"ab", EOL_UNIX}, {"\xC3\x83\xC2\xA9", EOL_NONE}}));
}

TEST_F(ZTKTextFileReading, OpenAppends) {
  WriteWholeFile(Path(), "a\nb");
  ZTKTextFile file(Native().c_str());
  EXPECT_TRUE(file.Open());
  EXPECT_TRUE(file.Open());
  EXPECT_EQ(LinesOf(file), (Lines{{"a", 1}, {"b", 0}, {"a", 1}, {"b", 0}}));
}

TEST_F(ZTKTextFileReading, WhatCannotBeOpenedLeavesEverythingAsItWas) {
  WriteWholeFile(Path(),
                 "\xEF\xBB\xBF"
                 "a");
  ZTKTextFile file(Native().c_str());
  ASSERT_TRUE(file.Open());
  EXPECT_FALSE(file.Open(Native("missing").c_str()));
  EXPECT_EQ(file.GetEncoding(), ENC_UTF8);
  EXPECT_TRUE(file.IsOpened());
  EXPECT_EQ(LinesOf(file), (Lines{{"a", 0}}));
  EXPECT_FALSE(file.Open(""));
  EXPECT_FALSE(ZTKTextFile("").Open());
}

TEST_F(ZTKTextFileReading, AnUnreadableFileDoesNotOpen) {
  if (RunsAsRoot()) GTEST_SKIP() << "permissions do not stop this user";
  WriteWholeFile(Path(), "a");
  std::filesystem::permissions(Path(), std::filesystem::perms::none);
  EXPECT_FALSE(ZTKTextFile(Native().c_str()).Open());
}

TEST_F(ZTKTextFileReading, ADirectoryDoesNotOpenAsText) {
  std::filesystem::create_directory(Path("dir"));
  ZTKTextFile file(Native("dir").c_str());
  EXPECT_FALSE(file.Open());
  EXPECT_FALSE(file.IsOpened());
  EXPECT_THAT(LinesOf(file), IsEmpty());
}

TEST_F(ZTKTextFileReading, ReadsTheRestOfAnOpenFileInEitherWidth) {
  WriteWholeFile(Path(), "a\nb");
  OpenTextFile file(Native().c_str());
  ASSERT_TRUE(file.OnOpen(file.GetName(), OPEN_READ));
  EXPECT_TRUE(file.OnReadA());
  EXPECT_TRUE(file.OnReadA()) << "nothing is left, which is no failure";
  file.ResetFilePointer();
  EXPECT_TRUE(file.OnReadW());
  EXPECT_TRUE(file.OnClose());
  EXPECT_EQ(LinesOf(file), (Lines{{"a", 1}, {"b", 0}, {"\xE0\xA9\xA1", 0}}));
}

TEST_F(ZTKTextFileReading, DetectsTheEncodingAgainAfterGoingBack) {
  WriteWholeFile(Path(),
                 "\xEF\xBB\xBF"
                 "a");
  OpenTextFile file(Native().c_str());
  ASSERT_TRUE(file.OnOpen(file.GetName(), OPEN_READ));
  file.ResetFilePointer();
  EXPECT_EQ(file.EncodedType(), ENC_UTF8);
  EXPECT_TRUE(file.OnRead());
  EXPECT_EQ(LinesOf(file), (Lines{{"a", 0}}));
}

TEST_F(ZTKTextFileReading, AddsLinesFromBothWidths) {
  const Utf8CodePage page;
  OpenTextFile file("unused");
  std::string narrow = "caf\xE9";
  file.AddLineA(narrow.data(), EOL_DOS);
  std::string utf8 = "caf\xC3\xA9";
  file.AddLineA(utf8.data(), EOL_UNIX);
  std::wstring wide = L"\u20AC\U0001F600";
  file.AddLineW(wide.data(), EOL_MAC);
  std::wstring lone = {static_cast<wchar_t>(0xD800)};
  file.AddLineW(lone.data(), EOL_NONE);
  std::string empty;
  file.AddLineA(empty.data(), EOL_NONE);
  file.AddLineA(nullptr, EOL_NONE);
  file.AddLineW(nullptr, EOL_NONE);
  EXPECT_EQ(LinesOf(file), (Lines{{"caf\xC3\xA9", EOL_DOS},
                                  {"caf\xC3\xA9", EOL_UNIX},
                                  {"\xE2\x82\xAC\xF0\x9F\x98\x80", EOL_MAC},
                                  {"\xEF\xBF\xBD", EOL_NONE},
                                  {"", EOL_NONE}}));
}

TEST_F(ZTKTextFileReading, AddsLinesOfMarkedUtf8AsTheyAre) {
  WriteWholeFile(Path(), "\xEF\xBB\xBF");
  OpenTextFile file(Native().c_str());
  ASSERT_TRUE(file.Open());
  std::string text = "\xE9";
  file.AddLineA(text.data(), EOL_NONE);
  EXPECT_EQ(LinesOf(file), (Lines{{"\xE9", 0}}));
}

TEST_F(ZTKTextFileReading, GivesUpWhenMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const std::string narrow =
      "a line of text\n" + std::string(100000, 'x') + "\n\xE9" + std::string(300, 'y') + "\n";
  const std::string wide = Utf16(std::u16string(40000, u'x') + u"\nb\n");
  for (const std::string& bytes : {narrow, wide}) {
    const Lines expected = text_reference::Read(bytes);
    WriteWholeFile(Path(), bytes);
    for (long passed = 0;; ++passed) {
      SCOPED_TRACE(passed);
      ZTKTextFile file(Native().c_str());
      bool opened = false;
      bool failed = false;
      {
        failing_allocator::Scope scope(passed, 1);
        opened = file.Open();
        failed = scope.Failed();
      }
      const Lines lines = LinesOf(file);
      ASSERT_LE(lines.size(), expected.size());
      EXPECT_TRUE(std::equal(lines.begin(), lines.end(), expected.begin()))
          << "nothing but whole lines";
      EXPECT_EQ(opened, file.IsOpened());
      EXPECT_TRUE(!opened || lines == expected) << "true only with all of them";
      if (!failed) {
        EXPECT_TRUE(opened);
        break;
      }
      ASSERT_LT(passed, 200);
    }
  }
}
