#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "ztk/stream/stream_buffer.h"

/// The storage of a buffer up to its end.
inline std::string Stored(const ZTKStreamBuffer& buffer) {
  return std::string(buffer.GetBufferStart(), buffer.GetBufferEnd());
}

inline long PositionOf(const ZTKStreamBuffer& buffer) {
  return buffer.GetBufferPos() - buffer.GetBufferStart();
}

inline std::string ReadSome(ZTKStreamBuffer& buffer, unsigned long count) {
  std::string bytes(count, '#');
  bytes.resize(buffer.Read(bytes.data(), count));
  return bytes;
}

/// Gives the buffer a copy of `text` to own.
inline void Fill(ZTKStreamBuffer& buffer, std::string_view text) {
  void* const block = std::malloc(text.size());
  ASSERT_NE(block, nullptr);
  std::memcpy(block, text.data(), text.size());
  buffer.SetBufferIO(block, static_cast<unsigned long>(text.size()), 1);
}
