#include <windows.h>

#include <filesystem>

#include "examples/tour/tour.h"

// The folder of the preferences is not for a program to choose: the configuration's station removes
// what it has written there.
std::string MakeTemporaryHome() {
  std::error_code error;
  const std::filesystem::path home = std::filesystem::temp_directory_path(error) /
                                     ("ztk-tour-" + std::to_string(GetCurrentProcessId()));
  if (error || !std::filesystem::create_directory(home, error)) return "";
  SetEnvironmentVariableW(L"TMP", home.c_str());
  SetEnvironmentVariableW(L"TEMP", home.c_str());
  return home.string();
}
