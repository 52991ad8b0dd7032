#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "tests/config/file_config_support.h"

inline constexpr char kBefore[] = "# c\n[g]\nk=1\nl=1\n[h]\nm=1\n[h/i]\nn=1\n";
inline constexpr char kTree[] = "{g{k=a longer value than it was before;}h{m=1;}o{new=3;}}";

/// A configuration with changes of every kind that have not been saved.
inline void MakeChanges(OpenConfig& config) {
  config.SetPath("/g");
  EXPECT_TRUE(config.Write("k", "a longer value than it was before"));
  EXPECT_TRUE(config.DeleteEntry("l"));
  config.SetPath("/h");
  EXPECT_TRUE(config.DeleteGroup("i"));
  config.SetPath("/o");
  EXPECT_TRUE(config.Write("new", "3"));
}

/// What the file becomes.
inline std::string Saved(unsigned options) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), kBefore);
  OpenConfig config("", "App", options);
  MakeChanges(config);
  EXPECT_TRUE(config.Flush());
  return ReadWholeFile(prefs.ConfFile());
}

/// Whether the new file takes the place of the old one in one step.
inline bool IsOneStep(unsigned options) {
  return (options & (CONF_ONE_STEP | CONF_MERGE | CONF_KEEP_TEXT)) != 0;
}

/// The names in the folder that are neither the file's nor its lock's.
inline std::set<std::string> Leftovers(const PreferencesFolder& prefs) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(prefs.Dir().Path())) {
    names.insert(entry.path().filename().string());
  }
  names.erase("App.conf");
  names.erase("App.conf.lock");
  return names;
}

/// The value of an entry as another program would find it.
inline std::string OnDisk(const char* group, const char* key) {
  ZTKFileConfig config("", "App");
  config.SetPath(group);
  return ValueOf(config, key);
}

inline void Put(ZTKFileConfig& config, const char* group, const char* key, const char* value) {
  config.SetPath(group);
  EXPECT_TRUE(config.Write(key, value));
}
