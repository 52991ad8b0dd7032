#include "ztk/file/file_system.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <string>

#include "tests/support/temp_dir.h"

namespace {

ZTKString S(const std::string& text) { return ZTKString(text.c_str()); }

TEST(ZTKFileSystem, HomeOfTheCurrentUserIsThatOfTheEnvironment) {
  const ScopedEnv home("HOME", "/somewhere/else");
  EXPECT_STREQ(ZTKGetUserHome(""), "/somewhere/else");
}

TEST(ZTKFileSystem, HomeDoesNotEndInASeparatorUnlessItIsTheRoot) {
  const struct {
    const char* written;
    const char* home;
  } rows[] = {{"/h/", "/h"}, {"/h///", "/h"}, {"/", "/"}, {"//", "/"}, {"/a/b", "/a/b"}};
  for (const auto& row : rows) {
    const ScopedEnv home("HOME", row.written);
    EXPECT_STREQ(ZTKGetUserHome(""), row.home);
  }
}

TEST(ZTKFileSystem, HomeComesFromThePasswordDatabaseOtherwise) {
  const passwd* const record = getpwuid(getuid());
  if (record == nullptr) GTEST_SKIP() << "the user is not in the password database";
  const std::string home = record->pw_dir;
  const std::string name = record->pw_name;
  {
    const ScopedEnv unset("HOME", nullptr);
    EXPECT_EQ(ZTKGetUserHome(""), home);
  }
  const ScopedEnv other("HOME", "");
  EXPECT_EQ(ZTKGetUserHome(""), home);
  EXPECT_EQ(ZTKGetUserHome(S(name)), home);
}

TEST(ZTKFileSystem, HomeOfAnUnknownUserIsADot) {
  EXPECT_STREQ(ZTKGetUserHome("no-such-user-here"), ".");
  EXPECT_STREQ(ZTKGetUserHome(S(std::string(100000, 'u'))), ".");
  EXPECT_STREQ(ZTKGetUserHome("a:b/c\n"), ".");
}

TEST(ZTKFileSystem, HomeThatIsTooLongIsNotCut) {
  const passwd* const record = getpwuid(getuid());
  const std::string fallback = record != nullptr ? record->pw_dir : ".";
  const ScopedEnv home("HOME", ("/" + std::string(5000, 'h')).c_str());
  EXPECT_EQ(ZTKGetUserHome(""), fallback);
}

TEST(ZTKFileSystem, PathsAreTheSystemsOwn) {
  for (const char* path : {"rel/name", "/abs/name", "Vol:a:b", ""}) {
    EXPECT_STREQ(XPMacPathToCompName(path).c_str(), path);
  }
  EXPECT_STREQ(XPMacPathToCompName(nullptr).c_str(), "");
  EXPECT_EQ(XPGetNativeSeparator(), '/');
}

TEST(ZTKFileSystem, PathsLongerThan1023CharactersDoNotExist) {
  TempDir dir;
  WriteWholeFile(dir / "file", "x");
  for (const size_t length : {1022u, 1023u, 1024u, 1025u, 5000u}) {
    SCOPED_TRACE(length);
    // Repeated separators make an existing path as long as one likes.
    std::string path = dir / "file";
    path.insert(0, length - path.size(), '/');
    EXPECT_EQ(ZTKPathExists(S(path)), length <= 1023);
    EXPECT_EQ(ZTKFileExists(S(path)), length < 4096);
  }
}

TEST(ZTKFileSystem, TemporaryFolderIsTheUsersOwnOrTheSystems) {
  {
    const ScopedEnv set("TMPDIR", "/my/tmp");
    EXPECT_STREQ(XPGetTempFolder().c_str(), "/my/tmp");
  }
  {
    const ScopedEnv empty("TMPDIR", "");
    EXPECT_STREQ(XPGetTempFolder().c_str(), "/tmp");
  }
  for (const char* relative : {"tmp", ".", "../tmp", "~"}) {
    const ScopedEnv set("TMPDIR", relative);
    EXPECT_STREQ(XPGetTempFolder().c_str(), "/tmp") << relative;
  }
  const ScopedEnv unset("TMPDIR", nullptr);
  EXPECT_STREQ(XPGetTempFolder().c_str(), "/tmp");
}

}  // namespace
