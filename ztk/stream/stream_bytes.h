#pragma once

#include <algorithm>
#include <cstdint>

#include "ztk/foundation/short_bytes.h"

/// A byte count as the streams keep it. One call moves at most 4 GiB - 1 bytes: a longer request is
/// a short one, so that the 32-bit last count always tells the truth.
inline uint32_t ZTKClampCount(unsigned long nCount) noexcept {
  return static_cast<uint32_t>(std::min<uint64_t>(nCount, UINT32_MAX));
}

/// Whether a count is more than that, so that the clamped one leaves bytes behind.
inline bool ZTKIsClamped(unsigned long nCount) noexcept {
  return uint64_t{nCount} > ZTKClampCount(nCount);
}
