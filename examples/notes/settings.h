#pragma once

#include <string>
#include <vector>

#include "ztk/config/file_config.h"

/// What the program remembers, in a file that people can read: ~/.config/ztk-notes.conf. It is
/// saved as soon as it changes, and several windows share it.
class Settings {
 public:
  static constexpr size_t kRecentFiles = 8;

  Settings();

  unsigned long Get(const char* group, const char* key, unsigned long fallback);
  /// Both are false when it could not be saved.
  bool Set(const char* group, const char* key, unsigned long value);
  bool AddRecentFile(const std::string& path);

  /// The last one first.
  std::vector<std::string> GetRecentFiles();

  /// The folder of the settings, with its "/".
  std::string GetFolder() const;

 private:
  ZTKFileConfig m_config;
};
