// Hearing of what others do to the file of a configuration. The system tells it some time after.

#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <string>

#include "tests/config/file_config_save_support.h"
#include "tests/config/file_config_support.h"

namespace {

namespace fs = std::filesystem;

// Whether there is news before long.
bool IsTold(ZTKFileConfig& config) {
  const auto handle = reinterpret_cast<HANDLE>(config.GetWaitHandle());
  return WaitForSingleObject(handle, 30000) == WAIT_OBJECT_0;
}

// Whether a change is found in what is told, up to the one that is expected.
bool IsFound(ZTKFileConfig& config) {
  while (IsTold(config)) {
    if (config.Dispatch()) return true;
  }
  return false;
}

void Replace(const std::string& path, const std::string& content) {
  WriteWholeFile(path + "~", content);
  fs::rename(path + "~", path);
}

TEST(Win32ConfigWatch, ThereIsAnEventAndNoDescriptor) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App", CONF_ALL);
  EXPECT_NE(config.GetWaitHandle(), -1);
  EXPECT_EQ(config.GetFd(), -1);
}

TEST(Win32ConfigWatch, ChangesOfOthersAreTold) {
  for (const unsigned options : {0u, CONF_ALL + 0u}) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    ZTKFileConfig config("", "App", options);
    ASSERT_NE(config.GetWaitHandle(), -1);
    EXPECT_FALSE(config.Dispatch());
    for (int i = 0; i < 3; ++i) {
      const std::string value = std::to_string(i) + std::string(static_cast<size_t>(i), 'x');
      Replace(prefs.ConfFile(), "[g]\nk=" + value + "\n");
      EXPECT_TRUE(IsFound(config));
      EXPECT_TRUE(config.Reload());
      config.SetPath("/g");
      EXPECT_EQ(ValueOf(config, "k"), value);
    }
  }
}

TEST(Win32ConfigWatch, ItsOwnWritingIsNoNews) {
  for (const unsigned options : {0u, CONF_MERGE + 0u, CONF_ALL + 0u}) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    ZTKFileConfig config("", "App", options);
    ASSERT_NE(config.GetWaitHandle(), -1);
    config.Dispatch();
    Put(config, "/g", "k", "1");
    ASSERT_TRUE(config.Flush());
    EXPECT_TRUE(IsTold(config)) << "the system tells of it";
    EXPECT_FALSE(config.Dispatch());
    ZTKFileConfig other("", "App", options);
    Put(other, "/g", "k", "other");
    ASSERT_TRUE(other.Flush());
    EXPECT_TRUE(IsFound(config));
  }
}

TEST(Win32ConfigWatch, WhatCameBeforeIsToldByTheFirstDispatch) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App", CONF_ALL);
  Replace(prefs.ConfFile(), "[g]\nk=1\n");
  EXPECT_FALSE(config.Dispatch()) << "nobody watches yet";
  ASSERT_NE(config.GetWaitHandle(), -1);
  EXPECT_TRUE(config.Dispatch());
}

}  // namespace
