#include "ztk/file/file_name.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/file/file_name_support.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_system.h"

namespace {

constexpr ZTKPathFormat kAllFormats[] = {ZTKPathUnix, ZTKPathMac, ZTKPathDos, ZTKPathVms};

struct AssignRow {
  ZTKPathFormat format;
  const char* path;
  const char* parts;
  const char* fullPath;  // As written back in the same syntax.
};

TEST(ZTKFileName, StartsEmptyAndRelative) {
  const ZTKFileName name;
  EXPECT_EQ(PartsOf(name), "<> <> <> <> rel");
  EXPECT_EQ(Text(name.GetFullName()), "");
}

TEST(ZTKFileName, AssignTakesAPathApartAndGetFullPathJoinsIt) {
  const AssignRow rows[] = {
      {ZTKPathUnix, "", "<> <> <> <> rel", ""},
      {ZTKPathUnix, "name", "<> <> <name> <> rel", "name"},
      {ZTKPathUnix, "/usr/lib/x.so", "<> <usr|lib> <x> <so> abs", "/usr/lib/x.so"},
      {ZTKPathUnix, "a/b/", "<> <a|b> <> <> rel", "a/b/"},
      {ZTKPathUnix, "/", "<> <> <> <> abs", "/"},
      {ZTKPathUnix, "/name", "<> <> <name> <> abs", "/name"},
      {ZTKPathUnix, "//a///b//c", "<> <a|b> <c> <> abs", "/a/b/c"},
      {ZTKPathUnix, "~/x", "<> <~> <x> <> abs", "~/x"},
      {ZTKPathUnix, "~user/x", "<> <~user> <x> <> abs", "/~user/x"},
      {ZTKPathUnix, "/~/x", "<> <~> <x> <> abs", "~/x"},
      {ZTKPathUnix, "C:\\d\\f.t", "<> <> <C:\\d\\f> <t> rel", "C:\\d\\f.t"},
      {ZTKPathUnix, "../x.tar.gz", "<> <..> <x.tar> <gz> rel", "../x.tar.gz"},
      {ZTKPathMac, "", "<> <> <> <> rel", ":"},
      {ZTKPathMac, ":a:b:c", "<> <a|b> <c> <> rel", ":a:b:c"},
      {ZTKPathMac, "Disk:a:n.e", "<> <Disk|a> <n> <e> abs", "Disk:a:n.e"},
      {ZTKPathMac, "name", "<> <> <name> <> rel", ":name"},
      {ZTKPathMac, ":name", "<> <> <name> <> rel", ":name"},
      {ZTKPathMac, "Disk:", "<> <Disk> <> <> abs", "Disk:"},
      {ZTKPathMac, ":a::b:c", "<> <a|b> <c> <> rel", ":a:b:c"},
      {ZTKPathMac, "/a/b", "<> <> </a/b> <> rel", ":/a/b"},
      {ZTKPathDos, "", "<> <> <> <> rel", ""},
      {ZTKPathDos, "C:\\dir\\file.txt", "<C> <dir> <file> <txt> abs", "C:\\dir\\file.txt"},
      {ZTKPathDos, "C:/dir/file.txt", "<C> <dir> <file> <txt> abs", "C:\\dir\\file.txt"},
      {ZTKPathDos, "C:dir\\file", "<C> <dir> <file> <> rel", "C:dir\\file"},
      {ZTKPathDos, "\\dir\\f", "<> <dir> <f> <> abs", "\\dir\\f"},
      {ZTKPathDos, "dir\\f", "<> <dir> <f> <> rel", "dir\\f"},
      {ZTKPathDos, "C:", "<C> <> <> <> rel", "C:"},
      {ZTKPathDos, "C:\\", "<C> <> <> <> abs", "C:\\"},
      {ZTKPathDos, "\\\\srv\\/x\\y", "<srv> <x> <y> <> abs", "\\\\srv\\x\\y"},
      {ZTKPathDos, "\\\\srv\\share", "<> <srv> <share> <> rel", "srv\\share"},
      {ZTKPathDos, "dir/a:b", "<dir/a> <> <b> <> rel", "\\\\dir/ab"},
      {ZTKPathVms, "", "<> <> <> <> rel", ""},
      {ZTKPathVms, "DISK:[A.B]NAME.EXT", "<DISK> <A|B> <NAME> <EXT> abs", "DISK:[A.B]NAME.EXT"},
      {ZTKPathVms, "[A]N", "<> <A> <N> <> abs", "[A]N"},
      {ZTKPathVms, "N.E", "<> <> <N> <E> rel", "N.E"},
      {ZTKPathVms, "[A].PROFILE", "<> <A> <.PROFILE> <> abs", "[A].PROFILE"},
  };
  for (const AssignRow& row : rows) {
    if (row.format == ZTKPathDos && IsDosNative()) continue;
    SCOPED_TRACE(std::string(row.path) + " in syntax " + std::to_string(row.format));
    const ZTKFileName name(row.path, row.format);
    EXPECT_EQ(PartsOf(name), row.parts);
    EXPECT_EQ(Text(name.GetFullPath(row.format)), row.fullPath);
  }
}

TEST(ZTKFileName, AssignReplacesEverythingThatWasThere) {
  ZTKFileName name("C:\\a\\b\\c\\name.ext", ZTKPathDos);
  name.Assign("x/y", ZTKPathUnix);
  EXPECT_EQ(PartsOf(name), "<> <x> <y> <> rel");
  name.Assign("/1/2/3/4/5.6", ZTKPathUnix);
  EXPECT_EQ(PartsOf(name), "<> <1|2|3|4> <5> <6> abs");
  name.Clear();
  EXPECT_EQ(PartsOf(name), "<> <> <> <> rel");
}

TEST(ZTKFileName, ClearForgetsTheVolume) {
  for (const char* path : {"C:\\a\\name.ext", "C:\\", "C:name.ext"}) {
    ZTKFileName name(path, ZTKPathDos);
    EXPECT_STREQ(name.GetVolume().c_str(), "C");
    name.Clear();
    EXPECT_EQ(PartsOf(name), "<> <> <> <> rel");
    EXPECT_EQ(Text(name.GetFullPath(ZTKPathDos)), "");
    EXPECT_FALSE(name.IsAbsolute(ZTKPathDos));
  }
}

TEST(ZTKFileName, AssignOfFivePartsStoresTheLastThreeUnread) {
  ZTKFileName name;
  name.Assign("V", "/a/b", "n.n", "e.e", ZTKPathUnix);
  EXPECT_EQ(PartsOf(name), "<V> <a|b> <n.n> <e.e> abs");
  name.Assign("", "C:\\a", "n", "", ZTKPathDos);
  EXPECT_EQ(PartsOf(name), "<> <a> <n> <> abs") << "the volume given wins over the path's own";
  name.Assign("W", "C:\\a", "n", "", ZTKPathDos);
  EXPECT_EQ(PartsOf(name), "<W> <a> <n> <> abs");
}

TEST(ZTKFileName, AssignOfFolderAndNamePutsASeparatorBetween) {
  const struct {
    ZTKPathFormat format;
    const char* path;
    const char* name;
    const char* parts;
  } rows[] = {
      {ZTKPathUnix, "/a/b", "n.e", "<> <a|b> <n> <e> abs"},
      {ZTKPathUnix, "/a/b/", "n.e", "<> <a|b> <n> <e> abs"},
      {ZTKPathUnix, "", "n.e", "<> <> <n> <e> abs"},
      {ZTKPathUnix, "a", "x/n.e", "<> <a> <n> <e> rel"},
      {ZTKPathMac, "Disk:a", "n", "<> <Disk|a> <n> <> abs"},
      {ZTKPathDos, "C:\\a", "n.e", "<C> <a> <n> <e> abs"},
      {ZTKPathDos, "C:/a/", "n.e", "<C> <a> <n> <e> abs"},
      {ZTKPathDos, "C:", "n.e", "<C> <> <n> <e> rel"},
      {ZTKPathVms, "DISK:[A]", "N.E", "<DISK> <A> <N> <E> abs"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.path) + " and " + row.name);
    ZTKFileName name;
    name.Assign(row.path, row.name, row.format);
    EXPECT_EQ(PartsOf(name), row.parts);
  }
}

