#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "tests/support/failing_allocator.h"
#include "tests/text/text_file_support.h"
#include "ztk/file/temp_file.h"

// Writing: bytes, targets, names, faults.

namespace {

namespace fs = std::filesystem;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// Opens the protected operations.
class OpenTextWriter : public ZTKTextFile {
 public:
  using ZTKTextFile::OnWriteW;
  using ZTKTextFile::WriteBOM;
  using ZTKTextFile::ZTKTextFile;
};

std::vector<std::string> FilesIn(const fs::path& dir) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(dir))
    names.push_back(entry.path().filename().string());
  return names;
}

class ZTKTextFileWriting : public ZTKTextFileTest {
 protected:
  // Writes lines to a new file and gives its bytes.
  std::string Written(const Lines& lines, ZTKTextFileType type) {
    fs::remove(Path());
    ZTKTextFile file(Native().c_str());
    for (const Line& line : lines) {
      file.AddLine(line.text.c_str(), static_cast<ZTKTextFileType>(line.type));
    }
    EXPECT_TRUE(file.Write(type));
    EXPECT_THAT(FilesIn(fs::path(Path()).parent_path()), UnorderedElementsAre("text"));
    return ReadWholeFile(Path());
  }
};

}  // namespace

TEST_F(ZTKTextFileWriting, WritesTheseBytes) {
  const Lines mixed = {{"a", EOL_UNIX}, {"", EOL_DOS}, {"caf\xC3\xA9", EOL_MAC}, {"b", EOL_NONE}};
  EXPECT_EQ(Hex(Written(mixed, EOL_NONE)), "EF BB BF 61 0A 0D 0A 63 61 66 C3 A9 0D 62");
  EXPECT_EQ(Hex(Written(mixed, EOL_UNIX)), "EF BB BF 61 0A 0A 63 61 66 C3 A9 0A 62 0A");
  EXPECT_EQ(Hex(Written(mixed, EOL_DOS)), "EF BB BF 61 0D 0A 0D 0A 63 61 66 C3 A9 0D 0A 62 0D 0A");
  EXPECT_EQ(Hex(Written(mixed, EOL_MAC)), "EF BB BF 61 0D 0D 63 61 66 C3 A9 0D 62 0D");
}

TEST_F(ZTKTextFileWriting, AnEmptyBufferIsAnEmptyFileAndAnEmptyLineIsNot) {
  EXPECT_EQ(Written({}, EOL_NONE), "");
  EXPECT_EQ(Written({}, EOL_DOS), "");
  EXPECT_EQ(Hex(Written({{"", EOL_NONE}}, EOL_NONE)), "EF BB BF");
  EXPECT_EQ(Hex(Written({{"", EOL_NONE}}, EOL_DOS)), "EF BB BF 0D 0A");
}

TEST_F(ZTKTextFileWriting, ATypeThatIsNoneOfTheFourWritesNoLineEnd) {
  const auto odd = static_cast<ZTKTextFileType>(9);
  EXPECT_EQ(Hex(Written({{"a", EOL_DOS}, {"b", EOL_DOS}}, odd)), "EF BB BF 61 62");
  EXPECT_EQ(Hex(Written({{"a", 9}, {"b", EOL_DOS}}, EOL_NONE)), "EF BB BF 61 62 0D 0A");
}

TEST_F(ZTKTextFileWriting, WritesLinesOfEveryLengthAroundItsBlocks) {
  for (size_t length :
       {0u, 1u, 65530u, 65531u, 65532u, 65533u, 65534u, 65535u, 65536u, 65537u, 131072u, 200000u}) {
    SCOPED_TRACE(length);
    const Lines lines = {
        {std::string(length, 'x'), EOL_DOS}, {"y", EOL_UNIX}, {std::string(length, 'z'), EOL_NONE}};
    EXPECT_TRUE(Written(lines, EOL_NONE) == text_reference::Write(lines, EOL_NONE));
  }
  const Lines many(20000, Line{"a line of some length", EOL_UNIX});
  EXPECT_TRUE(Written(many, EOL_NONE) == text_reference::Write(many, EOL_NONE));
}

