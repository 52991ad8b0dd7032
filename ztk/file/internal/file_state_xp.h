#pragma once

#include <cstdint>

struct XPStream;

/// Identity, size and time of change of a file: equal while it is the same file, unchanged.
struct XPFileState {
  bool isThere = false;
  uint64_t device = 0;
  uint64_t file = 0;
  int64_t size = 0;
  int64_t changed = 0;  // In nanoseconds.
  bool operator==(const XPFileState&) const = default;
};

/// False, with an empty state, when nothing is there. Links are followed.
bool XPGetFileState(const char* pszPath, XPFileState& state) noexcept;

/// The same of an open stream whose buffer has been flushed.
bool XPGetStreamState(XPStream* pStream, XPFileState& state) noexcept;