TEST(ZTKFileName, AssignDirMakesEveryComponentADirectory) {
  ZTKFileName name("old.name", ZTKPathUnix);
  name.AssignDir("/a/b.c/d", ZTKPathUnix);
  EXPECT_EQ(PartsOf(name), "<> <a|b.c|d> <> <> abs");
  name.AssignDir("", ZTKPathUnix);
  EXPECT_EQ(PartsOf(name), "<> <> <> <> abs") << "an empty folder is the root";
}

// Three characters count as separators at the end of a folder in every syntax.
TEST(ZTKFileName, AssignDirLosesAFolderWhoseNameEndsLikeASeparator) {
  ZTKFileName name;
  name.AssignDir("/tmp/we:", ZTKPathUnix);
  EXPECT_EQ(DirsOf(name), "tmp");
  name.AssignDir("/tmp/we\\", ZTKPathUnix);
  EXPECT_EQ(DirsOf(name), "tmp");
}

TEST(ZTKFileName, ArgumentsMayBeFieldsOfTheObject) {
  ZTKFileName name("/a/b/c.d", ZTKPathUnix);
  name.Assign(name.GetDirs().Item(1), ZTKPathUnix);
  EXPECT_EQ(PartsOf(name), "<> <> <b> <> rel");

  name.Assign("/a/b/c.d", ZTKPathUnix);
  name.Assign(name.GetName(), name.GetDirs().Item(0), name.GetExt(), name.GetName(), ZTKPathUnix);
  EXPECT_EQ(PartsOf(name), "<c> <a> <d> <c> rel");

  name.Assign("/a/b/c.d", ZTKPathUnix);
  name.XPSetPath(name.GetDirs().Item(1), ZTKPathUnix);
  EXPECT_EQ(PartsOf(name), "<> <b> <c> <d> rel");

  name.Assign("/a/b/c.d", ZTKPathUnix);
  name.Assign(name.GetDirs().Item(0), name.GetDirs().Item(1), ZTKPathUnix);
  EXPECT_EQ(PartsOf(name), "<> <a> <b> <> rel");

  name.SetFullName(name.GetDirs().Item(0));
  EXPECT_EQ(PartsOf(name), "<> <a> <a> <> rel");

  name.AppendDir(name.GetDirs().Item(0));
  name.PrependDir(name.GetName());
  EXPECT_EQ(DirsOf(name), "a|a|a");
}

