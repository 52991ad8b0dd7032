#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

// Whether the file system of a folder has files without a name.
inline bool CanBeUnnamed(const std::filesystem::path& dir) {
  const int descriptor = open(dir.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (descriptor >= 0) close(descriptor);
  return descriptor >= 0;
}
