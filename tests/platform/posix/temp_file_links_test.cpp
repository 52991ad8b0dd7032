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

TEST(ZTKTempFileOptions, LinksThatLeadNowhereKnownAreNotReplacedWhenFollowed) {
  const TempDir dir;
  fs::create_symlink("b", dir / "a");
  fs::create_symlink("a", dir / "b");
  fs::create_symlink("self", dir / "self");
  fs::create_symlink("file/below", dir / "astray");
  WriteWholeFile(dir / "file", "old");
  std::string last = "nowhere";
  for (int n = 0; n < 50; ++n) {  // More than the system follows.
    fs::create_symlink(last, dir / ("chain" + std::to_string(n)));
    last = "chain" + std::to_string(n);
  }
  const long names = CountNames(dir.Path());
  for (const char* name : {"a", "self", "astray", "chain49"}) {
    SCOPED_TRACE(name);
    ZTKTempFile temp(Native(dir / name), TEMP_FOLLOW_LINKS);
    EXPECT_FALSE(temp.GetFile().IsOpen());
    EXPECT_FALSE(temp.Commit());
    EXPECT_TRUE(fs::is_symlink(dir / name));
    EXPECT_EQ(CountNames(dir.Path()), names);
  }
  ASSERT_TRUE(Replace(dir / "a", "new", TEMP_ONE_STEP)) << "without the option the link goes";
  EXPECT_FALSE(fs::is_symlink(dir / "a"));
}

TEST(ZTKTempFileOptions, ALinkThatCannotBeReadIsNotReplacedWhenFollowed) {
  if (RunsAsRoot()) GTEST_SKIP() << "permissions do not stop root";
  const TempDir dir;
  fs::create_directory(dir / "locked");
  WriteWholeFile(dir / "locked/x", "old");
  fs::create_symlink("locked/x", dir / "link");
  fs::permissions(dir / "locked", fs::perms::none);
  {
    ZTKTempFile temp(Native(dir / "link"), TEMP_FOLLOW_LINKS);
    EXPECT_FALSE(temp.GetFile().IsOpen());
  }
  fs::permissions(dir / "locked", fs::perms::owner_all);
  EXPECT_TRUE(fs::is_symlink(dir / "link"));
  EXPECT_EQ(ReadWholeFile(dir / "locked/x"), "old");
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