TEST(ZTKFileName, IsAValue) {
  ZTKFileName name("/a/b/c.d", ZTKPathUnix);
  ZTKFileName copy = name;
  name.Assign("x", ZTKPathUnix);
  EXPECT_EQ(PartsOf(copy), "<> <a|b> <c> <d> abs");
  name = copy;
  copy.Clear();
  EXPECT_EQ(PartsOf(name), "<> <a|b> <c> <d> abs");
}

TEST(ZTKFileName, LongPathsKeepEveryCharacter) {
  for (const size_t length : {255u, 256u, 257u, 512u, 1023u, 1024u, 5000u, 100000u}) {
    SCOPED_TRACE(length);
    std::string path;
    while (path.size() < length) path += "/dir" + std::to_string(path.size());
    path.resize(length - 3);
    path += "x/n";
    const ZTKFileName name(path.c_str(), ZTKPathUnix);
    EXPECT_EQ(Text(name.GetFullPath(ZTKPathUnix)), path);
    EXPECT_EQ(Text(name.GetName()), "n");
  }
}

TEST(ZTKFileName, TextBehindANulIsNotRead) {
  const char bytes[] = "/a\0/b/c";
  const ZTKString path(bytes, bytes + sizeof bytes - 1);
  EXPECT_EQ(PartsOf(ZTKFileName(path, ZTKPathUnix)), "<> <> <a> <> abs");
}

