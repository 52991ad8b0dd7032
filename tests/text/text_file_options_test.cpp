// What a text file does beyond its defaults: keeping the encoding and the file itself, and telling
// what it found.
#include <filesystem>
#include <string>

#include "tests/support/failing_allocator.h"
#include "tests/support/latin9_locale.h"
#include "tests/text/text_file_support.h"

namespace {

namespace fs = std::filesystem;
using ZTKTextFileOptions = ZTKTextFileTest;

/// Reads the file, adds a line and writes it with an option.
bool AddAndSave(const std::string& path, const char* line, unsigned int options) {
  ZTKTextFile file(path.c_str(), options);
  EXPECT_TRUE(file.Open());
  if (line != nullptr) file.AddLine(line, EOL_UNIX);
  return file.Write(EOL_NONE);
}

std::string Utf8Mark(const std::string& text) { return "\xEF\xBB\xBF" + text; }

TEST_F(ZTKTextFileOptions, NoneIsSetAtFirst) {
  ZTKTextFile file("x");
  EXPECT_EQ(file.GetOptions(), 0u);
  file.SetOptions(TEXT_KEEP_ENCODING | TEXT_ONE_STEP);
  EXPECT_EQ(file.GetOptions(), 17u);
}

// The encoding ------------------------------------------------------------------------------------

TEST_F(ZTKTextFileOptions, EveryEncodingIsSavedAsItWas) {
  const Utf8CodePage page;
  const struct {
    const char* what;
    std::string bytes;
    std::string saved;  // With a line "+\xC3\xA9".
  } rows[] = {
      {"UTF-8 with a mark", Utf8Mark("a\r\nb\n"), Utf8Mark("a\r\nb\n+\xC3\xA9\n")},
      {"UTF-8 without", "a\n\xE2\x82\xAC\n", "a\n\xE2\x82\xAC\n+\xC3\xA9\n"},
      {"ASCII", "a\rb\n", "a\rb\n+\xC3\xA9\n"},
      {"Windows-1252", "a\n\x80 \xE4\n", "a\n\x80 \xE4\n+\xE9\n"},
      {"both", "\xE4\n\xC3\xA4\n", "\xC3\xA4\n\xC3\xA4\n+\xC3\xA9\n"},
      {"UTF-16LE", Utf16(u"a\r\n\u20AC\U0001F600\n"), Utf16(u"a\r\n\u20AC\U0001F600\n+\u00E9\n")},
      {"UTF-16BE", Utf16(u"a\r\n\u20AC\U0001F600\n", true),
       Utf16(u"a\r\n\u20AC\U0001F600\n+\u00E9\n", true)},
      {"only a mark", Utf16(u""), Utf16(u"+\u00E9\n")},
      {"nothing", "", Utf8Mark("+\xC3\xA9\n")},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    WriteWholeFile(Path(), row.bytes);
    EXPECT_TRUE(AddAndSave(Native(), nullptr, TEXT_KEEP_ENCODING | TEXT_SWAP_UTF16));
    const std::string unchanged = ReadWholeFile(Path());
    if (row.bytes.size() > 3 && std::string(row.what) != "both") {
      EXPECT_EQ(Hex(unchanged), Hex(row.bytes));
    }
    WriteWholeFile(Path(), row.bytes);
    EXPECT_TRUE(AddAndSave(Native(), "+\xC3\xA9", TEXT_KEEP_ENCODING | TEXT_SWAP_UTF16));
    EXPECT_EQ(Hex(ReadWholeFile(Path())), Hex(row.saved));
  }
}

TEST_F(ZTKTextFileOptions, WithoutTheOptionItIsUtf8WithAMark) {
  WriteWholeFile(Path(), "\xE4\n");
  EXPECT_TRUE(AddAndSave(Native(), "b", TEXT_SWAP_UTF16 | TEXT_ONE_STEP));
  EXPECT_EQ(ReadWholeFile(Path()), Utf8Mark("\xC3\xA4\nb\n"));
}

TEST_F(ZTKTextFileOptions, AFileThatWasNotReadIsUtf8WithAMark) {
  WriteWholeFile(Path(), "\xE4\n");
  ZTKTextFile file(Native().c_str(), TEXT_KEEP_ENCODING);
  file.AddLine("b", EOL_UNIX);
  EXPECT_TRUE(file.Write(EOL_NONE));
  EXPECT_EQ(ReadWholeFile(Path()), Utf8Mark("b\n"));
}

TEST_F(ZTKTextFileOptions, Utf16BEThatWasReadUnswappedIsWrittenBackTheSame) {
  const std::string bytes = Utf16(u"a\r\nb\n", true);
  WriteWholeFile(Path(), bytes);
  EXPECT_TRUE(AddAndSave(Native(), nullptr, TEXT_KEEP_ENCODING));
  EXPECT_EQ(Hex(ReadWholeFile(Path())), Hex(bytes));
}

TEST_F(ZTKTextFileOptions, SwappingIsChosenForOneFile) {
  WriteWholeFile(Path(), Utf16(u"a\nb\n", true));
  ZTKTextFile plain(Native().c_str());
  EXPECT_TRUE(plain.Open());
  EXPECT_EQ(plain.GetLineCount(), 1u);
  ZTKTextFile swapping(Native().c_str(), TEXT_SWAP_UTF16);
  EXPECT_TRUE(swapping.Open());
  EXPECT_EQ(LinesOf(swapping), (Lines{{"a", EOL_UNIX}, {"b", EOL_UNIX}}));
}

TEST_F(ZTKTextFileOptions, WhatTheEncodingLacksIsNotLostButRefused) {
  const Utf8CodePage page;
  const struct {
    const char* what;
    std::string bytes;
    const char* line;
  } rows[] = {
      {"a character beyond Windows-1252", "\xE4\n", "\xE2\x86\x92"},
      {"Windows-1252 that would be read as UTF-8", "\xE4\n", "\xC3\x83\xC2\xA9"},
      {"ill-formed text as Windows-1252", "\xE4\n", "\xC3"},
      {"ill-formed text as UTF-16", Utf16(u"a\n"), "\xC3"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    WriteWholeFile(Path(), row.bytes);
    EXPECT_FALSE(AddAndSave(Native(), row.line, TEXT_KEEP_ENCODING));
    EXPECT_EQ(ReadWholeFile(Path()), row.bytes);
    EXPECT_TRUE(AddAndSave(Native(), row.line, 0)) << "UTF-8 holds everything";
  }
  EXPECT_FALSE(fs::exists(Path() + "000"));
}

// A first line must not turn into a mark.
TEST_F(ZTKTextFileOptions, AStartThatLooksLikeAMarkIsRefused) {
  const Utf8CodePage page;
  const struct {
    std::string bytes;
    const char* line;
  } rows[] = {
      {"a\n", "\xEF\xBB\xBFx"},                // U+FEFF without a mark in front
      {"\xE4\n", "\xC3\xBF\xC3\xBE\xC3\xA4"},  // FF FE in Windows-1252
      {"\xE4\n", "\xC3\xBE\xC3\xBF\xC3\xA4"},
      {"\xE4\n", "\xC3\xAF\xC2\xBB\xC2\xBF\xC3\xA4"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Hex(row.line));
    WriteWholeFile(Path(), row.bytes);
    ZTKTextFile file(Native().c_str(), TEXT_KEEP_ENCODING);
    ASSERT_TRUE(file.Open());
    file.AddLine(row.line, EOL_UNIX);
    EXPECT_TRUE(file.Write(EOL_NONE)) << "further down it is harmless";
    file.RemoveLine(0);
    EXPECT_FALSE(file.Write(EOL_NONE));
  }
}

TEST_F(ZTKTextFileOptions, EveryByteOfAWindows1252LineComesBack) {
  std::string bytes;
  for (int i = 1; i < 256; ++i) {
    if (i != '\r' && i != '\n') bytes += static_cast<char>(i);
  }
  bytes += "\n";
  WriteWholeFile(Path(), bytes);
  EXPECT_TRUE(AddAndSave(Native(), nullptr, TEXT_KEEP_ENCODING));
  EXPECT_EQ(Hex(ReadWholeFile(Path())), Hex(bytes));
}

TEST_F(ZTKTextFileOptions, ACodesetOfTheLocaleIsKept) {
  const Latin9Locale locale;
  if (!locale.IsMade()) GTEST_SKIP() << "no locale can be made";
  ASSERT_TRUE(locale.IsSet());
  WriteWholeFile(Path(), "\xA4\n");
  EXPECT_TRUE(AddAndSave(Native(), "\xE2\x82\xAC", TEXT_KEEP_ENCODING));
  EXPECT_EQ(Hex(ReadWholeFile(Path())), Hex("\xA4\n\xA4\n"));
  EXPECT_FALSE(AddAndSave(Native(), "\xE2\x86\x92", TEXT_KEEP_ENCODING));
}

TEST_F(ZTKTextFileOptions, LongTextCrossesEveryBlock) {
  std::u16string text;
  for (int i = 0; i < 50000; ++i)
    text += i % 71 == 70 ? u'\n' : static_cast<char16_t>(0x400 + i % 7);
  for (const bool bigEndian : {false, true}) {
    WriteWholeFile(Path(), Utf16(text, bigEndian));
    EXPECT_TRUE(AddAndSave(Native(), nullptr, TEXT_KEEP_ENCODING | TEXT_SWAP_UTF16));
    EXPECT_TRUE(ReadWholeFile(Path()) == Utf16(text, bigEndian));
  }
}

// The file ----------------------------------------------------------------------------------------

TEST_F(ZTKTextFileOptions, HardLinksStay) {
  WriteWholeFile(Path("real"), "a\n");
  fs::create_hard_link(Path("real"), Path("hard"));
  EXPECT_TRUE(AddAndSave(Native("real"), "b", TEXT_KEEP_IDENTITY | TEXT_KEEP_ENCODING));
  EXPECT_EQ(ReadWholeFile(Path("hard")), "a\nb\n");
}

// Every option: the file that was read is the file that is written.
TEST_F(ZTKTextFileOptions, TheFileThatWasReadIsTheOneThatIsWritten) {
  if (HasColonPaths()) GTEST_SKIP() << "names of the other syntax";
  const ScopedEnv variable("ZTK_TEXT_TEST", "expanded");
  fs::create_directories(Work() / "sub/in");
  const ScopedWorkingDirectory inside(Work().Path() / "sub");
  for (const char* name : {"../n.txt", "in/../n.txt", "$ZTK_TEXT_TEST.txt", "notes.", "~",
                           "~user/x", "./a//b.txt", "plain"}) {
    if (HasDosPaths() && std::string_view(name) == "notes.") continue;  // It would be "notes".
    const fs::path path = fs::path(Work() / "sub") / name;
    fs::create_directories(path.parent_path());
    for (const unsigned int option : {TEXT_ONE_STEP, TEXT_FOLLOW_LINKS, TEXT_KEEP_IDENTITY,
                                      TEXT_SWAP_UTF16, TEXT_KEEP_ENCODING}) {
      SCOPED_TRACE(testing::Message() << name << ", option " << option);
      WriteWholeFile(path.string(), "a\n");
      const auto files = [] { return std::distance(fs::recursive_directory_iterator(".."), {}); };
      const auto before = files();
      EXPECT_TRUE(AddAndSave(name, "b", option));
      const std::string mark = option == TEXT_KEEP_ENCODING ? "" : "\xEF\xBB\xBF";
      EXPECT_EQ(ReadWholeFile(path.string()), mark + "a\nb\n");
      EXPECT_EQ(files(), before) << "no other file";
    }
  }
}

TEST_F(ZTKTextFileOptions, TheTargetIsWhollyOldOrNewWheneverMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const unsigned int kSafe = TEXT_ONE_STEP | TEXT_FOLLOW_LINKS | TEXT_KEEP_IDENTITY;
  const struct {
    std::string bytes;
    long failures;
  } rows[] = {{"\xE4\n", 1}, {"a\n", 1}, {Utf16(u"a\n"), 1},
              {"\xE4\n", 2}, {"a\n", 3}, {Utf16(u"a\n"), -1}};
  for (const auto& [bytes, failures] : rows) {
    bool failed = true;
    for (long passed = 0; failed; ++passed) {
      SCOPED_TRACE(testing::Message() << failures << " after " << passed);
      ASSERT_LT(passed, 1000);
      WriteWholeFile(Path(), bytes);
      ZTKTextFile file(Native().c_str(), kSafe | TEXT_KEEP_ENCODING);
      ASSERT_TRUE(file.Open());
      file.AddLine("b", EOL_UNIX);
      bool written = false;
      {
        const failing_allocator::Scope scope(passed, failures);
        written = file.Write(EOL_NONE);
        failed = scope.Failed();
      }
      const std::string added = bytes.size() > 4 ? Bytes("b\0\n\0") : "b\n";
      EXPECT_EQ(ReadWholeFile(Path()), written ? bytes + added : bytes);
      EXPECT_TRUE(written || failed);
      const bool isLeft = fs::remove(Path() + "000");
      if (HasDosPaths()) continue;  // To discard it there takes memory for its wide path.
      EXPECT_FALSE(isLeft) << "to discard it takes no memory";
    }
  }
}

// The report --------------------------------------------------------------------------------------

TEST_F(ZTKTextFileOptions, TheReportTellsWhatWasFound) {
  const struct {
    const char* what;
    std::string bytes;
    int encoding;
    unsigned long lines[4];  // none, LF, CR LF, CR
    long long nuls, firstIllFormed;
    bool oddByte;
  } rows[] = {
      {"empty", "", ENC_ANSI, {0, 0, 0, 0}, 0, -1, false},
      {"every line end", "a\nb\nc\r\nd\re", ENC_ANSI, {1, 2, 1, 1}, 0, -1, false},
      {"UTF-8", Utf8Mark("\xC3\xA4\n"), ENC_UTF8, {0, 1, 0, 0}, 0, -1, false},
      {"ill-formed UTF-8", Utf8Mark("a\n\xC3\x28\xFF"), ENC_UTF8, {1, 1, 0, 0}, 0, 5, false},
      {"cut UTF-8", "a\n\xE2\x82", ENC_ANSI, {1, 1, 0, 0}, 0, 2, false},
      {"an overlong form", "\xE0\x80\x80\n", ENC_ANSI, {0, 1, 0, 0}, 0, 0, false},
      {"a surrogate in UTF-8", "ab\xED\xA0\x80\n", ENC_ANSI, {0, 1, 0, 0}, 0, 2, false},
      {"past U+10FFFF", "\xF4\x90\x80\x80", ENC_ANSI, {1, 0, 0, 0}, 0, 0, false},
      {"the last code point", "\xF4\x8F\xBF\xBF", ENC_ANSI, {1, 0, 0, 0}, 0, -1, false},
      {"Windows-1252", "caf\xE9\n", ENC_ANSI, {0, 1, 0, 0}, 0, 3, false},
      {"NULs", Bytes("a\0b\n\0"), ENC_ANSI, {1, 1, 0, 0}, 2, -1, false},
      {"UTF-16LE", Utf16(u"a\r\n\U0001F600"), ENC_UTF16LE, {1, 0, 1, 0}, 0, -1, false},
      {"a lone high surrogate", Utf16(u"a\xD800z"), ENC_UTF16LE, {1, 0, 0, 0}, 0, 4, false},
      {"a lone low surrogate", Utf16(u"ab\xDC00"), ENC_UTF16LE, {1, 0, 0, 0}, 0, 6, false},
      {"a high one at the end",
       Utf16(u"\xD83D\xDE00\xD83D"),
       ENC_UTF16LE,
       {1, 0, 0, 0},
       0,
       6,
       false},
      {"two high ones", Utf16(u"\xD83D\xD83D\xDE00"), ENC_UTF16LE, {1, 0, 0, 0}, 0, 2, false},
      {"an odd byte", Utf16(u"a\n") + "x", ENC_UTF16LE, {0, 1, 0, 0}, 0, -1, true},
      {"UTF-16BE", Utf16(u"a\n", true), ENC_UTF16BE, {0, 1, 0, 0}, 0, -1, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    WriteWholeFile(Path(), row.bytes);
    ZTKTextFile file(Native().c_str(), TEXT_SWAP_UTF16);
    ZTKTextReport report;
    report.nNuls = 99;  // What was there is overwritten.
    EXPECT_TRUE(file.Open(report));
    EXPECT_EQ(report.nEncoding, row.encoding);
    for (int type = 0; type < 4; ++type) EXPECT_EQ(report.nLines[type], row.lines[type]) << type;
    EXPECT_EQ(report.nBytes, static_cast<long long>(row.bytes.size()));
    EXPECT_EQ(report.nNuls, row.nuls);
    EXPECT_EQ(report.nFirstIllFormed, row.firstIllFormed);
    EXPECT_EQ(report.bOddByte, row.oddByte);
  }
}

// A sequence may lie across the blocks in which a file is read.
TEST_F(ZTKTextFileOptions, TheReportFindsIllFormedTextAtEveryPlace) {
  for (size_t at = 65530; at < 65545; ++at) {
    for (const char* text : {"\xF0\x9F\x98\x80", "\xF0\x9F\x98"}) {
      WriteWholeFile(Path(), std::string(at, 'x') + text + "y\n");
      ZTKTextFile file(Native().c_str());
      ZTKTextReport report;
      ASSERT_TRUE(file.Open(report));
      const bool isWhole = std::string(text).size() == 4;
      EXPECT_EQ(report.nFirstIllFormed, isWhole ? -1 : static_cast<long long>(at));
    }
  }
}

TEST_F(ZTKTextFileOptions, TheReportCountsTheLinesOfItsOwnReadingOnly) {
  WriteWholeFile(Path(), "a\n");
  ZTKTextFile file(Native().c_str());
  ZTKTextReport report;
  EXPECT_TRUE(file.Open(report));
  EXPECT_TRUE(file.Open(report));
  EXPECT_EQ(file.GetLineCount(), 2u);
  EXPECT_EQ(report.nLines[EOL_UNIX], 1u);
}

TEST_F(ZTKTextFileOptions, AFileThatDoesNotOpenHasAnEmptyReport) {
  ZTKTextFile file(Native("missing").c_str());
  ZTKTextReport report;
  report.nBytes = 99;
  EXPECT_FALSE(file.Open(report));
  EXPECT_EQ(report.nEncoding, ENC_NONE);
  EXPECT_EQ(report.nBytes, 0);
  EXPECT_EQ(report.nFirstIllFormed, -1);
}

}  // namespace
