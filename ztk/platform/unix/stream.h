#pragma once

#include <cstdio>

#include "ztk/file/internal/file_xp.h"

// The streams of the body are those of stdio here.

inline std::FILE* FileOf(XPStream* pStream) noexcept {
  return reinterpret_cast<std::FILE*>(pStream);
}

inline XPStream* StreamOf(std::FILE* pFile) noexcept { return reinterpret_cast<XPStream*>(pFile); }
