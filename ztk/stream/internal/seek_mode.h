#pragma once

#include "ztk/file/seek_mode.h"

/// Whether a value is one of the seek modes. Internal to the library.
constexpr bool ZTKIsSeekMode(ZTKSeekMode mode) noexcept {
  return mode == ZTKFromStart || mode == ZTKFromCurrent || mode == ZTKFromEnd;
}