TEST_F(ZTKTextFileWriting, WhateverTheFileWasItBecomesUtf8) {
  const Utf8CodePage page;
  struct {
    std::string before;
    std::string after;
  } const rows[] = {
      {"caf\xE9\r\nb",
       "\xEF\xBB\xBF"
       "caf\xC3\xA9\r\nb"},
      {"caf\xC3\xA9",
       "\xEF\xBB\xBF"
       "caf\xC3\xA9"},
      {Utf16(u"\u20AC\n\U0001F600"), "\xEF\xBB\xBF\xE2\x82\xAC\n\xF0\x9F\x98\x80"},
      {"\xEF\xBB\xBF"
       "a\rb",
       "\xEF\xBB\xBF"
       "a\rb"},
      {"A\r\rB", "\xEF\xBB\xBF\rA\rB"},
      {"", ""},
      {"\xEF\xBB\xBF", ""},
      {Bytes("a\0b\nc"),
       "\xEF\xBB\xBF"
       "a\nc"},
      {"a\r",
       "\xEF\xBB\xBF"
       "a"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Hex(row.before));
    WriteWholeFile(Path(), row.before);
    ZTKTextFile file(Native().c_str());
    ASSERT_TRUE(file.Open());
    EXPECT_TRUE(file.Write(EOL_NONE));
    EXPECT_EQ(Hex(ReadWholeFile(Path())), Hex(row.after));
  }
}

TEST_F(ZTKTextFileWriting, ALineWithoutItsEndRunsIntoTheNextFile) {
  WriteWholeFile(Path(), "a\nb");
  ZTKTextFile file(Native().c_str());
  EXPECT_TRUE(file.Open());
  EXPECT_TRUE(file.Open());
  EXPECT_TRUE(file.Write(EOL_NONE));
  EXPECT_EQ(ReadWholeFile(Path()),
            "\xEF\xBB\xBF"
            "a\nba\nb");
}

TEST_F(ZTKTextFileWriting, CreatesAnEmptyFileOnlyWhereThereIsNone) {
  ZTKTextFile file(Native().c_str());
  EXPECT_FALSE(file.Exists());
  EXPECT_TRUE(file.Create());
  EXPECT_TRUE(file.Exists());
  EXPECT_EQ(file.GetEncoding(), ENC_ANSI);
  EXPECT_EQ(ReadWholeFile(Path()), "");

  WriteWholeFile(Path("other"), "content");
  EXPECT_FALSE(file.Create(Native("other").c_str()));
  EXPECT_EQ(ReadWholeFile(Path("other")), "content");
  EXPECT_FALSE(file.Create(Native("no such folder/text").c_str()));
}

TEST_F(ZTKTextFileWriting, CreateForgetsAnEncodingFoundBefore) {
  WriteWholeFile(Path(),
                 "\xEF\xBB\xBF"
                 "a");
  ZTKTextFile file(Native().c_str());
  ASSERT_TRUE(file.Open());
  EXPECT_TRUE(file.Create(Native("new").c_str()));
  EXPECT_EQ(file.GetEncoding(), ENC_ANSI);
  EXPECT_EQ(LinesOf(file), (Lines{{"a", 0}})) << "the lines are not touched";
}

TEST_F(ZTKTextFileWriting, OpensForCreatingAndEmptiesWhatExists) {
  WriteWholeFile(Path(),
                 "\xEF\xBB\xBF"
                 "a");
  ZTKTextFile file(Native().c_str());
  EXPECT_TRUE(file.OnOpen(Native().c_str(), OPEN_CREATE));
  EXPECT_TRUE(file.OnClose());
  EXPECT_EQ(ReadWholeFile(Path()), "");
}

TEST_F(ZTKTextFileWriting, NothingIsWrittenWhereNoTemporaryFileCanBe) {
  ZTKTextFile file(Native("no such folder/text").c_str());
  file.AddLine("a", EOL_DOS);
  EXPECT_FALSE(file.Write(EOL_NONE));
  EXPECT_THAT(FilesIn(fs::path(Path()).parent_path()), IsEmpty());
}

TEST_F(ZTKTextFileWriting, AllTemporaryNamesTakenLeavesTheTarget) {
  WriteWholeFile(Path(), "old");
  for (int i = 0; i < 1000; ++i) {
    char name[16];
    std::snprintf(name, sizeof name, "text%03x", static_cast<unsigned>(i));
    WriteWholeFile(Path(name), "");
  }
  ZTKTextFile file(Native().c_str());
  file.AddLine("new", EOL_DOS);
  EXPECT_FALSE(file.Write(EOL_NONE));
  EXPECT_EQ(ReadWholeFile(Path()), "old");
}

