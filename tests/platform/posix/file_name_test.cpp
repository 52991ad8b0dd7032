// What depends on slashes being the native separators, and on the folders of this platform.
#include "ztk/file/file_name.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "tests/file/file_name_support.h"
#include "tests/support/temp_dir.h"
#include "ztk/config/file_config.h"

namespace {

namespace fs = std::filesystem;

mode_t ModeOf(const std::string& path) {
  struct stat info = {};
  EXPECT_EQ(stat(path.c_str(), &info), 0) << path;
  return info.st_mode & 07777;
}

// The syntax ------------------------------------------------------------------------------------

TEST(ZTKFileNamePosix, NativeSyntaxIsUnix) {
  EXPECT_EQ(ZTKFileName::XPGetFormat(ZTKPathNative), ZTKPathUnix);
  EXPECT_TRUE(ZTKFileName().IsCaseSensitive(ZTKPathNative));
  EXPECT_EQ(PartsOf(ZTKFileName("/a/b.c", ZTKPathNative)), "<> <a> <b> <c> abs");
}

TEST(ZTKFileNamePosix, ADotBehindASlashStartsAName) {
  const struct {
    ZTKPathFormat format;
    const char* path;
    const char* parts;
  } rows[] = {
      {ZTKPathUnix, ".profile", "<> <> <.profile> <> rel"},
      {ZTKPathUnix, "dir/.profile", "<> <dir> <.profile> <> rel"},
      {ZTKPathUnix, "/.profile", "<> <> <.profile> <> abs"},
      {ZTKPathUnix, "dir/.profile.bak", "<> <dir> <.profile> <bak> rel"},
      {ZTKPathDos, "dir/.profile", "<> <dir> <.profile> <> rel"},
      {ZTKPathDos, "dir\\.profile", "<> <dir> <> <profile> rel"},
      {ZTKPathMac, ":dir:.profile", "<> <dir> <> <profile> rel"},
      {ZTKPathVms, "[A]/.P", "<> <A> </.P> <> abs"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    EXPECT_EQ(PartsOf(ZTKFileName(row.path, row.format)), row.parts);
  }
}

TEST(ZTKFileNamePosix, ColonsAreOrdinaryInAComponentAndSlashesAreNot) {
  EXPECT_TRUE(ZTKFileName::IsValidDirComponent("a:b"));
  EXPECT_TRUE(ZTKFileName::IsValidDirComponent("a\\b"));
  EXPECT_FALSE(ZTKFileName::IsValidDirComponent("a/b"));
  ZTKFileName name;
  name.AppendDir("a:b");
  name.AppendDir("a/b");
  EXPECT_EQ(DirsOf(name), "a:b");
}

TEST(ZTKFileNamePosix, SetFullNameReadsSlashes) {
  ZTKFileName name("/a/b.c", ZTKPathUnix);
  name.SetFullName("x/y:z.w");
  EXPECT_EQ(PartsOf(name), "<> <a> <y:z> <w> abs");
}

// The working directory -------------------------------------------------------------------------

TEST(ZTKFileNamePosix, AssignCwdTakesTheWorkingDirectoryApart) {
  const TempDir dir;
  const ScopedWorkingDirectory changed(dir.Path());
  ZTKFileName name("x.y", ZTKPathUnix);
  name.AssignCwd("");
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathUnix)), dir.Path().string() + "/");
}

TEST(ZTKFileNamePosix, MemberSetCwdGoesToTheWholePath) {
  const TempDir dir;
  fs::create_directory(dir / "sub.dir");
  const ScopedWorkingDirectory changed(dir.Path());
  const ZTKFileName name("sub.dir", ZTKPathNative);
  EXPECT_TRUE(name.SetCwd());
  EXPECT_EQ(fs::current_path(), dir / "sub.dir");
  EXPECT_FALSE(name.SetCwd());
}

// Volumes have no separator here, so one is looked up as a folder of that name.
TEST(ZTKFileNamePosix, GetCwdOfAVolumeComesBack) {
  const TempDir dir;
  fs::create_directory(dir / "vol");
  const ScopedWorkingDirectory changed(dir.Path());
  EXPECT_EQ(Text(ZTKFileName::GetCwd("vol")), dir / "vol");
  EXPECT_EQ(fs::current_path(), dir.Path());
  EXPECT_EQ(Text(ZTKFileName::GetCwd("missing")), dir.Path().string());
  EXPECT_EQ(fs::current_path(), dir.Path());
}

