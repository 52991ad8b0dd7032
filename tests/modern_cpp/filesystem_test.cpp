#include "ztk/filesystem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "tests/support/native_path.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"

namespace {

using Path = std::filesystem::path;

ZTKString NativeOf(const Path& path) { return ZTKFromStdPath(path).GetFullPath(ZTKPathNative); }

class PathRoundTrip : public testing::TestWithParam<const char*> {};

TEST_P(PathRoundTrip, GivesAnEqualPath) {
  Path path(GetParam());
  // Between colons there is no place for this one; it comes back absolute.
  const bool hasColon = path.string().find(':') != std::string::npos;
  if (HasColonPaths() && path.is_relative() && hasColon) path = std::filesystem::absolute(path);
  EXPECT_EQ(ZTKToStdPath(ZTKFromStdPath(path)), path);
}

INSTANTIATE_TEST_SUITE_P(Paths, PathRoundTrip,
                         testing::Values("", "/", "a", "/a", "a/b.c", "/a/b.c", "a/", "/a/b/", ".",
                                         "..", "./a", "../a", "a/..", "a/.", "a/../b", ".profile",
                                         "a/.profile", "a.", "a..", "/a.b/c.", "a.b.c", "~", "~ann",
                                         "~/a", "with space/and \\", "C:\\a", "a:b/c:d", ":",
                                         "/:", "/a:b/c:d", "/a::b", "/a/../b.", "/../a", "a/./b",
                                         "/System/a", "/Nowhere:a", "System:a", "/proc", "/proc/",
                                         "/proc/self", "\xC3\xA4/\xC3\xB6.\xC3\xBC", "\xFF/\x80"));

TEST(ZTKFromStdPath, TakesThePathApart) {
  const ZTKFileName name = ZTKFromStdPath("/usr/share/doc.txt");
  // Where paths have colons the first directory is the volume.
  ASSERT_EQ(name.GetDirs().GetCount(), HasColonPaths() ? 3u : 2u);
  EXPECT_EQ(name.GetDirs().Item(HasColonPaths() ? 2 : 1), ZTKString("share"));
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
  EXPECT_EQ(ZTKToStdPath(ZTKFromStdPath("//a///b")), Path("/a/b"));
}

TEST(ZTKFromStdPath, StopsAtANul) {
  EXPECT_EQ(ZTKToStdPath(ZTKFromStdPath(Path(std::string("a/b\0c/d", 7)))), Path("a/b"));
  EXPECT_EQ(ZTKToStdPath(ZTKFromStdPath(Path(std::string("a/b\0c/.", 7)))), Path("a/b"));
}

TEST(ZTKToStdPath, WritesAnySyntaxWithSlashes) {
  EXPECT_EQ(ZTKToStdPath(ZTKFileName(":notes:todo.txt", ZTKPathMac)), Path("notes/todo.txt"));
  if (HasDosPaths()) {
    EXPECT_EQ(ZTKToStdPath(ZTKFileName("/notes/todo.txt", ZTKPathUnix)), Path("/notes/todo.txt"));
    return;
  }
  // There is no place for the drive; where paths have colons, nor for a volume of this name.
  EXPECT_EQ(ZTKToStdPath(ZTKFileName("C:\\notes\\todo.txt", ZTKPathDos)),
            Path(HasColonPaths() ? "todo.txt" : "/notes/todo.txt"));
}

TEST(ZTKToStdPath, IsWhatTheLibraryOpensForANativePath) {
  EXPECT_EQ(ZTKToStdPath(ZTKFileName("/usr/lib/a.so", ZTKPathNative)), Path("/usr/lib/a.so"));
  EXPECT_EQ(ZTKToStdPath(ZTKFileName("System:usr:a.so", ZTKPathNative)),
            Path(HasColonPaths() ? "/usr/a.so" : "System:usr:a.so"));
  EXPECT_EQ(ZTKToStdPath(ZTKFileName("Nowhere:usr:a.so", ZTKPathNative)),
            Path(HasColonPaths() ? "usr/a.so" : "Nowhere:usr:a.so"));
}

// Names that one syntax or the other has a use of its own for.
constexpr const char* kNames[] = {
    "plain",     "a.txt",   ".profile",    "dot.",       "..two",  "a:b",    "a::b",     ":a",
    "a:",        "~",       "back\\slash", "b\xC3\xA4r", "\xFF",   "C:x",    "System:y", "$HOME",
    "sub/x.txt", "sub/a:b", "sub/.rc",     "sub/../up",  "./here", "sub//x", "s:b/x",    "s.b/y."};

TEST(ZTKStdPath, LeadsToTheSameFileBothWays) {
  const TempDir dir;
  std::filesystem::create_directories(dir / "sub");
  if (!HasDosPaths()) std::filesystem::create_directories(dir / "s:b");
  std::filesystem::create_directories(dir / "s.b");
  const ScopedWorkingDirectory inside(dir.Path());
  for (const char* const name : kNames) {
    const std::string_view whole(name);
    // No name of a file there has these, and the paths of this test are narrow.
    if (HasDosPaths() &&
        (whole.find_first_of(":\\") != whole.npos || whole.back() == '.' ||
         std::any_of(whole.begin(), whole.end(), [](unsigned char ch) { return ch > 127; })))
      continue;
    for (const bool isAbsolute : {true, false}) {
      SCOPED_TRACE(std::string(name) + (isAbsolute ? ", absolute" : ", relative"));
      const Path path = isAbsolute ? Path(dir.Path().string() + "/" + name) : Path(name);
      WriteWholeFile(path.string(), "of the standard library");
      char text[64] = "";
      ZTKFile file(NativeOf(path).c_str(), ZTKFile::read);
      ASSERT_TRUE(file.IsOpen());
      EXPECT_EQ(std::string(text, file.Read(text, sizeof text)), "of the standard library");
      ASSERT_TRUE(file.XPOpen(NativeOf(path).c_str(), ZTKFile::write, 0666));
      EXPECT_EQ(file.Write("of ours", 7), 7u);
      file.Close();
      EXPECT_EQ(ReadWholeFile(path.string()), "of ours");
      EXPECT_TRUE(std::filesystem::equivalent(ZTKToStdPath(ZTKFromStdPath(path)), path));
      std::filesystem::remove(path);
    }
  }
}

// Longer than what is converted of a path with colons.
TEST(ZTKStdPath, MayBeLong) {
  const TempDir dir;
  Path deep = dir.Path();
  while (deep.string().size() < 1200) deep /= std::string(100, 'd');
  std::filesystem::create_directories(deep);
  WriteWholeFile((deep / "x").string(), "x");
  EXPECT_TRUE(ZTKFile::Exists(NativeOf(deep / "x").c_str()));
  EXPECT_EQ(ZTKToStdPath(ZTKFromStdPath(deep / "x")), deep / "x");
}

}  // namespace
