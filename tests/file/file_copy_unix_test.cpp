// Copies to names, lengths of paths and kinds of files that Unix alone has.

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/scoped_process.h"
#include "tests/support/system_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;

TEST(ZTKCopyFile, GoesToPathsAndNamesOfEveryLengthInEveryMode) {
  const TempDir dir;
  fs::path folder = dir.Path();
  while (folder.string().size() < 800) folder /= std::string(100, 'd');
  fs::create_directories(folder);
  const size_t before = folder.string().size() + 1;
  WriteWholeFile(dir / "from", "new");
  for (const bool isStrict : {false, true}) {
    const Strict strict(isStrict);
    for (const size_t length :
         {before + 1, size_t{1010}, size_t{1020}, size_t{1021}, size_t{1022}, size_t{1023},
          size_t{1024}, size_t{1030}, before + 252, before + 253, before + 255}) {
      SCOPED_TRACE(testing::Message() << length << isStrict);
      const std::string to = folder / std::string(length - before, 'n');
      ASSERT_EQ(to.size(), length);
      for (const int overwrite : {0, 1}) {
        fs::remove(to);
        EXPECT_TRUE(ZTKCopyFile(ZTKString(dir / "from"), ZTKString(to), overwrite));
        EXPECT_EQ(ReadWholeFile(to), "new");
      }
      fs::remove(to);
      EXPECT_EQ(CountNames(folder), 0);
    }
  }
}

TEST(ZTKCopyFile, GoesToALongPathInADeepWorkingDirectory) {
  for (const bool isStrict : {false, true}) {
    const Strict strict(isStrict);
    const TempDir dir;
    const ScopedWorkingDirectory cwd(dir.Path());
    for (int depth = 0; depth < 7; ++depth) {
      fs::create_directory(std::string(200, 'd'));
      fs::current_path(std::string(200, 'd'));
    }
    WriteWholeFile("from", "new");
    EXPECT_TRUE(ZTKCopyFile("from", "to", 1));
    EXPECT_EQ(ReadWholeFile("to"), "new");
  }
}

TEST(ZTKCopyFile, ATemporaryNameIsNotCutInTheMiddleOfACharacter) {
  const Strict strict;
  const TempDir dir;
  WriteWholeFile(dir / "from", "new");
  std::string name;
  while (name.size() < 254) name += "\xC3\xA9";
  // A folder in the place of what a careless cut would give changes nothing.
  EXPECT_TRUE(ZTKCopyFile(ZTKString(dir / "from"), ZTKString(dir / name), 1));
  EXPECT_EQ(ReadWholeFile(dir / name), "new");
  ZTKTempFile temp(ZTKString(dir / name), TEMP_EXACT_PATH);
  const std::string path = temp.GetTempPath().c_str();
  EXPECT_EQ(path, dir / (name.substr(0, 252) + "000"));
}

TEST(ZTKCopyFile, EveryFunctionTakesBothFormsInEveryMode) {
  for (const bool isStrict : {false, true}) {
    const Strict strict(isStrict);
    const TempDir dir;
    const auto host = [&](const char* name) { return ZTKString(dir / name); };
    const auto native = [&](const char* name) { return ZTKString(NativePath(dir / name)); };
    for (const bool isNative : {false, true}) {
      SCOPED_TRACE(testing::Message() << isStrict << isNative);
      const auto path = [&](const char* name) { return isNative ? native(name) : host(name); };
      EXPECT_TRUE(ZTKMkdir(path("folder"), 0700));
      {
        ZTKFile made;
        EXPECT_TRUE(made.XPCreate(path("folder/file.").c_str(), false, 0600));
        EXPECT_EQ(made.Write("text", 4), 4u);
      }
      EXPECT_TRUE(ZTKFileExists(path("folder/file.")));
      EXPECT_TRUE(ZTKCopyFile(path("folder/file."), path("folder/~copy"), 0));
      EXPECT_TRUE(ZTKCopyFile(path("folder/file."), path("folder/~copy"), 1, 0600));
      EXPECT_EQ(ReadWholeFile(dir / "folder/~copy"), "text");
      EXPECT_TRUE(ZTKRenameFile(path("folder/~copy"), path("folder/name.")));
      EXPECT_TRUE(ZTKRemoveFile(path("folder/name.")));
      EXPECT_TRUE(ZTKRemoveFile(path("folder/file.")));
      {
        const ScopedWorkingDirectory cwd(dir.Path());
        EXPECT_TRUE(ZTKSetWorkingDirectory(path("folder")));
      }
      EXPECT_TRUE(ZTKRmdir(path("folder")));
      EXPECT_EQ(CountNames(dir.Path()), 0);
    }
  }
}

TEST(ZTKCopyFile, StrictCopyToNewFilesGivesThePermissionsAskedFor) {
  const Strict strict;
  const ScopedUmask umask(022);
  for (const int overwrite : {0, 1}) {
    const TempDir dir;
    WriteWholeFile(dir / "from", "new");
    EXPECT_TRUE(ZTKCopyFile(ZTKString(dir / "from"), ZTKString(dir / "to"), overwrite, 0600));
    EXPECT_EQ(ModeOf(dir / "to"), NewFilePermissions(0600) & ~022);
  }
}

TEST(ZTKCopyFile, StrictCopyWithoutOverwritingMakesNothingThroughALink) {
  const Strict strict;
  const TempDir dir;
  WriteWholeFile(dir / "from", "new");
  fs::create_symlink("nowhere", dir / "dangling");
  EXPECT_FALSE(ZTKCopyFile(ZTKString(dir / "from"), ZTKString(dir / "dangling"), 0));
  EXPECT_TRUE(fs::is_symlink(dir / "dangling"));
  EXPECT_FALSE(fs::exists(dir / "nowhere"));
  EXPECT_EQ(CountNames(dir.Path()), 2);
}

TEST(ZTKCopyFile, StrictCopyTellsThatItsFolderWasNotSynced) {
  const Strict strict;
  for (const int overwrite : {0, 1}) {
    const TempDir dir;
    WriteWholeFile(dir / "from", "new");
    if (overwrite != 0) WriteWholeFile(dir / "to", "old");
    system_calls::Scope calls;
    calls.Refuse("fsync folder", EIO);
    ZTKCommitOutcome outcome = COMMIT_NONE;
    EXPECT_FALSE(
        ZTKCopyFile(ZTKString(dir / "from"), ZTKString(dir / "to"), overwrite, 0666, outcome));
    EXPECT_EQ(outcome, COMMIT_NOT_DURABLE);
    EXPECT_EQ(ReadWholeFile(dir / "to"), "new");
    EXPECT_EQ(CountNames(dir.Path()), 2);
  }
}

}  // namespace
