#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>
#include <type_traits>

/// An unsigned machine word, which can hold a pointer: `unsigned long`, or `std::uintptr_t` where
/// `long` is narrower than a pointer, as on 64-bit Windows. Keys and values of maps are such words.
using ZTKWord =
    std::conditional_t<(sizeof(unsigned long) >= sizeof(void*)), unsigned long, std::uintptr_t>;

/// Whether `long` can express a position or a length: one of 32 bits cannot beyond 2 GiB.
constexpr bool ZTKFitsLong(std::int64_t n) noexcept { return n >= LONG_MIN && n <= LONG_MAX; }

/// A size as one of the counts that the interfaces give and take. A size that `unsigned long`
/// cannot express, of which there are some where it is narrower than a pointer, is the greatest
/// count.
constexpr unsigned long ZTKCountOf(std::size_t nSize) noexcept {
  if constexpr (sizeof(std::size_t) > sizeof(unsigned long)) {
    return nSize < ULONG_MAX ? static_cast<unsigned long>(nSize) : ULONG_MAX;
  } else {
    return static_cast<unsigned long>(nSize);
  }
}