TEST(ZTKFileNamePosix, GetCwdOfAVolumeStaysWhereTheWayBackHasNoName) {
  const TempDir dir;
  const ScopedWorkingDirectory changed(dir.Path());
  const std::string component(200, 'd');
  for (int i = 0; i < 6; ++i) {
    fs::create_directory(component);
    fs::current_path(component);
  }
  fs::create_directory("vol");
  EXPECT_EQ(Text(ZTKFileName::GetCwd()), "") << "1024 characters and more do not fit";
  EXPECT_EQ(Text(ZTKFileName::GetCwd("vol")), "");
  EXPECT_EQ(fs::current_path().filename(), component);
}

// Normalising -----------------------------------------------------------------------------------

TEST(ZTKFileNamePosix, AbsolutePutsTheWorkingDirectoryInFront) {
  const TempDir dir;
  const ScopedWorkingDirectory changed(dir.Path());
  ZTKFileName name("a/n.e", ZTKPathNative);
  EXPECT_TRUE(name.XPNormalize(ZTKNormAbsolute, "", ZTKPathNative));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathNative)), dir / "a/n.e");
}

TEST(ZTKFileNamePosix, AbsoluteTakesTheGivenDirectory) {
  ZTKFileName name("a/n.e", ZTKPathNative);
  EXPECT_TRUE(name.XPNormalize(ZTKNormAbsolute, "/x/y", ZTKPathNative));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathNative)), "/x/y/a/n.e");

  name.Assign("/b/n.e", ZTKPathNative);
  EXPECT_TRUE(name.XPNormalize(ZTKNormAbsolute, "/x/y", ZTKPathNative));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathNative)), "/b/n.e") << "it was absolute already";

  name.Assign("a/n", ZTKPathNative);
  EXPECT_TRUE(name.XPNormalize(ZTKNormAbsolute, name.GetDirs().Item(0), ZTKPathNative));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathNative)), "/a/a/n") << "the folder may be a component";
}

TEST(ZTKFileNamePosix, AStepUpBehindTheWorkingDirectoryOnlyDisappears) {
  ZTKFileName name("../x.txt", ZTKPathNative);
  EXPECT_TRUE(name.XPNormalize(ZTKNormAbsolute | ZTKNormDots, "/w", ZTKPathNative));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathNative)), "/w/x.txt");
}

TEST(ZTKFileNamePosix, WithoutAWorkingDirectoryTheRootIsTaken) {
  const TempDir dir;
  const ScopedWorkingDirectory changed(dir.Path());
  fs::create_directory("gone");
  fs::current_path("gone");
  fs::remove(dir / "gone");
  ZTKFileName name("x.txt", ZTKPathNative);
  EXPECT_TRUE(name.XPNormalize(ZTKNormAbsolute, "", ZTKPathNative));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathNative)), "/x.txt");
}

TEST(ZTKFileNamePosix, ADosNameIsCompletedFromANativeDirectory) {
  ZTKFileName name("a\\n", ZTKPathDos);
  EXPECT_TRUE(name.XPNormalize(ZTKNormAbsolute, "/x", ZTKPathDos));
  EXPECT_EQ(PartsOf(name), "<> <x|a> <n> <> abs");
}

TEST(ZTKFileNamePosix, ExpandedTextIsReadInTheNativeSyntax) {
  const ScopedEnv value("ZTK_DIR", "/v/w");
  ZTKFileName name("$ZTK_DIR/n", ZTKPathNative);
  EXPECT_TRUE(name.XPNormalize(ZTKNormEnvVars, "", ZTKPathNative));
  EXPECT_EQ(PartsOf(name), "<> <v|w> <n> <> abs");

  ZTKFileName dos("$ZTK_DIR\\n", ZTKPathDos);
  EXPECT_TRUE(dos.XPNormalize(ZTKNormEnvVars, "", ZTKPathDos));
  EXPECT_EQ(PartsOf(dos), "<> <v> <w\\n> <> abs");

  ZTKFileName same("C:\\a$ZTK_NOT_THERE\\n", ZTKPathDos);
  EXPECT_TRUE(same.XPNormalize(ZTKNormEnvVars, "", ZTKPathDos));
  EXPECT_EQ(PartsOf(same), "<C> <a$ZTK_NOT_THERE> <n> <> abs")
      << "unchanged text is not read again";
}

