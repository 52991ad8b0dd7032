// Symbolic links: replaced as described, or followed.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/file/temp_file_support.h"
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

TEST(ZTKTempFileOptions, LinksAreReplacedUnlessTheyAreFollowed) {
  const TempDir dir;
  fs::create_directory(dir / "real");
  WriteWholeFile(dir / "real/x", "old");
  fs::create_symlink("real/x", dir / "link");
  fs::create_symlink("link", dir / "chain");

  ASSERT_TRUE(Replace(dir / "chain", "followed", TEMP_FOLLOW_LINKS));
  EXPECT_TRUE(fs::is_symlink(dir / "chain"));
  EXPECT_TRUE(fs::is_symlink(dir / "link"));
  EXPECT_EQ(ReadWholeFile(dir / "real/x"), "followed");
  EXPECT_EQ(CountNames(dir / "real"), 1);

  ASSERT_TRUE(Replace(dir / "link", "replaced", 0));
  EXPECT_FALSE(fs::is_symlink(dir / "link"));
  EXPECT_EQ(ReadWholeFile(dir / "real/x"), "followed");
}

TEST(ZTKTempFileOptions, TheTemporaryFileLiesBesideWhatALinkLeadsTo) {
  const TempDir dir;
  fs::create_directory(dir / "real");
  WriteWholeFile(dir / "real/x", "old");
  fs::create_symlink(dir / "real/x", dir / "link");
  ZTKTempFile temp(Native(dir / "link"), TEMP_FOLLOW_LINKS);
  EXPECT_EQ(Host(temp.GetTempPath()), fs::canonical(dir.Path()) / "real/x000");
}

TEST(ZTKTempFileOptions, ALinkToNothingGetsItsTarget) {
  const TempDir dir;
  fs::create_symlink("later", dir / "link");
  ASSERT_TRUE(Replace(dir / "link", "new", TEMP_FOLLOW_LINKS));
  EXPECT_TRUE(fs::is_symlink(dir / "link"));
  EXPECT_EQ(ReadWholeFile(dir / "later"), "new");
}

TEST(ZTKTempFileOptions, AFollowedTargetKeepsItsMode) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  fs::permissions(dir / "x", fs::perms(0640));
  fs::create_symlink("x", dir / "link");
  ASSERT_TRUE(Replace(dir / "link", "new", TEMP_FOLLOW_LINKS | TEMP_ONE_STEP));
  EXPECT_EQ(ModeOf(dir / "x"), 0640);
}

TEST(ZTKTempFileOptions, AHardLinkedFileBehindALinkKeepsBoth) {
  const TempDir dir;
  WriteWholeFile(dir / "x", "old");
  fs::create_hard_link(dir / "x", dir / "other");
  fs::create_symlink("x", dir / "link");
  ASSERT_TRUE(Replace(dir / "link", "new", TEMP_KEEP_IDENTITY | TEMP_FOLLOW_LINKS));
  EXPECT_TRUE(fs::is_symlink(dir / "link"));
  EXPECT_EQ(ReadWholeFile(dir / "other"), "new");
}

}  // namespace
