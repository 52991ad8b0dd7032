// Copies by every form of a path, and how they end.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;

// Both forms of the path of a file of the host.
std::vector<std::string> FormsOf(const std::string& path) {
  std::vector<std::string> forms = {path};
  if (HasColonPaths()) forms.push_back(NativePath(path));
  return forms;
}

// Windows keeps no final dots, and takes a backslash for what it is.
#ifdef _WIN32
constexpr const char* kNames[] = {"notes.txt", "~x", "$HOME", ".hidden", "a b", "..x", "#"};
#else
constexpr const char* kNames[] = {"notes.", "notes.txt", "~x",  "$HOME",  ".hidden",
                                  "a b",    "..x",       "x..", "\\back", "#"};
#endif

TEST(ZTKCopyFile, GoesToTheFileOfThatNameInEveryMode) {
  for (const bool isStrict : {false, true}) {
    const Strict strict(isStrict);
    for (const int overwrite : {0, 1}) {
      for (const char* name : kNames) {
        SCOPED_TRACE(testing::Message() << name << isStrict << overwrite);
        const TempDir dir;
        WriteWholeFile(dir / "from", "new");
        WriteWholeFile(dir / "notes", "an unrelated file");
        for (const std::string& to : FormsOf(dir / name)) {
          fs::remove(dir / name);
          EXPECT_TRUE(ZTKCopyFile(ZTKString(dir / "from"), ZTKString(to), overwrite)) << to;
          EXPECT_EQ(ReadWholeFile(dir / name), "new");
          EXPECT_EQ(ReadWholeFile(dir / "notes"), "an unrelated file");
          EXPECT_EQ(CountNames(dir.Path()), 3);
        }
      }
    }
  }
}

TEST(ZTKCopyFile, GoesToARelativeNameInEveryMode) {
  for (const bool isStrict : {false, true}) {
    const Strict strict(isStrict);
    for (const char* name : kNames) {
      SCOPED_TRACE(testing::Message() << name << isStrict);
      const TempDir dir;
      fs::create_directory(dir / "below");
      const ScopedWorkingDirectory cwd(dir.Path());
      WriteWholeFile("from", "new");
      const std::string forms[] = {name, std::string("below/../") + name};
      for (const std::string& to : forms) {
        EXPECT_TRUE(ZTKCopyFile("from", ZTKString(to), 1)) << to;
        EXPECT_EQ(ReadWholeFile(dir / name), "new");
        EXPECT_EQ(CountNames(dir.Path()), 3);
      }
    }
  }
}

// Outcomes ----------------------------------------------------------------------------------------

TEST(ZTKCopyFile, OutcomesTellWhatBecameOfTheTarget) {
  for (const bool isStrict : {false, true}) {
    SCOPED_TRACE(isStrict);
    const Strict strict(isStrict);
    const TempDir dir;
    WriteWholeFile(dir / "from", "new");
    WriteWholeFile(dir / "to", "old");
    const auto copy = [&](const char* from, const char* to, int overwrite) {
      ZTKCommitOutcome outcome = COMMIT_NONE;
      const bool done =
          ZTKCopyFile(ZTKString(dir / from), ZTKString(dir / to), overwrite, 0666, outcome);
      EXPECT_EQ(done, outcome == COMMIT_DONE);
      return outcome;
    };
    EXPECT_EQ(copy("missing", "to", 1), COMMIT_FAILED);
    EXPECT_EQ(copy("from", "to", 0), COMMIT_FAILED);
    EXPECT_EQ(ReadWholeFile(dir / "to"), "old");
    EXPECT_EQ(copy("from", "to", 1), COMMIT_DONE);
    EXPECT_EQ(ReadWholeFile(dir / "to"), "new");
  }
}

}  // namespace