// To ExpandEnvVars the separator in front of the variable is an escape.
TEST(ZTKFileNamePosix, ADosSeparatorEscapesTheVariableBehindIt) {
  const ScopedEnv value("ZTK_DIR", "v");
  ZTKFileName name("C:\\$ZTK_DIR\\n", ZTKPathDos);
  EXPECT_TRUE(name.XPNormalize(ZTKNormEnvVars, "", ZTKPathDos));
  EXPECT_EQ(PartsOf(name), "<> <> <C:$ZTK_DIR\\n> <> abs");
}

TEST(ZTKFileNamePosix, TildeIsTheHomeFolder) {
  const ScopedEnv home("HOME", "/home/me");
  ZTKFileName name("~/d/x", ZTKPathUnix);
  EXPECT_TRUE(name.XPNormalize(ZTKNormTilde, "", ZTKPathUnix));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathUnix)), "/home/me/d/x");

  name.Assign("~nobody-of-that-name/x", ZTKPathUnix);
  EXPECT_TRUE(name.XPNormalize(ZTKNormTilde, "", ZTKPathUnix));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathUnix)), "/./x") << "an unknown user's folder is \".\"";

  name.Assign("~nobody-of-that-name/x", ZTKPathUnix);
  EXPECT_TRUE(name.XPNormalize(ZTKNormTilde | ZTKNormDots, "", ZTKPathUnix));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathUnix)), "/x");
}

TEST(ZTKFileNamePosix, TildeOfAUserIsThatUsersHome) {
  const passwd* pUser = getpwuid(0);
  if (pUser == nullptr) GTEST_SKIP() << "no user 0 in the password database";
  const std::string home = pUser->pw_dir;
  ZTKFileName name(("~" + std::string(pUser->pw_name) + "/x").c_str(), ZTKPathUnix);
  EXPECT_TRUE(name.XPNormalize(ZTKNormTilde, "", ZTKPathUnix));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathUnix)), home + "/x");
}

TEST(ZTKFileNamePosix, AllSavingStepsTogether) {
  const TempDir dir;
  const ScopedWorkingDirectory changed(dir.Path());
  const ScopedEnv value("ZTK_DIR", "sub");
  ZTKFileName name("./$ZTK_DIR/../n.e", ZTKPathNative);
  EXPECT_TRUE(name.XPNormalize(0x37, "", ZTKPathNative));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathNative)), dir / "sub/n.e");
}

// Links -----------------------------------------------------------------------------------------

std::string TargetOf(const std::string& path) {
  ZTKString target = "old";
  ZTKString args = "args";
  EXPECT_TRUE(ZTKFileName().XPGetShortcutTarget(path.c_str(), target, &args));
  EXPECT_STREQ(args.c_str(), "args");
  return target.c_str();
}

TEST(ZTKFileNamePosix, ALinkIsFollowedToTheEnd) {
  const TempDir dir;
  fs::create_directory(dir / "sub");
  WriteWholeFile(dir / "sub/file", "x");
  fs::create_symlink("sub/file", dir / "one");
  fs::create_symlink(dir / "one", dir / "two");
  fs::create_symlink("../two", dir / "sub/three");
  const std::string file = fs::canonical(dir / "sub/file");
  EXPECT_EQ(TargetOf(dir / "one"), file);
  EXPECT_EQ(TargetOf(dir / "two"), file);
  EXPECT_EQ(TargetOf(dir / "sub/three"), file);
}

