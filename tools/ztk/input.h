#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "ztk/file/file.h"

/// Bytes from a file, or from standard input for the name "-".
class Input {
 public:
  /// Throws a Failure when the file cannot be opened.
  explicit Input(const std::string& name);

  /// Fewer than `nCount` bytes at the end only. Throws a Failure when reading fails.
  size_t Read(void* pBuffer, size_t nCount);

  /// Everything that is left.
  std::string ReadAll();

  /// Nothing where it cannot be known, as for a pipe.
  std::optional<uint64_t> Size() const;

  /// Whether it is a regular file of its own name, which can be read again.
  bool IsRegular() const { return m_isRegular; }

  /// How messages call it.
  const std::string& Name() const { return m_shownName; }

 private:
  std::string m_shownName;
  ZTKFile m_file;  // Not open for standard input.
  bool m_isRegular = false;
};

/// Whether a name stands for standard input or output.
bool IsDash(const std::string& name);
