// Files as Windows itself keeps them.

#include <filesystem>
#include <string>
#include <vector>

#include "tests/platform/win32/on_windows/on_windows.h"
#include "tests/support/temp_dir.h"
#include "ztk/config/file_config.h"
#include "ztk/file/file.h"
#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr unsigned int kWays[] = {0, TEMP_ONE_STEP, TEMP_UNNAMED, TEMP_EXACT_PATH};

bool Save(const std::string& path, const std::string& text, unsigned int options) {
  ZTKTempFile file(path.c_str(), options);
  if (!file.GetFile().IsOpen()) return false;
  file.GetFile().Write(text.data(), static_cast<unsigned long>(text.size()));
  const bool isSaved = file.Commit();
  if (!isSaved) file.Discard();
  return isSaved;
}

std::string Content(const std::string& path) {
  ZTKFile file(path.c_str(), ZTKFile::read);
  if (!file.IsOpen()) return "(none)";
  char text[256];
  return std::string(text, file.Read(text, sizeof text));
}

std::vector<std::string> Names(const std::string& folder) {
  std::vector<std::string> names;
  WIN32_FIND_DATAW data;
  const HANDLE find = FindFirstFileW(Wide(folder + "\\*").c_str(), &data);
  if (find == INVALID_HANDLE_VALUE) return names;
  do {
    const std::wstring name = data.cFileName;
    if (name != L"." && name != L"..") names.emplace_back(name.begin(), name.end());
  } while (FindNextFileW(find, &data) != 0);
  FindClose(find);
  return names;
}

