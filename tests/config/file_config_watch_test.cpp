// Hearing of what others do to the file.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/config/file_config_support.h"

namespace {

thread_local bool t_hasWatches = true;

}  // namespace

extern "C" int inotify_add_watch(int descriptor, const char* path, uint32_t mask) noexcept {
  if (t_hasWatches) {
    return static_cast<int>(syscall(SYS_inotify_add_watch, descriptor, path, mask));
  }
  errno = ENOSPC;
  return -1;
}

namespace {

namespace fs = std::filesystem;

bool IsReadable(int nDescriptor) {
  pollfd watched = {nDescriptor, POLLIN, 0};
  return poll(&watched, 1, 0) == 1;
}

/// Replaces the file as careful programs do.
void Replace(const std::string& path, const std::string& content) {
  WriteWholeFile(path + "~", content);
  fs::rename(path + "~", path);
}

TEST(ZTKFileConfigWatch, ChangesOfOthersAreToldOnce) {
  for (const unsigned int options : {0u, CONF_ALL + 0u}) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    ZTKFileConfig config("", "App", options);
    const int fd = config.GetFd();
    ASSERT_GE(fd, 0);
    EXPECT_FALSE(config.Dispatch());
    EXPECT_FALSE(IsReadable(fd));
    for (int i = 0; i < 3; ++i) {
      const std::string value = std::to_string(i) + std::string(static_cast<size_t>(i), 'x');
      Replace(prefs.ConfFile(), "[g]\nk=" + value + "\n");
      EXPECT_TRUE(IsReadable(fd));
      EXPECT_TRUE(config.Dispatch());
      EXPECT_FALSE(config.Dispatch());
      EXPECT_FALSE(IsReadable(fd));
      EXPECT_TRUE(config.Reload());
      config.SetPath("/g");
      EXPECT_EQ(ValueOf(config, "k"), value);
    }
    EXPECT_EQ(config.GetFd(), fd);
    EXPECT_EQ(config.GetWaitHandle(), fd);
  }
}

TEST(ZTKFileConfigWatch, TheFileThatWasReadIsNoNews) {
  for (unsigned int options = 0; options <= CONF_ALL; ++options) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
    ZTKFileConfig config("", "App", options);
    ASSERT_GE(config.GetFd(), 0);
    EXPECT_FALSE(config.Dispatch());
    EXPECT_FALSE(config.Dispatch());
    Replace(prefs.ConfFile(), "[g]\nk=12\n");
    EXPECT_TRUE(config.Dispatch());
  }
}

TEST(ZTKFileConfigWatch, ItsOwnWritingIsNoNews) {
  for (const unsigned int options : {0u, CONF_MERGE + 0u, CONF_ALL + 0u}) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    ZTKFileConfig config("", "App", options);
    ASSERT_GE(config.GetFd(), 0);
    config.Dispatch();
    config.SetPath("/g");
    config.Write("k", "1");
    ASSERT_TRUE(config.Flush());
    EXPECT_FALSE(config.Dispatch());
    ZTKFileConfig other("", "App", options);
    other.SetPath("/g");
    other.Write("k", "other");
    ASSERT_TRUE(other.Flush());
    EXPECT_TRUE(config.Dispatch());
  }
}

TEST(ZTKFileConfigWatch, WhatCameBeforeIsToldByTheFirstDispatch) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App", CONF_ALL);
  Replace(prefs.ConfFile(), "[g]\nk=1\n");
  ASSERT_GE(config.GetFd(), 0);
  EXPECT_TRUE(config.Dispatch());
  EXPECT_FALSE(config.Dispatch());
}

TEST(ZTKFileConfigWatch, WithoutWatchingNothingIsTold) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App", CONF_ALL);
  Replace(prefs.ConfFile(), "[g]\nk=1\n");
  EXPECT_FALSE(config.Dispatch());
}

TEST(ZTKFileConfigWatch, WhereTheSystemHasNoMoreWatchesEachDispatchLooks) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App", CONF_ALL);
  t_hasWatches = false;
  EXPECT_EQ(config.GetFd(), -1);
  EXPECT_EQ(config.GetWaitHandle(), -1);
  t_hasWatches = true;
  EXPECT_FALSE(config.Dispatch());
  for (int i = 1; i < 4; ++i) {
    Replace(prefs.ConfFile(), "[g]\nk=" + std::string(static_cast<size_t>(i), 'x') + "\n");
    EXPECT_TRUE(config.Dispatch());
    EXPECT_FALSE(config.Dispatch());
  }
}

TEST(ZTKFileConfigWatch, ReadingAgainMakesItKnown) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App", CONF_MERGE);
  ASSERT_GE(config.GetFd(), 0);
  Replace(prefs.ConfFile(), "[g]\nk=1\n");
  EXPECT_TRUE(config.Reload());
  EXPECT_FALSE(config.Dispatch());
}

}  // namespace
