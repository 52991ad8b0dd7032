#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// The first CR or LF in `[p, end)`, or `end`. `Unit` is an 8- or 16-bit character. Not installed.
///
/// A search for one of two values; `memchr` finds one, and a line ends soon enough that a second
/// search over it would cost as much again.
template <typename Unit>
const Unit* ZTKFindLineEnd(const Unit* p, const Unit* end) noexcept {
  using Block [[gnu::vector_size(16)]] = Unit;
  constexpr ptrdiff_t kUnits = sizeof(Block) / sizeof(Unit);
  constexpr Block kCr = Block{} + Unit{0x0D};
  constexpr Block kLf = Block{} + Unit{0x0A};

  for (; end - p >= kUnits; p += kUnits) {
    Block block;
    std::memcpy(&block, p, sizeof block);
    const auto hits = (block == kCr) | (block == kLf);  // All bits set where one is.
    uint64_t half[2];
    std::memcpy(half, &hits, sizeof half);
    if ((half[0] | half[1]) == 0) continue;

    const uint64_t bits = half[0] != 0 ? half[0] : half[1];
    const int skipped = std::endian::native == std::endian::little ? std::countr_zero(bits)
                                                                   : std::countl_zero(bits);
    constexpr int kUnitBits = 8 * static_cast<int>(sizeof(Unit));
    return p + (half[0] != 0 ? 0 : kUnits / 2) + skipped / kUnitBits;
  }
  while (p < end && *p != Unit{0x0D} && *p != Unit{0x0A}) ++p;
  return p;
}