TEST(ZTKFileNamePosix, WhatIsNoLinkIsItsOwnTarget) {
  const TempDir dir;
  fs::create_directory(dir / "sub");
  fs::create_directory_symlink("sub", dir / "linked");
  WriteWholeFile(dir / "sub/file", "x");
  EXPECT_EQ(TargetOf(dir / "sub/file"), dir / "sub/file");
  EXPECT_EQ(TargetOf(dir / "linked/file"), dir / "linked/file");
  EXPECT_EQ(TargetOf(dir / "missing"), dir / "missing");
  EXPECT_EQ(TargetOf(""), "");
}

TEST(ZTKFileNamePosix, ADanglingChainEndsAtTheMissingName) {
  const TempDir dir;
  fs::create_directory(dir / "sub");
  fs::create_symlink("sub/next", dir / "one");
  fs::create_symlink("missing", dir / "sub/next");
  EXPECT_EQ(TargetOf(dir / "one"), dir / "sub/missing");
}

TEST(ZTKFileNamePosix, ALoopOfLinksIsItsOwnTarget) {
  const TempDir dir;
  fs::create_symlink("b", dir / "a");
  fs::create_symlink("a", dir / "b");
  EXPECT_EQ(TargetOf(dir / "a"), dir / "a");
}

TEST(ZTKFileNamePosix, ShortcutNormalisationBecomesTheTarget) {
  const TempDir dir;
  WriteWholeFile(dir / "real.txt", "x");
  fs::create_symlink("real.txt", dir / "link.lnk");
  ZTKFileName name((dir / "link.lnk").c_str(), ZTKPathNative);
  EXPECT_TRUE(name.XPNormalize(ZTKNormShortcut, "", ZTKPathNative));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathNative)), fs::canonical(dir / "real.txt").string());

  name.Assign((dir / "real.txt").c_str(), ZTKPathNative);
  EXPECT_TRUE(name.XPNormalize(ZTKNormShortcut, "", ZTKPathNative));
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathNative)), dir / "real.txt");
}

TEST(ZTKFileNamePosix, ShortcutTargetIsLoweredWhereCaseMeansNothing) {
  ZTKFileName name("/No-Such/Name.EXT", ZTKPathDos);
  EXPECT_TRUE(name.XPNormalize(ZTKNormShortcut | ZTKNormCase, "", ZTKPathDos));
  EXPECT_EQ(PartsOf(name), "<> <> <\\no-such\\name> <ext> abs");
}

TEST(ZTKFileNamePosix, AResolvedTargetIsLoweredWhereCaseMeansNothing) {
  const TempDir dir;
  fs::create_directory(dir / "Real");
  WriteWholeFile(dir / "Real/File.TXT", "x");
  const std::string link = dir / "Link.LNK";
  fs::create_symlink("Real/File.TXT", link);
  std::string resolved = fs::canonical(dir / "Real/File.TXT");

  ZTKFileName exact(link.c_str(), ZTKPathNative);
  EXPECT_TRUE(exact.XPNormalize(ZTKNormShortcut | ZTKNormCase, "", ZTKPathNative));
  EXPECT_EQ(Text(exact.GetFullPath(ZTKPathNative)), resolved)
      << "case has a meaning in this format";

  // A name alone is the same text in this format as in the native one.
  const ScopedWorkingDirectory cwd(dir.Path());
  ZTKFileName name("Link.LNK", ZTKPathDos);
  EXPECT_TRUE(name.XPNormalize(ZTKNormShortcut | ZTKNormCase, "", ZTKPathDos));
  for (char& ch : resolved) {
    if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
  }
  EXPECT_EQ(Text(name.GetFullPath(ZTKPathNative)), resolved);
  EXPECT_FALSE(name.IsRelative());
}

TEST(ZTKFileNamePosix, NoPathHasALongForm) {
  EXPECT_EQ(Text(ZTKFileName("/usr", ZTKPathNative).XPGetLongPath()), "");
}

// The preferences folder ------------------------------------------------------------------------

TEST(ZTKFileNamePosix, PreferencesAreWhereTheDesktopSays) {
  const TempDir dir;
  fs::create_directory(dir / "prefs");
  fs::permissions(dir / "prefs", fs::perms(0755));
  const ScopedEnv home("HOME", (dir / "home").c_str());
  for (const char* written : {"prefs", "prefs/", "prefs///"}) {
    SCOPED_TRACE(written);
    const ScopedEnv xdg("XDG_CONFIG_HOME", (dir / written).c_str());
    EXPECT_EQ(Text(ZTKFileName::XPGetUserHomeDir()), dir / "prefs");
  }
  EXPECT_EQ(ModeOf(dir / "prefs"), 0755u) << "an existing folder keeps its mode";
  EXPECT_FALSE(fs::exists(dir / "home"));
}

