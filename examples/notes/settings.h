#pragma once

#include <string>
#include <vector>

#include "ztk/text/file_config.h"

/// What the program remembers, in a file that people can read: ~/.config/ztk-notes.conf.
class Settings {
 public:
  static constexpr size_t kRecentFiles = 8;

  Settings();

  unsigned long Get(const char* group, const char* key, unsigned long fallback);
  void Set(const char* group, const char* key, unsigned long value);

  /// The last one first.
  std::vector<std::string> GetRecentFiles();
  void AddRecentFile(const std::string& path);

  bool Flush() { return m_config.Flush(); }
  /// The folder of the settings, with its "/".
  std::string GetFolder() const;

 private:
  ZTKFileConfig m_config;
};