TEST_F(ZTKTextFileWriting, ATargetThatIsAFolderInUseStays) {
  fs::create_directory(Path("dir"));
  WriteWholeFile(Path("dir/inside"), "kept");
  ZTKTextFile file(Native("dir").c_str());
  file.AddLine("new", EOL_DOS);
  EXPECT_FALSE(file.Write(EOL_NONE));
  EXPECT_EQ(ReadWholeFile(Path("dir/inside")), "kept");
}

TEST_F(ZTKTextFileWriting, AReadOnlyFolderKeepsTheTarget) {
  if (RunsAsRoot()) GTEST_SKIP() << "permissions do not stop this user";
  fs::create_directory(Path("dir"));
  WriteWholeFile(Path("dir/text"), "old");
  fs::permissions(Path("dir"), fs::perms::owner_read | fs::perms::owner_exec);
  ZTKTextFile file(Native("dir/text").c_str());
  file.AddLine("new", EOL_DOS);
  EXPECT_FALSE(file.Write(EOL_NONE));
  EXPECT_EQ(ReadWholeFile(Path("dir/text")), "old");
  fs::permissions(Path("dir"), fs::perms::owner_all);
}

TEST_F(ZTKTextFileWriting, ARelativeNameWithoutAWorkingDirectoryIsNotWritten) {
  if (HasDosPaths()) GTEST_SKIP() << "a working directory cannot be removed";
  fs::create_directory(Path("gone"));
  const ScopedWorkingDirectory inside(Path("gone"));
  fs::remove(Path("gone"));
  ZTKTextFile file("ztk-text-file-test");
  file.AddLine("a", EOL_DOS);
  EXPECT_FALSE(file.Write(EOL_NONE));
  EXPECT_FALSE(fs::exists("/ztk-text-file-test"));
}

TEST_F(ZTKTextFileWriting, ARelativeNameIsWrittenInTheWorkingDirectory) {
  if (HasColonPaths()) GTEST_SKIP() << "a relative name is one beside the folder there";
  fs::create_directories(Path("dir/sub"));
  const ScopedWorkingDirectory inside(Path("dir"));
  const ScopedEnv variable("ZTK_TEXT_TEST", "expanded");
  const struct {
    std::string name;
    std::string target;
  } rows[] = {{"new.txt", "new.txt"},
              {NativePath("sub/new.txt"), "sub/new.txt"},
              {NativePath("sub/$ZTK_TEXT_TEST.txt"), "sub/expanded.txt"},
              {NativePath("sub/$ZTK_TEXT_NONE.txt"), "sub/$ZTK_TEXT_NONE.txt"}};
  for (const auto& row : rows) {
    for (const char* const line : {"first", "second"}) {
      SCOPED_TRACE(testing::Message() << row.name << ", " << line);
      ZTKTextFile file(row.name.c_str());
      file.AddLine(line, EOL_NONE);
      EXPECT_TRUE(file.Write(EOL_NONE));
      EXPECT_EQ(ReadWholeFile(Path("dir/" + row.target)), std::string("\xEF\xBB\xBF") + line);
    }
  }
}

TEST_F(ZTKTextFileWriting, AnAbsoluteNameIsWrittenAsItStands) {
  const ScopedEnv variable("ZTK_TEXT_TEST", "expanded");
  ZTKTextFile file(Native("$ZTK_TEXT_TEST").c_str());
  file.AddLine("a", EOL_NONE);
  EXPECT_TRUE(file.Write(EOL_NONE));
  EXPECT_TRUE(fs::exists(Path("$ZTK_TEXT_TEST")));
}

TEST_F(ZTKTextFileWriting, WriteBomWritesTheMarkOfUtf8OrNothing) {
  const std::string mark = "EF BB BF";
  const struct {
    unsigned short encoding;
    std::string bytes;
  } rows[] = {{ENC_NONE, ""},      {ENC_ANSI, ""}, {ENC_UTF8, mark}, {ENC_UTF16LE, mark},
              {ENC_UTF16BE, mark}, {5, ""},        {0xFFFF, ""}};
  OpenTextWriter file("unused");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.encoding);
    ZTKTempFile target(Native().c_str());
    file.WriteBOM(target, row.encoding);
    EXPECT_TRUE(target.Commit());
    EXPECT_EQ(Hex(ReadWholeFile(Path())), row.bytes);
  }
}

