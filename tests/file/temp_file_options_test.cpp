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
    EXPECT_TRUE(temp.Commit()) << "the temporary file is still there";
    EXPECT_EQ(ReadWholeFile(dir / "x"), "new");
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
    EXPECT_TRUE(temp.Discard());
  }
  EXPECT_EQ(ReadWholeFile(dir / "x"), "old");
  EXPECT_EQ(CountNames(dir.Path()), 1);
}

// Hard links --------------------------------------------------------------------------------------

TEST(ZTKTempFileOptions, HardLinksGetTheNewContentTogether) {
  const TempDir dir;
  for (const char* content : {"longer than it was", "short", ""}) {
    SCOPED_TRACE(content);
    WriteWholeFile(dir / "x", "old version");
    fs::remove(dir / "other");
    fs::create_hard_link(dir / "x", dir / "other");
    const ino_t before = InodeOf(dir / "x");
    ASSERT_TRUE(Replace(dir / "x", content, TEMP_KEEP_IDENTITY));
    EXPECT_EQ(InodeOf(dir / "x"), before);
    EXPECT_EQ(ReadWholeFile(dir / "other"), content);
    EXPECT_EQ(CountNames(dir.Path()), 2);
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
