// Paths where Dos is the native syntax: shares and the system's own names are volumes.

#include <gtest/gtest.h>

#include <string>

#include "tests/file/file_name_support.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_name.h"

namespace {

struct Row {
  const char* path;
  const char* parts;
  const char* again;  // Null where it is the path itself.
  bool isAbsolute;
};

const Row kRows[] = {
    {R"(C:\dir\file.txt)", "<C> <dir> <file> <txt> abs", nullptr, true},
    {R"(c:/dir/sub/f)", "<c> <dir|sub> <f> <> abs", R"(c:\dir\sub\f)", true},
    {R"(C:dir\f)", "<C> <dir> <f> <> rel", nullptr, false},
    {R"(C:f)", "<C> <> <f> <> rel", nullptr, false},
    {R"(\dir\f)", "<> <dir> <f> <> abs", nullptr, false},
    {R"(dir\f)", "<> <dir> <f> <> rel", nullptr, false},
    {R"(\\server\share\dir\f.x)", R"(<server\share> <dir> <f> <x> abs)", nullptr, true},
    {R"(//server/share/dir/f)", R"(<server\share> <dir> <f> <> abs)", R"(\\server\share\dir\f)",
     true},
    {R"(\\server\share\f)", R"(<server\share> <> <f> <> abs)", nullptr, true},
    {R"(\\server\share\)", R"(<server\share> <> <> <> abs)", nullptr, true},
    {R"(\\server\share)", R"(<server\share> <> <> <> abs)", R"(\\server\share\)", true},
    {R"(\\s\t\f)", R"(<s\t> <> <f> <> abs)", nullptr, true},
    {R"(\\server)", R"(<server> <> <> <> abs)", R"(\\server\)", true},
    {R"(\\?\C:\dir\f.txt)", R"(<?\C:> <dir> <f> <txt> abs)", nullptr, true},
    {R"(\\?\UNC\server\share\dir\f)", R"(<?\UNC\server\share> <dir> <f> <> abs)", nullptr, true},
    {R"(\\?\unc\server\share\f)", R"(<?\unc\server\share> <> <f> <> abs)", nullptr, true},
    {R"(\\?\Volume{0-1}\dir\f)", R"(<?\Volume{0-1}> <dir> <f> <> abs)", nullptr, true},
    {R"(\\.\pipe\name)", R"(<.\pipe> <> <name> <> abs)", nullptr, true},
    {R"(f.txt:stream)", "<> <> <f> <txt:stream> rel", nullptr, false},
    {R"(C:\dir\f:s)", "<C> <dir> <f:s> <> abs", nullptr, true},
    {R"(C:\\server\share\f)", "<C> <server|share> <f> <> abs", R"(C:\server\share\f)", true},
    {R"(\\\server\share\f)", "<> <server|share> <f> <> abs", R"(\server\share\f)", false},
    {R"(C:D:\f)", "<C> <D:> <f> <> rel", nullptr, false},
    {R"(dir\.profile)", "<> <dir> <.profile> <> rel", nullptr, false},
    {R"(C:.profile)", "<C> <> <.profile> <> rel", nullptr, false},
};

TEST(DosNative, EveryPathIsReadAndWrittenAsItStands) {
  for (const ZTKPathFormat format : {ZTKPathNative, ZTKPathDos}) {
    for (const Row& row : kRows) {
      SCOPED_TRACE(row.path);
      const ZTKFileName name(row.path, format);
      EXPECT_EQ(PartsOf(name), row.parts);
      EXPECT_EQ(Text(name.GetFullPath(format)), row.again != nullptr ? row.again : row.path);
      EXPECT_EQ(name.IsAbsolute(format), row.isAbsolute);
    }
  }
}

TEST(DosNative, WhatWasWrittenIsReadTheSame) {
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.path);
    const ZTKFileName name(row.path, ZTKPathNative);
    const ZTKFileName again(name.GetFullPath(ZTKPathNative), ZTKPathNative);
    EXPECT_EQ(PartsOf(again), PartsOf(name));
  }
}

TEST(DosNative, FoldersAndNamesAreJoinedBelowAShare) {
  ZTKFileName name;
  for (const char* folder : {R"(\\server\share)", R"(\\server\share\)", "//server/share/"}) {
    SCOPED_TRACE(folder);
    name.Assign(folder, "f.txt", ZTKPathNative);
    EXPECT_EQ(Text(name.GetFullPath(ZTKPathNative)), R"(\\server\share\f.txt)");
    name.AssignDir(folder, ZTKPathNative);
    name.AppendDir("sub");
    EXPECT_EQ(Text(name.GetPath(ZTKGetPathVolume, ZTKPathNative)), R"(\\server\share\sub)");
  }
}

