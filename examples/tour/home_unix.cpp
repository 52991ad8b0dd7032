#include <cstdlib>
#include <filesystem>

#include "examples/tour/tour.h"

std::string MakeTemporaryHome() {
  std::error_code error;
  std::string home = (std::filesystem::temp_directory_path(error) / "ztk-tour-XXXXXX").string();
  if (error || mkdtemp(home.data()) == nullptr) return "";
  const std::string preferences = home + "/preferences";
  std::filesystem::create_directory(preferences, error);
  setenv("HOME", home.c_str(), 1);
  setenv("XDG_CONFIG_HOME", preferences.c_str(), 1);
  setenv("TMPDIR", home.c_str(), 1);
  return home;
}
