#pragma once

#include <filesystem>
#include <string>

#include "tests/support/temp_dir.h"

/// Makes a folder the one where programs of this user keep their preferences, and puts the old one
/// back at the end of the scope. On Windows, which keeps it in the registry, the library is given
/// another function that asks for it. For one thread.
class ScopedPreferences {
 public:
  explicit ScopedPreferences(const std::filesystem::path& folder);
  ~ScopedPreferences();
  ScopedPreferences(const ScopedPreferences&) = delete;
  ScopedPreferences& operator=(const ScopedPreferences&) = delete;

 private:
#ifdef _WIN32
  std::wstring m_old;
#else
  ScopedEnv m_env;
#endif
};
