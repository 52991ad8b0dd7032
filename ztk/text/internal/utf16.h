#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Makes 16-bit units of the bytes in their place, least or most significant byte first, whatever
/// the byte order of the machine. Not installed.
inline void ZTKUnitsFromBytes(uint16_t* p, const uint16_t* end, bool isBigEndian) noexcept {
  if (isBigEndian == (std::endian::native == std::endian::big)) return;
  const int first = isBigEndian ? 8 : 0;
  for (; p < end; ++p) {
    unsigned char bytes[sizeof *p];
    std::memcpy(bytes, p, sizeof bytes);
    *p = static_cast<uint16_t>(bytes[0] << first | bytes[1] << (8 - first));
  }
}

/// The bytes of a 16-bit unit. Not installed.
struct ZTKUnitBytes {
  ZTKUnitBytes(uint16_t nUnit, bool isBigEndian) noexcept {
    const auto low = static_cast<char>(nUnit & 0xFF);
    const auto high = static_cast<char>(nUnit >> 8);
    bytes[0] = isBigEndian ? high : low;
    bytes[1] = isBigEndian ? low : high;
  }
  char bytes[2];
};

/// The bytes that ZTKUtf16ToUtf8 may write to for `nUnits` 16-bit units. Not installed.
constexpr size_t ZTKUtf16ToUtf8Bound(size_t nUnits) noexcept { return 3 * nUnits + 32; }

/// Writes 16-bit units as UTF-8, without a NUL, and returns the number of bytes. An adjacent pair
/// of surrogates becomes one code point, a lone one U+FFFD. Not installed.
size_t ZTKUtf16ToUtf8(const uint16_t* p, size_t nUnits, char* pTarget) noexcept;

/// The bytes that ZTKUtf8ToUtf16 may write to for `nBytes` bytes. Not installed.
constexpr size_t ZTKUtf8ToUtf16Bound(size_t nBytes) noexcept { return 2 * nBytes + 32; }

/// Writes UTF-8, which is well formed, as 16-bit units in the byte order of a file and returns the
/// number of their bytes. Not installed.
size_t ZTKUtf8ToUtf16(const char* p, size_t nBytes, char* pTarget, bool isBigEndian) noexcept;

/// Whether one of the 16-bit units is NUL. Not installed.
bool ZTKHasNulUnit(const uint16_t* p, const uint16_t* end) noexcept;
