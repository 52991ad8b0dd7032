// What a temporary file does beyond its defaults.

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/system_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;

bool Replace(const std::string& target, const std::string& content, unsigned int options) {
  ZTKTempFile temp(Native(target), options);
  EXPECT_TRUE(temp.GetFile().IsOpen());
  Put(temp, content);
  return temp.Commit();
}

// One step ----------------------------------------------------------------------------------------

TEST(ZTKTempFileOptions, OneStepKeepsTheTargetWhenAStepFails) {
  for (const char* call : {"fsync file", "rename"}) {
    SCOPED_TRACE(call);
    const TempDir dir;
    WriteWholeFile(dir / "x", "old");
    ZTKTempFile temp(Native(dir / "x"), TEMP_ONE_STEP);
    Put(temp, "new");
    {
      system_calls::Scope scope;
      scope.Refuse(call, EIO);
      EXPECT_FALSE(temp.Commit());
    }
    EXPECT_EQ(ReadWholeFile(dir / "x"), "old");
    const bool lost = std::string(call) == "fsync file";
    EXPECT_EQ(temp.Commit(), !lost) << "the temporary file is still there";
    EXPECT_EQ(ReadWholeFile(dir / "x"), lost ? "old" : "new");
  }
}

// A path as it stands -----------------------------------------------------------------------------

TEST(ZTKTempFileOptions, AnExactPathIsNotParsed) {
  for (const char* name : {"notes.", "~x", "$HOME", ".", ".."}) {
    if (HasDosPaths() && std::string_view(name) == "notes.") continue;  // No name there.
    SCOPED_TRACE(name);
    const TempDir dir;
    fs::create_directory(dir / "below");
    const ScopedWorkingDirectory cwd(fs::path(dir / "below"));
    WriteWholeFile(dir / "below/notes", "an unrelated file");
    const bool isFolder = *name == '.';
    for (const std::string& target : {std::string(name), dir / "below/" + name}) {
      ZTKTempFile temp(ZTKString(target), TEMP_EXACT_PATH);
      EXPECT_EQ(temp.GetFile().IsOpen(), !isFolder);
      if (isFolder) continue;
      const std::string expected = (dir.Path() / "below" / name).string();
      EXPECT_EQ(temp.GetTargetPath().view(), expected);
      EXPECT_EQ(temp.GetTempPath().view(), expected + "000");
      const ScopedWorkingDirectory elsewhere(fs::path("/"));
      Put(temp, "new");
      EXPECT_TRUE(temp.Commit());
      EXPECT_EQ(ReadWholeFile(dir / "below" + "/" + name), "new");
    }
    EXPECT_EQ(ReadWholeFile(dir / "below/notes"), "an unrelated file");
  }
}

TEST(ZTKTempFileOptions, AnExactPathTakesColonsWhereTheyAreNative) {
  const TempDir dir;
  const std::string path = dir / (HasDosPaths() ? "notes" : "notes.");
  ZTKTempFile temp(Native(path), TEMP_EXACT_PATH | TEMP_ONE_STEP);
  EXPECT_EQ(temp.GetTargetPath().view(), path);
  Put(temp, "new");
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(path), "new");
}

// Hard links --------------------------------------------------------------------------------------

TEST(ZTKTempFileOptions, HardLinksGetTheNewContentTogether) {
  const TempDir dir;
  for (const char* content : {"longer than it was", "short", "1", ""}) {
    for (const char* old : {"old version", "1", ""}) {
      SCOPED_TRACE(testing::Message() << old << " > " << content);
      WriteWholeFile(dir / "x", old);
      fs::remove(dir / "other");
      fs::create_hard_link(dir / "x", dir / "other");
      ASSERT_TRUE(Replace(dir / "x", content, TEMP_KEEP_IDENTITY));
      EXPECT_EQ(ReadWholeFile(dir / "other"), content);
      WriteWholeFile(dir / "other", "still one file");
      EXPECT_EQ(ReadWholeFile(dir / "x"), "still one file");
      EXPECT_EQ(CountNames(dir.Path()), 2);
    }
  }
}

TEST(ZTKTempFileOptions, WithoutTheOptionHardLinksPart) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  fs::create_hard_link(dir / "x", dir / "other");
  ASSERT_TRUE(Replace(dir / "x", "new", TEMP_ONE_STEP));
  EXPECT_EQ(ReadWholeFile(dir / "other"), "old");
}

TEST(ZTKTempFileOptions, AHardLinkedTargetIsLeftAloneWhenTheNewVersionIsNotWhole) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  fs::create_hard_link(dir / "x", dir / "other");
  ZTKTempFile temp(Native(dir / "x"), TEMP_KEEP_IDENTITY);
  Put(temp, "new");
  system_calls::Scope scope;
  scope.Refuse("fsync file", EIO);
  EXPECT_FALSE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "other"), "old");
}

}  // namespace
