#pragma once

#include <unistd.h>

#include <cerrno>
#include <string_view>

/// Writes everything, signals and short writes notwithstanding. False with the reason in errno.
inline bool WriteAll(int nDescriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(nDescriptor, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    bytes.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}
