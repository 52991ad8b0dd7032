#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// A byte count as the streams keep it. One call moves at most 4 GiB - 1 bytes: a longer request is
/// a short one, so that the 32-bit last count always tells the truth.
inline uint32_t ZTKClampCount(unsigned long nCount) noexcept {
  return static_cast<uint32_t>(std::min<uint64_t>(nCount, UINT32_MAX));
}

/// Whether a count is more than that, so that the clamped one leaves bytes behind.
inline bool ZTKIsClamped(unsigned long nCount) noexcept {
  return uint64_t{nCount} > ZTKClampCount(nCount);
}

/// memmove that settles pieces of up to 16 bytes without a call: the usual sizes of a serialiser.
/// Everything is loaded before anything is stored, so the ranges may overlap.
inline void ZTKMoveBytes(void* pTo, const void* pFrom, size_t nCount) noexcept {
  auto* const to = static_cast<unsigned char*>(pTo);
  const auto* const from = static_cast<const unsigned char*>(pFrom);
  if (__builtin_expect(nCount == 1, 1)) {
    *to = *from;
  } else if (nCount > 16) {
    std::memmove(to, from, nCount);
  } else if (nCount >= 8) {
    uint64_t head, tail;
    std::memcpy(&head, from, 8);
    std::memcpy(&tail, from + nCount - 8, 8);
    std::memcpy(to, &head, 8);
    std::memcpy(to + nCount - 8, &tail, 8);
  } else if (nCount >= 4) {
    uint32_t head, tail;
    std::memcpy(&head, from, 4);
    std::memcpy(&tail, from + nCount - 4, 4);
    std::memcpy(to, &head, 4);
    std::memcpy(to + nCount - 4, &tail, 4);
  } else if (nCount >= 2) {
    uint16_t head, tail;
    std::memcpy(&head, from, 2);
    std::memcpy(&tail, from + nCount - 2, 2);
    std::memcpy(to, &head, 2);
    std::memcpy(to + nCount - 2, &tail, 2);
  }
}