TEST(ZTKFileName, SetFullNameTouchesOnlyNameAndExtension) {
  ZTKFileName name("/a/b/c.d", ZTKPathUnix);
  name.SetFullName("new.tar.gz");
  EXPECT_EQ(PartsOf(name), "<> <a|b> <new.tar> <gz> abs");
  name.SetFullName("plain");
  EXPECT_EQ(PartsOf(name), "<> <a|b> <plain> <> abs");
}

TEST(ZTKFileName, FullNameHasNoTrailingDot) {
  EXPECT_EQ(Text(ZTKFileName("a/name", ZTKPathUnix).GetFullName()), "name");
  EXPECT_EQ(Text(ZTKFileName("a/name.e", ZTKPathUnix).GetFullName()), "name.e");
  EXPECT_EQ(Text(ZTKFileName("notes.", ZTKPathUnix).GetFullName()), "notes");
  EXPECT_EQ(Text(ZTKFileName("..", ZTKPathUnix).GetFullName()), ".");
}

TEST(ZTKFileName, GetPathWritesTheDirectoriesAsTheFlagsSay) {
  const struct {
    ZTKPathFormat format;
    const char* path;
    const char* plain;
    const char* volume;
    const char* trailing;
    const char* both;
  } rows[] = {
      {ZTKPathUnix, "/usr/lib/x.so", "/usr/lib", "/usr/lib", "/usr/lib/", "/usr/lib/"},
      {ZTKPathUnix, "x", "", "", "", ""},
      {ZTKPathUnix, "/x", "/", "/", "/", "/"},
      {ZTKPathUnix, "~/d/x", "~/d", "~/d", "~/d/", "~/d/"},
      {ZTKPathUnix, "a/../x", "a/..", "a/..", "a/../", "a/../"},
      {ZTKPathMac, ":a:b:c", ":a:b", ":a:b", ":a:b:", ":a:b:"},
      {ZTKPathMac, "D:a:c", "D:a", "D:a", "D:a:", "D:a:"},
      {ZTKPathMac, "D:.:a:..:c", "D:a:", "D:a:", "D:a::", "D:a::"},
      {ZTKPathMac, "D:..:a:c", "D::a", "D::a", "D::a:", "D::a:"},
      {ZTKPathDos, "C:\\a\\b\\c", "\\a\\b", "C:\\a\\b", "\\a\\b\\", "C:\\a\\b\\"},
      {ZTKPathDos, "a\\c", "a", "a", "a\\", "a\\"},
      {ZTKPathVms, "D:[A.B]N", "[A.B]", "D:[A.B]", "[A.B]", "D:[A.B]"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    const ZTKFileName name(row.path, row.format);
    EXPECT_EQ(Text(name.GetPath(0, row.format)), row.plain);
    EXPECT_EQ(Text(name.GetPath(ZTKGetPathVolume, row.format)), row.volume);
    EXPECT_EQ(Text(name.GetPath(ZTKGetPathTrailingSep, row.format)), row.trailing);
    EXPECT_EQ(Text(name.GetPath(ZTKGetPathVolume | ZTKGetPathTrailingSep, row.format)), row.both);
  }
}

// VMS has no step up: the component goes, the separator behind it stays.
TEST(ZTKFileName, VmsWritesOnlyTheSeparatorOfAStepUp) {
  ZTKFileName name;
  name.AppendDir("A");
  name.AppendDir("..");
  name.AppendDir("B");
  EXPECT_EQ(Text(name.GetPath(0, ZTKPathVms)), "[A..B]");
  name.RemoveDir(2);
  EXPECT_EQ(Text(name.GetPath(0, ZTKPathVms)), "[A.]");
}

TEST(ZTKFileName, APathIsWrittenInAnySyntax) {
  const ZTKFileName name("C:\\a\\b\\n.e", ZTKPathDos);
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathUnix)), "/a/b/n.e");
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathMac)), "a:b:n.e");
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathDos)), "C:\\a\\b\\n.e");
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathVms)), "C:[a.b]n.e");
}

