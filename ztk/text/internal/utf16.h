#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ztk/foundation/internal/utf8.h"

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
