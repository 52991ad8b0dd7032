// Names and folders: long ones, those beyond 16 bits, those that are refused, and where folders
// are.

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

bool WriteNew(const std::string& path, const char* text) {
  ZTKFile file(path.c_str(), ZTKFile::write);
  return file.IsOpen() && file.Write(text, static_cast<unsigned long>(std::strlen(text))) != 0 &&
         file.Close();
}

std::string ReadAll(const std::string& path) {
  ZTKFile file(path.c_str(), ZTKFile::read);
  if (!file.IsOpen()) return "(none)";
  char text[64];
  return std::string(text, file.Read(text, sizeof text));
}

void SaveTo(const std::string& path, const char* text, unsigned int options) {
  ZTKTempFile file(path.c_str(), options);
  ASSERT_TRUE(file.GetFile().IsOpen());
  file.GetFile().Write(text, static_cast<unsigned long>(std::strlen(text)));
  ASSERT_TRUE(file.Commit());
}

TEST(Win32Names, LongAndForeignNamesGoThroughEveryOperation) {
  TempDir dir;
  const std::string folder(120, 'f');
  for (const std::string& name : {std::string("short"), std::string("\xC3\xA4\xE2\x82\xAC"),
                                  std::string("\xF0\x9F\x93\x81"), std::string(200, 'n')}) {
    SCOPED_TRACE(name);
    std::string path = dir / name;
    const std::string root = path;
    ASSERT_TRUE(ZTKMkdir(path.c_str(), 0777));
    for (int depth = 0; depth < 3; ++depth) {
      path += "\\" + folder;
      ASSERT_TRUE(ZTKMkdir(path.c_str(), 0777));
    }
    ASSERT_GT(path.size(), 360u);
    const std::string file = path + "\\" + name;
    EXPECT_FALSE(ZTKFileExists(file.c_str()));
    EXPECT_TRUE(WriteNew(file, "one"));
    EXPECT_TRUE(ZTKFileExists(file.c_str()));
    EXPECT_TRUE(ZTKPathExists(file.c_str()));
    EXPECT_TRUE(ZTKCopyFile(file.c_str(), (file + "2").c_str(), 0));
    EXPECT_TRUE(ZTKRenameFile((file + "2").c_str(), (file + "3").c_str()));
    EXPECT_EQ(ReadAll(file + "3"), "one");
    for (const unsigned int options : {0u, TEMP_ONE_STEP + 0u, TEMP_EXACT_PATH + 0u}) {
      SaveTo(file + "3", "two", options);
      EXPECT_EQ(ReadAll(file + "3"), "two");
    }
    EXPECT_TRUE(ZTKRemoveFile((file + "3").c_str()));
    EXPECT_TRUE(ZTKRemoveFile(file.c_str()));
    for (; path.size() >= root.size(); path.resize(path.rfind('\\'))) {
      EXPECT_TRUE(ZTKRmdir(path.c_str())) << path;
    }
  }
}

TEST(Win32Names, WhatTheSystemWouldTakeForAnotherNameIsRefusedBeforeAnythingIsMade) {
  TempDir dir;
  WriteWholeFile(dir / "file", "old");
  for (const char* const name : {"nul.txt", "con", "com1.log", "x.", "x ", "file:stream"}) {
    SCOPED_TRACE(name);
    const std::string path = dir / name;
    EXPECT_FALSE(WriteNew(path, "text"));
    EXPECT_FALSE(ZTKFile(path.c_str(), ZTKFile::append).IsOpen());
    EXPECT_FALSE(ZTKFile().XPCreate(path.c_str(), true, 0666));
    EXPECT_FALSE(ZTKMkdir(path.c_str(), 0777));
    EXPECT_FALSE(ZTKRenameFile((dir / "file").c_str(), path.c_str()));
    EXPECT_FALSE(ZTKCopyFile((dir / "file").c_str(), path.c_str(), 1));
    for (const unsigned int options : {0u, TEMP_ONE_STEP + 0u, TEMP_EXACT_PATH + 0u}) {
      ZTKTempFile file(path.c_str(), options);
      EXPECT_FALSE(file.GetFile().IsOpen());
    }
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()),
                          std::filesystem::directory_iterator()),
            1);
  EXPECT_EQ(ReadWholeFile(dir / "file"), "old");
}

TEST(Win32Names, IllFormedTextNamesNothing) {
  TempDir dir;
  const std::string path = (dir / "") + "a\xFF";
  EXPECT_FALSE(WriteNew(path, "text"));
  EXPECT_FALSE(ZTKFileExists(path.c_str()));
  EXPECT_FALSE(ZTKPathExists(path.c_str()));
  EXPECT_FALSE(ZTKRemoveFile(path.c_str()));
  EXPECT_FALSE(ZTKMkdir(path.c_str(), 0777));
}

