#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// Short ranges of bytes, moved without a call. For the library's own inline operations.

/// memmove of up to 16 bytes. Two words that overlap cover every size between one and two of them;
/// everything is loaded before anything is stored, so the ranges may overlap (BM_StringAppend8).
inline void ZTKMoveFewBytes(void* pTo, const void* pFrom, size_t nCount) noexcept {
  auto* const to = static_cast<unsigned char*>(pTo);
  const auto* const from = static_cast<const unsigned char*>(pFrom);
  if (nCount >= 8) {
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
    // Two bytes are one store, which a 16-bit load forwards from.
    uint16_t head, tail;
    std::memcpy(&head, from, 2);
    std::memcpy(&tail, from + nCount - 2, 2);
    std::memcpy(to, &head, 2);
    std::memcpy(to + nCount - 2, &tail, 2);
  } else if (nCount == 1) {
    *to = *from;
  }
}

/// memmove that settles up to 16 bytes without a call: the usual sizes of a serialiser.
inline void ZTKMoveBytes(void* pTo, const void* pFrom, size_t nCount) noexcept {
  if (__builtin_expect(nCount == 1, 1)) {
    *static_cast<unsigned char*>(pTo) = *static_cast<const unsigned char*>(pFrom);
  } else if (nCount > 16) {
    std::memmove(pTo, pFrom, nCount);
  } else {
    ZTKMoveFewBytes(pTo, pFrom, nCount);
  }
}