// False where this user may make none: that takes the developer mode, or an administrator.
bool MakeLink(const std::string& link, const std::string& target, DWORD flags = 0) {
  constexpr DWORD kUnprivileged = 2;
  CreateSymbolicLinkW(Wide(link).c_str(), Wide(target).c_str(), flags | kUnprivileged);
  const DWORD attributes = GetFileAttributesW(Wide(link).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

TEST_F(OnWindows, AReadOnlyFileIsNeitherReplacedNorRemoved) {
  for (const unsigned int way : kWays) {
    SCOPED_TRACE(way);
    const TempDir dir;
    WriteWholeFile(dir / "file", "old");
    WriteWholeFile(dir / "new", "new");
    ASSERT_NE(SetFileAttributesA((dir / "file").c_str(), FILE_ATTRIBUTE_READONLY), 0);
    EXPECT_FALSE(Save(dir / "file", "new", way));
    EXPECT_FALSE(ZTKRenameFile((dir / "new").c_str(), (dir / "file").c_str()));
    EXPECT_FALSE(ZTKRemoveFile((dir / "file").c_str()));
    EXPECT_EQ(Content(dir / "file"), "old");
    SetFileAttributesA((dir / "file").c_str(), FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(Names(dir.Path().string()).size(), 2u);
  }
}

TEST_F(OnWindows, StreamsStayWithAFileThatIsOverwrittenAndGoWithOneThatIsReplaced) {
  const TempDir dir;
  const std::string path = dir / "file";
  WriteWholeFile(path, "old");
  OthersFile(path + ":meta", GENERIC_WRITE, 0, CREATE_NEW).Write("stream");
  EXPECT_EQ(Names(dir.Path().string()), std::vector<std::string>{"file"});
  EXPECT_FALSE(Save(path + ":other", "text", 0));
  ASSERT_NE(CreateHardLinkA((dir / "second").c_str(), path.c_str(), nullptr), 0);
  EXPECT_TRUE(Save(path, "new", TEMP_KEEP_IDENTITY));
  EXPECT_EQ(Content(dir / "second"), "new");
  EXPECT_EQ(OthersFile(path + ":meta", GENERIC_READ, kAll).Read(), "stream");
  EXPECT_TRUE(Save(path, "newer", 0));
  EXPECT_EQ(Content(path), "newer");
  EXPECT_EQ(GetFileAttributesA((path + ":meta").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(OnWindows, ALinkIsFollowedWhereThatIsAskedAndReplacedElsewhere) {
  for (const bool isRelative : {false, true}) {
    SCOPED_TRACE(isRelative);
    const TempDir dir;
    WriteWholeFile(dir / "file", "old");
    if (!MakeLink(dir / "link", isRelative ? "file" : dir / "file")) {
      GTEST_SKIP() << "this user may make no symbolic links";
    }
    EXPECT_TRUE(Save(dir / "link", "new", TEMP_FOLLOW_LINKS));
    EXPECT_EQ(Content(dir / "file"), "new");
    EXPECT_NE(GetFileAttributesA((dir / "link").c_str()) & FILE_ATTRIBUTE_REPARSE_POINT, 0u);
    ZTKFileName name((dir / "link").c_str(), ZTKPathNative);
    EXPECT_TRUE(name.XPNormalize(ZTKNormShortcut | ZTKNormAbsolute, "", ZTKPathNative));
    EXPECT_STREQ(name.GetFullPath(ZTKPathNative).c_str(), (dir / "file").c_str());

    EXPECT_TRUE(Save(dir / "link", "own", 0));
    EXPECT_EQ(GetFileAttributesA((dir / "link").c_str()) & FILE_ATTRIBUTE_REPARSE_POINT, 0u);
    EXPECT_EQ(Content(dir / "link"), "own");
    EXPECT_EQ(Content(dir / "file"), "new");
  }
}

TEST_F(OnWindows, LinksThatLeadNowhereOrInACircle) {
  const TempDir dir;
  if (!MakeLink(dir / "a", dir / "b")) GTEST_SKIP() << "this user may make no symbolic links";
  EXPECT_FALSE(ZTKFileExists((dir / "a").c_str()));
  EXPECT_TRUE(Save(dir / "a", "text", TEMP_FOLLOW_LINKS)) << "its target is created";
  EXPECT_EQ(Content(dir / "b"), "text");
  ASSERT_TRUE(MakeLink(dir / "c", dir / "d") && MakeLink(dir / "d", dir / "c"));
  EXPECT_FALSE(Save(dir / "c", "text", TEMP_FOLLOW_LINKS));
  ASSERT_TRUE(ZTKMkdir((dir / "folder").c_str(), 0777));
  WriteWholeFile(dir / "folder\\file", "kept");
  ASSERT_TRUE(MakeLink(dir / "to folder", dir / "folder", SYMBOLIC_LINK_FLAG_DIRECTORY));
  EXPECT_TRUE(ZTKRemoveFile((dir / "to folder").c_str()));
  EXPECT_EQ(Content(dir / "folder\\file"), "kept");
}

TEST_F(OnWindows, AFileIsReplacedAtOnceWhileAReaderThatAllowsItHasItOpen) {
  for (const unsigned int way : kWays) {
    SCOPED_TRACE(way);
    const TempDir dir;
    WriteWholeFile(dir / "file", "old");
    const OthersFile reader(dir / "file", GENERIC_READ, kAll);
    EXPECT_TRUE(Save(dir / "file", "new", way));
    EXPECT_EQ(Content(dir / "file"), "new");
    EXPECT_EQ(reader.Read(), "old");
    EXPECT_EQ(Names(dir.Path().string()).size(), 1u);
  }
}

TEST_F(OnWindows, TheNameOfARemovedFileIsFreeWhileItIsStillOpen) {
  const TempDir dir;
  WriteWholeFile(dir / "file", "old");
  const OthersFile reader(dir / "file", GENERIC_READ, kAll);
  EXPECT_TRUE(ZTKRemoveFile((dir / "file").c_str()));
  EXPECT_FALSE(ZTKPathExists((dir / "file").c_str()));
  EXPECT_TRUE(ZTKFile().XPCreate((dir / "file").c_str(), false, 0666));
  EXPECT_EQ(reader.Read(), "old");
}

TEST_F(OnWindows, ANameIsGivenOtherCase) {
  const TempDir dir;
  WriteWholeFile(dir / "File.txt", "text");
  EXPECT_TRUE(ZTKRenameFile((dir / "File.txt").c_str(), (dir / "fILE.TXT").c_str()));
  EXPECT_EQ(Names(dir.Path().string()), std::vector<std::string>{"fILE.TXT"});
}

TEST_F(OnWindows, WhatOthersHaveLockedIsNotReadOrWrittenAndThatIsTold) {
  const TempDir dir;
  WriteWholeFile(dir / "file", std::string(100, 'x'));
  const OthersFile locker(dir / "file", GENERIC_READ | GENERIC_WRITE, kAll);
  OVERLAPPED at = {};
  ASSERT_NE(
      LockFileEx(locker.Get(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 100, 0, &at),
      0);
  char text[100];
  ZTKFile reader((dir / "file").c_str(), ZTKFile::read);
  ASSERT_TRUE(reader.IsOpen());
  EXPECT_EQ(reader.Read(text, sizeof text), 0u);
  EXPECT_TRUE(reader.HasReadError());
  ZTKFile writer((dir / "file").c_str(), ZTKFile::read_write);
  ASSERT_TRUE(writer.IsOpen());
  writer.Write("y", 1);
  EXPECT_FALSE(writer.Flush());
  EXPECT_TRUE(writer.HasLostData());
}

TEST_F(OnWindows, APathOfTheNetworkGoesThroughEveryOperation) {
  const TempDir dir;
  std::string root = dir.Path().string();  // C:\Users\... is \\localhost\C$\Users\...
  root = "\\\\localhost\\" + root.substr(0, 1) + "$" + root.substr(2);
  if (GetFileAttributesW(Wide(root).c_str()) == INVALID_FILE_ATTRIBUTES) {
    GTEST_SKIP() << root << " is not there for this user, error " << GetLastError();
  }
  const std::string folder = root + "\\folder " + std::string(150, 'f');
  ASSERT_TRUE(ZTKMkdir(folder.c_str(), 0777));
  const std::string file = folder + "\\" + std::string(150, 'n') + ".txt";
  for (const unsigned int way : kWays) {
    SCOPED_TRACE(way);
    EXPECT_TRUE(Save(file, "one", way));
    EXPECT_TRUE(Save(file, "two", way));
    EXPECT_EQ(Content(file), "two");
  }
  const ZTKFileName name(file.c_str(), ZTKPathNative);
  EXPECT_TRUE(name.IsAbsolute(ZTKPathNative));
  EXPECT_STREQ(name.GetFullPath(ZTKPathNative).c_str(), file.c_str());
  EXPECT_TRUE(ZTKCopyFile(file.c_str(), (file + "2").c_str(), 0));
  EXPECT_TRUE(ZTKRenameFile((file + "2").c_str(), (file + "3").c_str()));
  {
    ZTKFileConfig config("", (folder + "\\a.conf").c_str(), CONF_ALL | CONF_EXACT_PATH);
    config.SetPath("/g");
    EXPECT_TRUE(config.Write("k", "v"));
    EXPECT_TRUE(config.Flush());
  }
  EXPECT_TRUE(ZTKFileExists((folder + "\\a.conf").c_str()));
  for (const std::string& left :
       {file, file + "3", folder + "\\a.conf", folder + "\\a.conf.lock"}) {
    EXPECT_TRUE(ZTKRemoveFile(left.c_str())) << left;
  }
  EXPECT_TRUE(ZTKRmdir(folder.c_str()));
}

TEST_F(OnWindows, ALongPathNeedsNoSettingOfTheSystem) {
  const TempDir dir;
  std::string folder = dir.Path().string();
  std::vector<std::string> made;
  for (int depth = 0; depth < 4; ++depth) {
    folder += "\\" + std::string(100, static_cast<char>('a' + depth));
    ASSERT_TRUE(ZTKMkdir(folder.c_str(), 0777));
    made.push_back(folder);
  }
  const std::string file = folder + "\\file.txt";
  for (const unsigned int way : kWays) {
    SCOPED_TRACE(way);
    EXPECT_TRUE(Save(file, "one", way));
    EXPECT_TRUE(Save(file, "two", way));
    EXPECT_EQ(Content(file), "two");
  }
  EXPECT_TRUE(ZTKRenameFile(file.c_str(), (folder + "\\other.txt").c_str()));
  EXPECT_TRUE(ZTKRemoveFile((folder + "\\other.txt").c_str()));
  for (; !made.empty(); made.pop_back()) EXPECT_TRUE(ZTKRmdir(made.back().c_str()));
}

}  // namespace
