// What a temporary file does beyond its defaults.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/scoped_process.h"
#include "tests/support/system_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;
using Calls = std::vector<std::string>;

ino_t InodeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_ino;
}

bool Replace(const std::string& target, const std::string& content, unsigned int options) {
  ZTKTempFile temp(Native(target), options);
  EXPECT_TRUE(temp.GetFile().IsOpen());
  Put(temp, content);
  return temp.Commit();
}

// One step ----------------------------------------------------------------------------------------

TEST(ZTKTempFileOptions, OneStepSyncsAndRenamesWithoutStrictMode) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  ZTKTempFile temp(Native(dir / "x"), TEMP_ONE_STEP);
  EXPECT_EQ(temp.GetOptions(), TEMP_ONE_STEP);
  Put(temp, "new");
  const system_calls::Scope scope;
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(scope.Calls(), (Calls{"fsync file", "rename", "fsync folder"}));
  EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
}

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

TEST(ZTKTempFileOptions, OneStepNoticesWhatWasLostOnTheWay) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  {
    ZTKTempFile temp(Native(dir / "x"), TEMP_ONE_STEP);
    const ScopedFileSizeLimit limit(1000);
    const std::string content(5000, 'x');
    temp.GetFile().Write(content.data(), content.size());
    EXPECT_FALSE(temp.Commit());
    EXPECT_FALSE(temp.Commit()) << "what was lost is still lost";
    EXPECT_TRUE(temp.Discard());
  }
  EXPECT_EQ(ReadWholeFile(dir / "x"), "old");
  EXPECT_EQ(CountNames(dir.Path()), 1);
}

// A path as it stands -----------------------------------------------------------------------------

TEST(ZTKTempFileOptions, AnExactPathIsNotParsed) {
  for (const char* name : {"notes.", "~x", "$HOME", ".", ".."}) {
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
      EXPECT_EQ(temp.GetTargetPath().view(), dir / "below/" + name);
      EXPECT_EQ(temp.GetTempPath().view(), dir / "below/" + name + "000");
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
  ZTKTempFile temp(Native(dir / "notes."), TEMP_EXACT_PATH | TEMP_ONE_STEP);
  EXPECT_EQ(temp.GetTargetPath().view(), dir / "notes.");
  Put(temp, "new");
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ReadWholeFile(dir / "notes."), "new");
}

TEST(ZTKTempFileOptions, ANewTargetGetsThePermissionsAskedFor) {
  const TempDir dir;
  const ScopedUmask umask(022);
  ZTKTempFile temp(Native(dir / "x"), TEMP_ONE_STEP, 0640);
  EXPECT_TRUE(temp.Commit());
  EXPECT_EQ(ModeOf(dir / "x"), NewFilePermissions(0640) & ~022);
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
      const ino_t before = InodeOf(dir / "x");
      ASSERT_TRUE(Replace(dir / "x", content, TEMP_KEEP_IDENTITY));
      EXPECT_EQ(InodeOf(dir / "x"), before);
      EXPECT_EQ(ReadWholeFile(dir / "other"), content);
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

TEST(ZTKTempFileOptions, ATargetWithOneNameIsReplacedAsEver) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  const ino_t before = InodeOf(dir / "x");
  ZTKTempFile temp(Native(dir / "x"), TEMP_KEEP_IDENTITY);
  Put(temp, "new");
  EXPECT_TRUE(temp.Commit());
  EXPECT_NE(InodeOf(dir / "x"), before);
}

TEST(ZTKTempFileOptions, AHardLinkedTargetWithoutRoomKeepsItsContent) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  fs::create_hard_link(dir / "x", dir / "other");
  ZTKTempFile temp(Native(dir / "x"), TEMP_KEEP_IDENTITY);
  Put(temp, std::string(5000, 'x'));
  ASSERT_TRUE(temp.GetFile().Flush());
  {
    const ScopedFileSizeLimit limit(1000);
    EXPECT_FALSE(temp.Commit());
  }
  EXPECT_EQ(ReadWholeFile(dir / "other"), "old");
  EXPECT_TRUE(temp.Commit()) << "the temporary file is still there";
  EXPECT_EQ(ReadWholeFile(dir / "other"), std::string(5000, 'x'));
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