TEST(Win32Names, APathRelativeToADriveIsCompletedByItsFolder) {
  TempDir dir;
  const ScopedWorkingDirectory work(dir.Path());
  const std::string drive = (dir / "").substr(0, 2);
  EXPECT_TRUE(WriteNew(drive + "file", "text"));
  EXPECT_EQ(ReadWholeFile(dir / "file"), "text");
  for (const unsigned int options : {0u, TEMP_EXACT_PATH + 0u}) {
    SaveTo(drive + "file", "new", options);
    EXPECT_EQ(ReadWholeFile(dir / "file"), "new");
  }
}

TEST(Win32Names, TheWorkingDirectoryIsGivenInUtf8) {
  TempDir dir;
  const std::string folder = dir / "\xC3\xA4\xF0\x9F\x93\x81";
  ASSERT_TRUE(ZTKMkdir(folder.c_str(), 0777));
  const ZTKString old = ZTKGetCwd();
  ASSERT_TRUE(ZTKSetWorkingDirectory(folder.c_str()));
  EXPECT_STREQ(ZTKGetCwd().c_str(), folder.c_str());
  char small[8];
  EXPECT_STREQ(ZTKGetWorkingDirectory(small, sizeof small), "");
  EXPECT_TRUE(ZTKSetWorkingDirectory(old));
}

TEST(Win32Names, VariablesAreThoseThatTheSystemHasNow) {
  SetEnvironmentVariableW(L"ZTK_NAME", L"\x00E4\xD83D\xDCC1");
  SetEnvironmentVariableW(L"ZTK_LONG", std::wstring(1000, L'x').c_str());
  EXPECT_STREQ(ZTKFileName::ExpandEnvVars("<$ZTK_NAME>").c_str(), "<\xC3\xA4\xF0\x9F\x93\x81>");
  EXPECT_EQ(ZTKFileName::ExpandEnvVars("$ZTK_LONG").Len(), 1000u);
  SetEnvironmentVariableW(L"ZTK_NAME", nullptr);
  EXPECT_STREQ(ZTKFileName::ExpandEnvVars("<$ZTK_NAME>").c_str(), "<$ZTK_NAME>");
}

TEST(Win32Names, TheFoldersOfTheUserAreThere) {
  const ZTKString home(ZTKGetUserHome(""));
  const ZTKString settings = ZTKFileName::XPGetUserHomeDir();
  for (const ZTKString& folder : {home, settings, XPGetTempFolder()}) {
    SCOPED_TRACE(folder.c_str());
    EXPECT_TRUE(ZTKFileName(folder, ZTKPathNative).IsAbsolute(ZTKPathNative));
    EXPECT_NE(GetFileAttributesA(folder.c_str()) & FILE_ATTRIBUTE_DIRECTORY, 0u);
  }
  EXPECT_NE(home.Last(), '\\');
  EXPECT_NE(settings.Last(), '\\');
  EXPECT_STREQ(ZTKGetUserHome("nobody-of-that-name"), ".");
}

TEST(Win32Names, WhatIsMissingOfAPathStaysInItsLongForm) {
  TempDir dir;
  WriteWholeFile(dir / "a longer name.text", "x");
  const std::string deep = "missing\\" + std::string(250, 'd') + "\\file";
  for (const std::string& path :
       {dir / "a longer name.text", dir / "missing", dir / deep, dir / "missing\\folder\\",
        std::string("B:\\no drive\\file"), std::string("\\\\no server\\share\\file")}) {
    SCOPED_TRACE(path);
    EXPECT_STREQ(ZTKFileName(path.c_str(), ZTKPathNative).XPGetLongPath().c_str(), path.c_str());
  }
  EXPECT_STREQ(ZTKFileName("a\xFF", ZTKPathNative).XPGetLongPath().c_str(), "");
}

TEST(Win32Names, TheLongFormOfAShortNameIsTheNameItself) {
  TempDir dir;
  const std::string longName = dir / "a longer name.text";
  WriteWholeFile(longName, "x");
  const std::filesystem::path path = longName;
  wchar_t shortName[MAX_PATH] = L"";
  ASSERT_NE(GetShortPathNameW(path.c_str(), shortName, MAX_PATH), 0u);
  const std::string given = std::filesystem::path(shortName).string();
  if (given == longName) GTEST_SKIP() << "the drive has no short names";
  EXPECT_STREQ(ZTKFileName(given.c_str(), ZTKPathNative).XPGetLongPath().c_str(), longName.c_str());
}

}  // namespace