TEST(DosNative, SplittingGivesTheShareAsVolume) {
  ZTKString volume;
  ZTKString path;
  ZTKString file;
  ZTKFileName::SplitVolume(R"(\\server\share\dir\f)", &volume, &path, ZTKPathNative);
  EXPECT_EQ(Text(volume), R"(server\share)");
  EXPECT_EQ(Text(path), R"(\dir\f)");
  ZTKFileName::SplitPath(R"(//server/share/dir/f)", &path, &file, nullptr, ZTKPathNative);
  EXPECT_EQ(Text(path), R"(\\server\share/dir)");
  EXPECT_EQ(Text(file), "f");
  EXPECT_EQ(Text(ZTKFileName::ZTKGetVolumeString(R"(?\C:)", ZTKPathNative)), R"(\\?\C:)");
}

TEST(DosNative, RelativePathsAreCompletedFromAShareAsFromADrive) {
  struct {
    const char* path;
    const char* cwd;
    const char* absolute;
  } const rows[] = {
      {R"(dir\f)", R"(\\server\share\work)", R"(\\server\share\work\dir\f)"},
      {R"(\dir\f)", R"(\\server\share\work)", R"(\\server\share\dir\f)"},
      {R"(dir\f)", R"(D:\work)", R"(D:\work\dir\f)"},
      {R"(\\other\x\f)", R"(D:\work)", R"(\\other\x\f)"},
      {R"(\\?\C:\f)", R"(\\server\share\work)", R"(\\?\C:\f)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    ZTKFileName name(row.path, ZTKPathNative);
    EXPECT_TRUE(name.XPNormalize(ZTKNormAbsolute, row.cwd, ZTKPathNative));
    EXPECT_EQ(Text(name.GetFullPath(ZTKPathNative)), row.absolute);
    EXPECT_TRUE(name.IsAbsolute(ZTKPathNative));
  }
}

TEST(DosNative, ASeparatorBeforeAVariableSeparates) {
  const ScopedEnv variable("ZTK_DOS_TEST", "value");
  const struct {
    const char* path;
    const char* expanded;
  } rows[] = {
      {R"(dir\$ZTK_DOS_TEST)", R"(dir\value)"},
      {R"(dir/$ZTK_DOS_TEST.txt)", R"(dir\value.txt)"},
      {R"(dir\${ZTK_DOS_TEST}\f)", R"(dir\value\f)"},
      {R"(C:\$ZTK_DOS_TEST\$(ZTK_DOS_TEST))", R"(C:\value\value)"},
      {R"($ZTK_DOS_TEST\f)", R"(value\f)"},
      {R"(a$ZTK_DOS_TEST\f)", R"(avalue\f)"},
      // What is no variable stays where it is.
      {R"(dir\$ZTK_DOS_NONE\f)", R"(dir\$ZTK_DOS_NONE\f)"},
      {R"(dir\%ZTK_DOS_TEST%\f)", R"(dir\%ZTK_DOS_TEST%\f)"},
      {R"(\\server\share\$ZTK_DOS_TEST\$f)", R"(\\server\share\value\$f)"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    for (const ZTKPathFormat format : {ZTKPathNative, ZTKPathDos}) {
      ZTKFileName name(row.path, format);
      const bool isRelative = PartsOf(name).find(" rel") != std::string::npos;
      EXPECT_TRUE(name.XPNormalize(ZTKNormEnvVars, "", format));
      // Normalising ends in a path that counts as absolute.
      EXPECT_EQ(Text(name.GetFullPath(format)),
                (isRelative ? "\\" : "") + std::string(row.expanded));
    }
  }
  // A text that is no path has its escape.
  EXPECT_EQ(Text(ZTKFileName::ExpandEnvVars("dir\\$ZTK_DOS_TEST")), "dir$ZTK_DOS_TEST");
}

TEST(DosNative, OtherSyntaxesReadAsEverywhere) {
  EXPECT_EQ(PartsOf(ZTKFileName("//server/share/f", ZTKPathUnix)), "<> <server|share> <f> <> abs");
  EXPECT_EQ(PartsOf(ZTKFileName(R"(\\server\share\f)", ZTKPathVms)),
            R"(<> <> <\\server\share\f> <> rel)");
}

}  // namespace
