#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "tests/support/native_path.h"
#include "ztk/file/temp_file.h"

/// The native path of a file of the host, and back.
inline ZTKString Native(const std::string& path) { return ZTKString(NativePath(path)); }
inline std::string Host(const ZTKString& path) { return HostPath(path.c_str()); }

inline void Put(ZTKTempFile& temp, const std::string& text) {
  EXPECT_EQ(temp.GetFile().Write(text.data(), text.size()), text.size());
}

inline long CountNames(const std::filesystem::path& dir) {
  using std::filesystem::directory_iterator;
  return std::distance(directory_iterator(dir), directory_iterator());
}

inline int ModeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return static_cast<int>(status.st_mode & 07777);
}

/// What the next name of a temporary file for `target` ends in.
inline std::string Counter(unsigned n) {
  char text[8];
  std::snprintf(text, sizeof text, "%.03x", n);
  return text;
}
