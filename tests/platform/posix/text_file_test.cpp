// Names without a folder in front, as the steps of this layer make them.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/text/text_file_support.h"

namespace {

namespace fs = std::filesystem;

using ZTKTextFileNames = ZTKTextFileTest;

TEST_F(ZTKTextFileNames, ARelativeNameIsReadAsItStandsAndWrittenNormalized) {
  const fs::path work(Path("work"));
  fs::create_directories(work / "~");
  const ScopedEnv variable("ZTK_TEXT_TEST", "expanded");
  const ScopedWorkingDirectory inside(work);
  const struct {
    const char* name;
    fs::path readFrom;
    fs::path writtenTo;
  } rows[] = {
      {"plain.txt", work / "plain.txt", work / "plain.txt"},
      {"./dot.txt", work / "dot.txt", work / "dot.txt"},
      {"../up.txt", work.parent_path() / "up.txt", work / "up.txt"},
      {"~/tilde.txt", work / "~" / "tilde.txt", work / "~" / "tilde.txt"},  // Not relative.
      {"a$ZTK_TEXT_TEST", work / "a$ZTK_TEXT_TEST", work / "aexpanded"},
      {"notes.", work / "notes.", work / "notes"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    WriteWholeFile(row.readFrom.string(), "read\n");
    ZTKTextFile file(row.name);
    EXPECT_TRUE(file.Open());
    EXPECT_EQ(LinesOf(file), (Lines{{"read", EOL_UNIX}}));
    file.Clear();
    file.AddLine("written", EOL_NONE);
    EXPECT_TRUE(file.Write(EOL_NONE));
    EXPECT_EQ(ReadWholeFile(row.writtenTo.string()),
              "\xEF\xBB\xBF"
              "written");
    if (row.readFrom != row.writtenTo) {
      EXPECT_EQ(ReadWholeFile(row.readFrom.string()), "read\n");
    }
  }
}

TEST_F(ZTKTextFileNames, ANameWithTheHomeOfAUserGoesToTheRoot) {
  fs::create_directory(Path("~ztk-nobody"));
  const ScopedWorkingDirectory inside(fs::path(Path()).parent_path());
  WriteWholeFile("~ztk-nobody/text", "read");
  ZTKTextFile file("~ztk-nobody/text");
  EXPECT_TRUE(file.Open());
  EXPECT_FALSE(file.Write(EOL_NONE)) << "there is no folder /~ztk-nobody";
  EXPECT_EQ(ReadWholeFile("~ztk-nobody/text"), "read");
}

}  // namespace