TEST(ZTKFileName, IsAbsoluteNeedsAVolumeWhereThereAreVolumes) {
  EXPECT_FALSE(ZTKFileName("\\dir\\f", ZTKPathDos).IsAbsolute(ZTKPathDos));
  EXPECT_TRUE(ZTKFileName("C:\\dir\\f", ZTKPathDos).IsAbsolute(ZTKPathDos));
  EXPECT_FALSE(ZTKFileName("C:f", ZTKPathDos).IsAbsolute(ZTKPathDos));
  EXPECT_TRUE(ZTKFileName("\\dir\\f", ZTKPathDos).IsAbsolute(ZTKPathUnix));
  EXPECT_FALSE(ZTKFileName("[A]N", ZTKPathVms).IsAbsolute(ZTKPathVms));
  EXPECT_TRUE(ZTKFileName("D:[A]N", ZTKPathVms).IsAbsolute(ZTKPathVms));
  EXPECT_TRUE(ZTKFileName("/f", ZTKPathUnix).IsAbsolute(ZTKPathUnix));
  EXPECT_FALSE(ZTKFileName("f", ZTKPathUnix).IsAbsolute(ZTKPathUnix));
  EXPECT_TRUE(ZTKFileName("Disk:f", ZTKPathMac).IsAbsolute(ZTKPathMac));
  EXPECT_FALSE(ZTKFileName(":f", ZTKPathMac).IsAbsolute(ZTKPathMac));
}

TEST(ZTKFileName, OnlyUnixIsCaseSensitive) {
  const ZTKFileName name;
  EXPECT_TRUE(name.IsCaseSensitive(ZTKPathUnix));
  EXPECT_FALSE(name.IsCaseSensitive(ZTKPathMac));
  EXPECT_FALSE(name.IsCaseSensitive(ZTKPathDos));
  EXPECT_FALSE(name.IsCaseSensitive(ZTKPathVms));
}

TEST(ZTKFileName, SyntaxTableGivesSeparatorsTerminatorsAndVolumes) {
  const struct {
    ZTKPathFormat format;
    const char* separators;
    const char* terminators;
    const char* volume;
  } rows[] = {{ZTKPathUnix, "/", "/", ""},
              {ZTKPathMac, ":", ":", ""},
              {ZTKPathDos, "\\/", "\\/", ":"},
              {ZTKPathVms, ".", "]", ":"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.format);
    EXPECT_EQ(Text(ZTKFileName::GetPathSeparators(row.format)), row.separators);
    EXPECT_EQ(Text(ZTKFileName::GetPathTerminators(row.format)), row.terminators);
    EXPECT_EQ(Text(ZTKFileName::GetVolumeSeparator(row.format)), row.volume);
    EXPECT_EQ(ZTKFileName::GetPathSeparator(row.format), row.separators[0]);
    for (const char ch : std::string("/\\:.]a")) {
      EXPECT_EQ(ZTKFileName::IsPathSeparator(ch, row.format),
                std::string(row.separators).find(ch) != std::string::npos)
          << ch;
    }
  }
}

