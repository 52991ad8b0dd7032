#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ztk/foundation/internal/utf8.h"

/// Makes 16-bit units of the bytes in their place, least or most significant byte first, whatever
/// the byte order of the machine. Not installed.
inline void ZTKUnitsFromBytes(uint16_t* p, const uint16_t* end, bool isBigEndian) noexcept {
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

/// The bytes that `nUnits` 16-bit units can take in UTF-8 at most. Not installed.
constexpr size_t ZTKUtf16ToUtf8Bound(size_t nUnits) noexcept { return 3 * nUnits; }

/// Writes 16-bit units as UTF-8, without a NUL, and returns the number of bytes. An adjacent pair
/// of surrogates becomes one code point, a lone one U+FFFD. Not installed.
inline size_t ZTKUtf16ToUtf8(const uint16_t* p, size_t nUnits, char* pTarget) noexcept {
  constexpr uint64_t kNotAscii = 0xFF80FF80FF80FF80;
  const uint16_t* const end = p + nUnits;
  char* out = pTarget;
  while (p < end) {
    const char32_t unit = *p++;
    if (unit < 0x80) {
      *out++ = static_cast<char>(unit);
      // ASCII comes in runs: four at a time.
      for (uint64_t four; end - p >= 4; p += 4, out += 4) {
        std::memcpy(&four, p, sizeof four);
        if ((four & kNotAscii) != 0) break;
        for (int i = 0; i < 4; ++i) out[i] = static_cast<char>(p[i]);
      }
      continue;
    }
    char32_t codePoint = unit;
    if (ztk_utf8::IsHighSurrogate(unit) && p < end && ztk_utf8::IsLowSurrogate(*p)) {
      codePoint = ztk_utf8::JoinSurrogates(unit, *p++);
    } else if (unit >= 0xD800 && unit <= 0xDFFF) {
      codePoint = ztk_utf8::kReplacement;
    }
    out += ztk_utf8::Encode(codePoint, out);
  }
  return static_cast<size_t>(out - pTarget);
}
