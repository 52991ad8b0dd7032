#include "ztk/filesystem.h"

#include <gtest/gtest.h>

namespace {

using Path = std::filesystem::path;

class PathRoundTrip : public testing::TestWithParam<const char*> {};

TEST_P(PathRoundTrip, GivesAnEqualPath) {
  const Path path(GetParam());
  EXPECT_EQ(ZTKToStdPath(ZTKFromStdPath(path)), path);
}

INSTANTIATE_TEST_SUITE_P(Paths, PathRoundTrip,
                         testing::Values("", "/", "a", "/a", "a/b.c", "/a/b.c", "a/", "/a/b/", ".",
                                         "..", "./a", "../a", "a/..", "a/.", "a/../b", ".profile",
                                         "a/.profile", "a.", "a..", "/a.b/c.", "a.b.c", "~", "~ann",
                                         "~/a", "with space/and \\", "C:\\a", "a:b/c:d",
                                         "\xC3\xA4/\xC3\xB6.\xC3\xBC", "\xFF/\x80"));

TEST(ZTKFromStdPath, TakesThePathApart) {
  const ZTKFileName name = ZTKFromStdPath("/usr/share/doc.txt");
  ASSERT_EQ(name.GetDirs().GetCount(), 2u);
  EXPECT_EQ(name.GetDirs().Item(1), ZTKString("share"));
  EXPECT_EQ(name.GetName(), ZTKString("doc"));
  EXPECT_EQ(name.GetExt(), ZTKString("txt"));
  EXPECT_FALSE(name.IsRelative());
  EXPECT_TRUE(ZTKFromStdPath("share/doc.txt").IsRelative());
}

TEST(ZTKFromStdPath, ASeparatorAtTheEndMeansAFolder) {
  const ZTKFileName folder = ZTKFromStdPath("a/b/");
  EXPECT_EQ(folder.GetDirs().GetCount(), 2u);
  EXPECT_EQ(folder.GetName(), ZTKString());
}

TEST(ZTKFromStdPath, SeparatorsInARowAreOne) {
  EXPECT_EQ(ZTKToStdPath(ZTKFromStdPath("//a///b")).string(), "/a/b");
}

TEST(ZTKFromStdPath, StopsAtANul) {
  EXPECT_EQ(ZTKToStdPath(ZTKFromStdPath(Path(std::string("a/b\0c/d", 7)))).string(), "a/b");
  EXPECT_EQ(ZTKToStdPath(ZTKFromStdPath(Path(std::string("a/b\0c/.", 7)))).string(), "a/b");
}

TEST(ZTKToStdPath, WritesAnySyntaxWithSlashes) {
  EXPECT_EQ(ZTKToStdPath(ZTKFileName(":notes:todo.txt", ZTKPathMac)), Path("notes/todo.txt"));
  // There is no place for the drive.
  EXPECT_EQ(ZTKToStdPath(ZTKFileName("C:\\notes\\todo.txt", ZTKPathDos)), Path("/notes/todo.txt"));
}

}  // namespace