TEST(ZTKFileName, NativeIsOneOfTheSyntaxes) {
  const ZTKPathFormat native = ZTKFileName::XPGetFormat(ZTKPathNative);
  for (const ZTKPathFormat format : kAllFormats) {
    EXPECT_EQ(ZTKFileName::XPGetFormat(format), format);
  }
  EXPECT_NE(native, ZTKPathNative);
  EXPECT_EQ(ZTKFileName::GetPathSeparator(ZTKPathNative), ZTKFileName::GetPathSeparator(native));
  EXPECT_EQ(ZTKFileName::GetPathSeparator(ZTKPathNative), XPGetNativeSeparator());
  EXPECT_EQ(PartsOf(ZTKFileName("/a:b/c.d", ZTKPathNative)),
            PartsOf(ZTKFileName("/a:b/c.d", native)));
}

TEST(ZTKFileName, AValueThatIsNoSyntaxReadsAsUnix) {
  for (const int value : {5, 9, -1}) {
    SCOPED_TRACE(value);
    const auto format = static_cast<ZTKPathFormat>(value);
    EXPECT_EQ(ZTKFileName::XPGetFormat(format), format);
    const ZTKFileName name("/a/b.c", format);
    EXPECT_EQ(PartsOf(name), "<> <a> <b> <c> abs");
    EXPECT_EQ(Text(name.GetFullPath(format)), "/a/b.c");
    EXPECT_EQ(Text(ZTKFileName::GetPathSeparators(format)), "/");
    EXPECT_EQ(Text(ZTKFileName::GetVolumeSeparator(format)), "");
    EXPECT_EQ(Text(ZTKFileName::ZTKGetVolumeString("C", format)), "");
    EXPECT_FALSE(name.IsCaseSensitive(format)) << "only ZTKPathUnix itself is";
  }
}

TEST(ZTKFileName, VolumeStringDependsOnTheSyntax) {
  EXPECT_EQ(Text(ZTKFileName::ZTKGetVolumeString("", ZTKPathDos)), "");
  EXPECT_EQ(Text(ZTKFileName::ZTKGetVolumeString("C", ZTKPathDos)), "C:");
  EXPECT_EQ(Text(ZTKFileName::ZTKGetVolumeString("srv", ZTKPathDos)), "\\\\srv");
  EXPECT_EQ(Text(ZTKFileName::ZTKGetVolumeString("C", ZTKPathVms)), "C:");
  EXPECT_EQ(Text(ZTKFileName::ZTKGetVolumeString("DISK", ZTKPathVms)), "DISK:");
  EXPECT_EQ(Text(ZTKFileName::ZTKGetVolumeString("C", ZTKPathUnix)), "");
  EXPECT_EQ(Text(ZTKFileName::ZTKGetVolumeString("C", ZTKPathMac)), "");
}

TEST(ZTKFileName, DirectoriesAreInsertedAndRemovedAtAnyPosition) {
  ZTKFileName name;
  name.AppendDir("b");
  name.PrependDir("a");
  name.InsertDir(99, "d");
  name.InsertDir(2, "c");
  EXPECT_EQ(DirsOf(name), "a|b|c|d");
  name.RemoveDir(4);
  name.RemoveDir(static_cast<unsigned long>(-1));
  EXPECT_EQ(DirsOf(name), "a|b|c|d");
  name.RemoveDir(1);
  name.RemoveDir(0);
  EXPECT_EQ(DirsOf(name), "c|d");
  EXPECT_TRUE(name.IsRelative());
}

TEST(ZTKFileName, InvalidComponentsAreIgnored) {
  ZTKFileName name;
  name.AppendDir("ok");
  const std::string separator(1, XPGetNativeSeparator());
  for (const std::string& invalid :
       {std::string(), separator, "a" + separator + "b", separator + "a", "a" + separator}) {
    SCOPED_TRACE(invalid);
    EXPECT_FALSE(ZTKFileName::IsValidDirComponent(invalid.c_str()));
    name.AppendDir(invalid.c_str());
    name.InsertDir(0, invalid.c_str());
    name.PrependDir(invalid.c_str());
  }
  EXPECT_EQ(DirsOf(name), "ok");
  EXPECT_TRUE(ZTKFileName::IsValidDirComponent("..")) << "no check of where a path leads";
}