TEST(ZTKFileNamePosix, AMissingPreferencesFolderIsNotMadeByAskingForIt) {
  const TempDir dir;
  const ScopedEnv xdg("XDG_CONFIG_HOME", (dir / "new/prefs").c_str());
  EXPECT_EQ(Text(ZTKFileName::XPGetUserHomeDir()), dir / "new/prefs");
  EXPECT_FALSE(fs::exists(dir / "new"));
}

TEST(ZTKFileNamePosix, UnusablePreferencesSettingsCountAsUnset) {
  const TempDir dir;
  fs::create_directory(dir / "home");
  const ScopedEnv home("HOME", (dir / "home").c_str());
  const std::string tooLong = "/" + std::string(1023, 'p');
  for (const char* value :
       {static_cast<const char*>(nullptr), "", "relative/prefs", ".", tooLong.c_str()}) {
    SCOPED_TRACE(value == nullptr ? "unset" : value);
    const ScopedEnv xdg("XDG_CONFIG_HOME", value);
    EXPECT_EQ(Text(ZTKFileName::XPGetUserHomeDir()), dir / "home/.config");
    EXPECT_FALSE(fs::exists(dir / "home/.config"));
  }
}

TEST(ZTKFileNamePosix, PreferencesHaveNoSeparatorTwice) {
  const TempDir dir;
  fs::create_directory(dir / ".config");
  {
    const ScopedEnv xdg("XDG_CONFIG_HOME", nullptr);
    const ScopedEnv home("HOME", (dir.Path().string() + "//").c_str());
    EXPECT_EQ(Text(ZTKFileName::XPGetUserHomeDir()), dir / ".config");
  }
  const ScopedEnv xdg("XDG_CONFIG_HOME", "//");
  EXPECT_EQ(Text(ZTKFileName::XPGetUserHomeDir()), "/");
}

TEST(ZTKFileNamePosix, AConfigurationInTheRootHasOneSeparator) {
  if (!RunsAsRoot()) GTEST_SKIP() << "only root may give a process a root of its own";
  const TempDir dir;
  const ScopedEnv xdg("XDG_CONFIG_HOME", "/");
  const pid_t child = fork();
  if (child == 0) {
    if (chroot(dir.Path().c_str()) != 0 || chdir("/") != 0) _exit(2);
    const ZTKFileConfig config("", "App");
    _exit(config.GetFilePath().view() == "/App.conf" ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST(ZTKFileNamePosix, AnExistingConfigFolderKeepsItsMode) {
  const TempDir dir;
  const ScopedEnv xdg("XDG_CONFIG_HOME", nullptr);
  const ScopedEnv home("HOME", dir.Path().c_str());
  fs::create_directory(dir / ".config");
  fs::permissions(dir / ".config", fs::perms(0750));
  EXPECT_EQ(Text(ZTKFileName::XPGetUserHomeDir()), dir / ".config");
  EXPECT_EQ(ModeOf(dir / ".config"), 0750u);
}

TEST(ZTKFileNamePosix, WithoutAConfigFolderThePasswordDatabaseAnswers) {
  const passwd* pUser = getpwuid(getuid());
  const std::string expected = pUser != nullptr ? pUser->pw_dir : "";
  const TempDir dir;
  const ScopedEnv xdg("XDG_CONFIG_HOME", nullptr);
  {
    const ScopedEnv home("HOME", (dir / "missing").c_str());
    EXPECT_EQ(Text(ZTKFileName::XPGetUserHomeDir()), expected);
    EXPECT_FALSE(fs::exists(dir / "missing"));
  }
  const ScopedEnv home("HOME", dir.Path().c_str());
  WriteWholeFile(dir / ".config", "a file");
  EXPECT_EQ(Text(ZTKFileName::XPGetUserHomeDir()), expected);
}

}  // namespace