TEST_F(ZTKTextFileWriting, OnWriteWConvertsUpToTheNul) {
  const struct {
    const wchar_t* text;
    unsigned long length;
    unsigned short encoding;
    bool result;
    std::string bytes;
  } rows[] = {
      {L"caf\u00E9", 4, ENC_UTF8, true, "63 61 66 C3 A9"},
      {L"caf\u00E9", 1, ENC_UTF16LE, true, "63 61 66 C3 A9"},
      {L"\U0001F600", 99, ENC_UTF16BE, true, "F0 9F 98 80"},
      {L"caf\u00E9\u20AC", 0, ENC_ANSI, true, "63 61 66 E9 80"},
      {L"\u4E2D", 1, ENC_NONE, true, "3F"},
      {L"a\0b", 3, ENC_UTF8, true, "61"},
      {L"", 5, ENC_UTF8, false, ""},
      {nullptr, 5, ENC_UTF8, false, ""},
  };
  OpenTextWriter file("unused");
  for (const auto& row : rows) {
    SCOPED_TRACE(row.bytes);
    ZTKTempFile target(Native().c_str());
    EXPECT_EQ(file.OnWriteW(target, row.text, row.length, row.encoding), row.result);
    EXPECT_TRUE(target.Commit());
    EXPECT_EQ(Hex(ReadWholeFile(Path())), row.bytes);
  }
}

TEST_F(ZTKTextFileWriting, WithoutANameNothingIsWritten) {
  ZTKTextFile file("");
  file.AddLine("new", EOL_DOS);
  EXPECT_FALSE(file.Write(EOL_NONE));
  EXPECT_THAT(FilesIn(Work().Path()), IsEmpty());
}

TEST_F(ZTKTextFileWriting, NoOtherNameIsWrittenWheneverMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  // Names that would be good ones with a part missing, and one long part that has a block of its
  // own.
  const std::string deep = "a/" + std::string(200, 'b') + "/c";
  const ScopedEnv variable("ZTK_TEXT_TEST", "expanded");
  const struct {
    std::string name;
    std::string target;
  } rows[] = {{NativePath(Work() / (deep + "/text.txt")), deep + "/text.txt"},
              {deep + "/text.txt", deep + "/text.txt"},
              {deep + "/../$ZTK_TEXT_TEST.txt", deep + "/expanded.txt"}};
  for (const auto& row : rows) {
    // A relative name would be one beside the folder.
    if (HasColonPaths() && &row != &rows[0]) continue;
    for (const long failures : {1L, 2L, -1L}) {
      bool failed = true;
      for (long passed = 0; failed; ++passed) {
        SCOPED_TRACE(testing::Message() << row.name << ": " << failures << " after " << passed);
        ASSERT_LT(passed, 1000);
        fs::remove_all(Work() / "a");
        fs::create_directories(Work() / deep);
        const fs::path target = Work().Path() / row.target;
        const fs::path temporary = target.parent_path() / (target.stem().string() + "000");
        const ZTKString name(row.name.c_str());
        const ZTKString line("new");
        bool written = false;
        {
          const failing_allocator::Scope scope(passed, failures);
          ZTKTextFile file(name);
          file.AddLine(line, EOL_DOS);
          written = file.Write(EOL_NONE);
          failed = scope.Failed();
        }
        EXPECT_TRUE(!written || fs::exists(target));
        EXPECT_TRUE(written || failed);
        for (const auto& entry : fs::recursive_directory_iterator(Work().Path())) {
          if (entry.is_directory()) continue;
          EXPECT_TRUE(entry.path() == target || entry.path() == temporary) << entry.path();
        }
      }
    }
  }
}

TEST_F(ZTKTextFileWriting, TheTargetIsOldOrNewWheneverMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const fs::path dir(Path("dir"));
  const std::string path = (dir / "text").string();
  for (long passed = 0;; ++passed) {
    SCOPED_TRACE(passed);
    fs::remove_all(dir);
    fs::create_directory(dir);
    WriteWholeFile(path, "old");
    ZTKTextFile file(Native("dir/text").c_str());
    file.AddLine("new", EOL_DOS);
    bool written = false;
    bool failed = false;
    {
      failing_allocator::Scope scope(passed, 1);
      written = file.Write(EOL_NONE);
      failed = scope.Failed();
    }
    // Removed and not yet replaced, the new file still has its temporary name.
    const std::string found = fs::exists(path) ? path : (dir / "text000").string();
    const std::string content = ReadWholeFile(found);
    EXPECT_TRUE(content == "\xEF\xBB\xBFnew\r\n" || content == "old") << Hex(content);
    if (!failed) {
      EXPECT_TRUE(written);
      break;
    }
    ASSERT_LT(passed, 1000);
  }
}
