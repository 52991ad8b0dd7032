#pragma once

#include <cstdint>

/// UTF-8 and surrogate pairs, code point by code point; not installed, nothing for applications.
namespace ztk_utf8 {

constexpr char32_t kReplacement = 0xFFFD;

constexpr bool IsHighSurrogate(char32_t ch) noexcept { return ch >= 0xD800 && ch <= 0xDBFF; }
constexpr bool IsLowSurrogate(char32_t ch) noexcept { return ch >= 0xDC00 && ch <= 0xDFFF; }
constexpr char32_t JoinSurrogates(char32_t high, char32_t low) noexcept {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

/// What Decode found: a code point, or a part of the text that can belong to none.
struct Decoded {
  char32_t codePoint;
  unsigned length;  // Bytes, at least 1.
  bool isValid;     // False for an ill-formed part, which is as long as it can be.
};

/// Decodes what `pText` starts with; it is not at its NUL. No byte behind the first NUL is read.
constexpr Decoded Decode(const char* pText) noexcept {
  const auto byte = [pText](unsigned i) -> unsigned {
    return static_cast<unsigned char>(pText[i]);
  };
  const unsigned lead = byte(0);
  if (lead < 0x80) return {lead, 1, true};
  if (lead < 0xC2 || lead > 0xF4) return {kReplacement, 1, false};

  // The range of the second byte keeps out overlong forms, surrogates and what is past U+10FFFF.
  const unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (byte(1) < low || byte(1) > high) return {kReplacement, 1, false};
  if (lead < 0xE0) return {(lead & 0x1F) << 6 | (byte(1) & 0x3F), 2, true};

  if ((byte(2) & 0xC0) != 0x80) return {kReplacement, 2, false};
  const char32_t three = (lead & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
  if (lead < 0xF0) return {three, 3, true};

  if ((byte(3) & 0xC0) != 0x80) return {kReplacement, 3, false};
  return {(lead & 0x07) << 18 | (three & 0x3FFF) << 6 | (byte(3) & 0x3F), 4, true};
}

/// Whether the whole text, up to its NUL, is well formed.
constexpr bool IsValid(const char* pText) noexcept {
  while (*pText != '\0') {
    const Decoded next = Decode(pText);
    if (!next.isValid) return false;
    pText += next.length;
  }
  return true;
}

/// Writes a code point, which is no surrogate and not past U+10FFFF, and returns its 1 to 4 bytes.
constexpr unsigned Encode(char32_t codePoint, char* pTarget) noexcept {
  const auto put = [pTarget](unsigned i, char32_t byte) { pTarget[i] = static_cast<char>(byte); };
  if (codePoint < 0x80) {
    put(0, codePoint);
    return 1;
  }
  if (codePoint < 0x800) {
    put(0, 0xC0 | codePoint >> 6);
    put(1, 0x80 | (codePoint & 0x3F));
    return 2;
  }
  if (codePoint < 0x10000) {
    put(0, 0xE0 | codePoint >> 12);
    put(1, 0x80 | (codePoint >> 6 & 0x3F));
    put(2, 0x80 | (codePoint & 0x3F));
    return 3;
  }
  put(0, 0xF0 | codePoint >> 18);
  put(1, 0x80 | (codePoint >> 12 & 0x3F));
  put(2, 0x80 | (codePoint >> 6 & 0x3F));
  put(3, 0x80 | (codePoint & 0x3F));
  return 4;
}

}  // namespace ztk_utf8
