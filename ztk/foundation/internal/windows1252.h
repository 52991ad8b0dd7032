#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "ztk/foundation/internal/utf8.h"

/// Windows-1252; not installed, nothing for applications.
namespace ztk_windows1252 {

/// 0x80 to 0x9F; elsewhere a byte is its own code point. The five bytes that the code page leaves
/// open keep their value, so that every byte survives.
constexpr char16_t kHigh[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr char32_t ToCodePoint(unsigned char byte) noexcept {
  return byte >= 0x80 && byte < 0xA0 ? char32_t{kHigh[byte - 0x80]} : char32_t{byte};
}

/// A character in UTF-8.
struct Utf8Character {
  char bytes[3];
  uint8_t length;
};

constexpr std::array<Utf8Character, 256> kUtf8 = [] {
  std::array<Utf8Character, 256> table{};
  for (unsigned byte = 0; byte < 256; ++byte) {
    Utf8Character& entry = table[byte];
    const unsigned length =
        ztk_utf8::Encode(ToCodePoint(static_cast<unsigned char>(byte)), entry.bytes);
    entry.length = static_cast<uint8_t>(length);
  }
  return table;
}();

/// The bytes that ToUtf8 may write to for `nLength` characters.
constexpr size_t Utf8Bound(size_t nLength) noexcept { return 3 * nLength + 1; }

/// Writes a text in UTF-8, without a NUL, and returns the number of bytes. Copies a whole entry of
/// the table and advances by its length: no branch depends on the text (BM_Load64MiB1252).
inline size_t ToUtf8(std::string_view text, char* pTarget) noexcept {
  char* out = pTarget;
  for (const char ch : text) {
    const Utf8Character& entry = kUtf8[static_cast<unsigned char>(ch)];
    std::memcpy(out, &entry, sizeof entry);
    out += entry.length;
  }
  return static_cast<size_t>(out - pTarget);
}

/// False when there is no such character.
constexpr bool FromCodePoint(char32_t codePoint, char& ch) noexcept {
  if (codePoint < 0x80 || (codePoint >= 0xA0 && codePoint <= 0xFF)) {
    ch = static_cast<char>(codePoint);
    return true;
  }
  for (unsigned i = 0; i < 32; ++i) {
    if (kHigh[i] != codePoint) continue;
    ch = static_cast<char>(0x80 + i);
    return true;
  }
  return false;
}

/// Writes the bytes of a text in UTF-8, one for each of its characters and no NUL. False, with
/// `pTarget` of no use, for ill-formed text and for a character that there is not.
constexpr bool FromUtf8(std::string_view text, char* pTarget, unsigned long& nLength) noexcept {
  const char* const end = text.data() + text.size();
  nLength = 0;
  for (const char* p = text.data(); p < end;) {
    const ztk_utf8::Decoded next = ztk_utf8::Decode(p);
    if (!next.isValid || !FromCodePoint(next.codePoint, pTarget[nLength])) return false;
    ++nLength;
    p += next.length;
  }
  return true;
}

}  // namespace ztk_windows1252