TEST(ZTKFileName, CurrentDirectoryIsTheProcessesOwn) {
  const TempDir dir;
  const ScopedWorkingDirectory changed(dir.Path());
  EXPECT_EQ(Text(ZTKFileName::GetCwd()), dir.Path().string());
  EXPECT_EQ(Text(ZTKFileName::GetCwd("")), dir.Path().string());
}

TEST(ZTKFileName, SetCwdChangesThereOrReportsFalse) {
  const TempDir dir;
  std::filesystem::create_directory(dir / "sub");
  const ScopedWorkingDirectory changed(dir.Path());
  EXPECT_FALSE(ZTKFileName::SetCwd("missing"));
  EXPECT_EQ(Text(ZTKFileName::GetCwd()), dir.Path().string());
  EXPECT_TRUE(ZTKFileName::SetCwd((dir / "sub").c_str()));
  EXPECT_EQ(Text(ZTKFileName::GetCwd()), dir / "sub");
}

TEST(ZTKFileName, XPSetPathKeepsAnOldVolume) {
  ZTKFileName name("C:\\a\\n.e", ZTKPathDos);
  name.XPSetPath("", ZTKPathDos);
  EXPECT_EQ(PartsOf(name), "<C> <> <n> <e> rel");
  name.XPSetPath("x\\y", ZTKPathDos);
  EXPECT_EQ(PartsOf(name), "<C> <x|y> <n> <e> rel");
  name.XPSetPath("D:\\z", ZTKPathDos);
  EXPECT_EQ(PartsOf(name), "<D> <z> <n> <e> abs");
}

TEST(ZTKFileName, XPSetPathReadsTheRelativeMarkOfEachSyntax) {
  const struct {
    ZTKPathFormat format;
    const char* path;
    const char* dirs;
    bool isRelative;
  } rows[] = {
      {ZTKPathUnix, "a/b", "a|b", true},     {ZTKPathUnix, "/a/b/", "a|b", false},
      {ZTKPathUnix, "~", "~", false},        {ZTKPathUnix, "a//b", "a|b", true},
      {ZTKPathUnix, "///", "", false},       {ZTKPathMac, ":a:b", "a|b", true},
      {ZTKPathMac, "a::b", "a|b", false},    {ZTKPathMac, ":", "", true},
      {ZTKPathMac, "::a", "a", true},        {ZTKPathDos, "/a", "a", false},
      {ZTKPathDos, "\\a/b", "a|b", false},   {ZTKPathDos, "a\\b", "a|b", true},
      {ZTKPathDos, "C:a", "a", true},        {ZTKPathDos, "C:\\a", "a", false},
      {ZTKPathDos, "C:", "", false},         {ZTKPathVms, "A.B", "A|B", false},
      {ZTKPathVms, "[A.B]", "[A|B]", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.path) + " in syntax " + std::to_string(row.format));
    ZTKFileName name;
    name.XPSetPath(row.path, row.format);
    EXPECT_EQ(DirsOf(name), row.dirs);
    EXPECT_EQ(name.IsRelative(), row.isRelative);
  }
}

// Nothing may come to depend on what a caller once wrote where strings keep their shared character.
TEST(ZTKFileName, APoisonedSharedCharacterChangesNothing) {
  ZTKString empty;
  empty[99] = '/';
  EXPECT_EQ(PartsOf(ZTKFileName("", ZTKPathUnix)), "<> <> <> <> rel");
  ZTKFileName name;
  name.Assign("", "n", ZTKPathUnix);
  EXPECT_EQ(PartsOf(name), "<> <> <n> <> abs");
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathUnix)), "/n");
  empty[99] = '\0';
}

}  // namespace
