#include "ztk/text/internal/utf16.h"

#include <algorithm>

#include "ztk/foundation/internal/utf8.h"

// In text of several scripts every branch on the length of a character mispredicts. So the bytes or
// units that each of eight characters would become are computed for all of them at once, each lane
// from itself and its neighbours in front; then every lane is stored whole, and the target advances
// by the length that it has, which may be 0. Stream compaction by overlapping stores; the vector
// libraries shuffle bytes instead (Lemire and Mula, "Transcoding Billions of Unicode Characters per
// Second with SIMD Instructions", 2021), which SSE2 cannot. Costs about 16 instructions a unit,
// whatever the text, and 2 in eight characters of ASCII. BM_Load64MiBUtf16, BM_Save64MiBUtf16.

namespace {

using Units [[gnu::vector_size(16)]] = uint16_t;
using Lanes16 [[gnu::vector_size(16)]] = int16_t;
using Lanes32 [[gnu::vector_size(16)]] = int32_t;
using FourUnits [[gnu::vector_size(8)]] = uint16_t;
using EightBytes [[gnu::vector_size(8)]] = uint8_t;

constexpr size_t kLanes = 8;  // Units or bytes of a block.

// Vectors are passed by reference: by value they have an ABI of their own on 32-bit machines.

template <typename Vector>
bool HasAny(const Vector& lanes) noexcept {
  uint64_t half[2];
  std::memcpy(half, &lanes, sizeof half);
  return (half[0] | half[1]) != 0;
}

template <typename Lane>
constexpr Lane Bits(unsigned value) noexcept {
  return static_cast<Lane>(value);
}

/// Blocks of a text, each with elements in front of it. The first and the last, which is never full
/// and ends in NULs, lie in a copy: nothing is read outside the text.
template <typename Element, size_t kBefore>
class Blocks {
 public:
  Blocks(const Element* pStart, size_t nSize) noexcept
      : m_pStart(pStart), m_p(pStart), m_nLeft(nSize) {}

  /// The block; elements in front of the text read as NULs.
  const Element* Get() noexcept {
    if (m_p != m_pStart && m_nLeft >= kLanes) return m_p;
    const size_t before = m_p != m_pStart ? kBefore : 0;
    std::memset(m_copy, 0, sizeof m_copy);
    if (m_nLeft + before > 0) {
      std::memcpy(m_copy + kBefore - before, m_p - before,
                  (before + std::min(m_nLeft, kLanes)) * sizeof(Element));
    }
    return m_copy + kBefore;
  }
  bool IsLast() const noexcept { return m_nLeft < kLanes; }
  size_t Padding() const noexcept { return kLanes - m_nLeft; }
  void Advance() noexcept {
    m_p += kLanes;
    m_nLeft -= kLanes;
  }
  const Element* Position() const noexcept { return m_p; }

 private:
  const Element* const m_pStart;
  const Element* m_p;
  size_t m_nLeft;
  Element m_copy[kBefore + kLanes];
};

// Writes four units, in which every low surrogate is behind a high one and `p[-1]` may be its high
// one. A low surrogate writes its pair, a high one nothing.
char* WriteFour(const uint16_t* p, char* out) noexcept {
  FourUnits units;
  FourUnits before;
  std::memcpy(&units, p, sizeof units);
  std::memcpy(&before, p - 1, sizeof before);
  const auto unit = __builtin_convertvector(units, Lanes32);
  const auto high = __builtin_convertvector(before, Lanes32);

  const auto isTwo = unit > 0x7F;
  const auto isThree = unit > 0x7FF;
  const auto isLow = (unit & 0xFC00) == 0xDC00;
  const auto isHigh = (unit & 0xFC00) == 0xD800;
  // The bytes of the character, the first one in the lowest bits.
  const auto low = unit & 0x3F;
  const auto mid = unit >> 6;
  const auto two = 0x80C0 | mid | low << 8;
  const auto three = 0x8080E0 | unit >> 12 | (mid & 0x3F) << 8 | low << 16;
  const auto upper = (high & 0x3FF) + 0x40;  // The code point but for its ten lowest bits.
  const auto four = Bits<int32_t>(0x808080F0) | upper >> 8 | (upper << 6 & 0x3F00) |
                    (upper & 3) << 20 | (mid & 0xF) << 16 | low << 24;
  const auto character =
      (unit & ~isTwo) | (two & isTwo & ~isThree) | (three & isThree & ~isLow) | (four & isLow);
  const auto length = (1 - isTwo - isThree - isLow) & ~isHigh;

  uint32_t characters[4];
  int32_t lengths[4];
  std::memcpy(characters, &character, sizeof characters);
  std::memcpy(lengths, &length, sizeof lengths);
  for (int i = 0; i < 4; ++i) {
    if constexpr (std::endian::native == std::endian::big) {
      characters[i] = __builtin_bswap32(characters[i]);
    }
    std::memcpy(out, &characters[i], sizeof characters[i]);
    out += lengths[i];
  }
  return out;
}

// Unit by unit, for text with lone surrogates.
char* WriteEach(const uint16_t* p, const uint16_t* end, char* out) noexcept {
  while (p < end) {
    char32_t codePoint = *p++;
    if (ztk_utf8::IsHighSurrogate(codePoint) && p < end && ztk_utf8::IsLowSurrogate(*p)) {
      codePoint = ztk_utf8::JoinSurrogates(codePoint, *p++);
    } else if (codePoint >= 0xD800 && codePoint <= 0xDFFF) {
      codePoint = ztk_utf8::kReplacement;
    }
    out += ztk_utf8::Encode(codePoint, out);
  }
  return out;
}

// The units of eight bytes of well-formed UTF-8, each behind the three bytes in front of it. The
// last byte of a character stands for its unit, the third of four for the high surrogate.
char* WriteUnits(const char* p, char* out, bool isSwapped) noexcept {
  const auto load = [](const char* from, Lanes16& lanes) {
    EightBytes bytes;
    std::memcpy(&bytes, from, sizeof bytes);
    lanes = __builtin_convertvector(bytes, Lanes16);
  };
  Lanes16 byte;
  Lanes16 first;
  Lanes16 second;
  Lanes16 third;
  load(p, byte);
  load(p - 1, first);
  load(p - 2, second);
  load(p - 3, third);

  const auto isOne = byte < 0x80;
  const auto endsTwo = (first >= 0xC0) & (first < 0xE0);
  const auto isThird = second >= 0xE0;  // Of three or four.
  const auto isHigh = second >= 0xF0;
  const auto isLow = third >= 0xF0;
  const auto low = byte & 0x3F;
  const auto mid = first << 6;
  const auto two = (mid & 0x7C0) | low;
  const auto three = second << 12 | (mid & 0xFC0) | low;
  const auto high = ((second & 7) << 8 | (first & 0x3F) << 2 | low >> 4) + Bits<int16_t>(0xD7C0);
  const auto lower = Bits<int16_t>(0xDC00) | (mid & 0x3C0) | low;
  const auto value = (byte & isOne) | (two & endsTwo) | (three & isThird & ~isHigh) |
                     (high & isHigh) | (lower & isLow);
  const auto size = (isOne | endsTwo | isThird | isLow) & 2;

  uint16_t units[kLanes];
  uint16_t sizes[kLanes];
  std::memcpy(units, &value, sizeof units);
  std::memcpy(sizes, &size, sizeof sizes);
  for (size_t i = 0; i < kLanes; ++i) {
    const uint16_t unit = isSwapped ? __builtin_bswap16(units[i]) : units[i];
    std::memcpy(out, &unit, sizeof unit);
    out += sizes[i];
  }
  return out;
}

}  // namespace

size_t ZTKUtf16ToUtf8(const uint16_t* p, size_t nUnits, char* pTarget) noexcept {
  char* out = pTarget;
  for (Blocks<uint16_t, 1> blocks(p, nUnits);; blocks.Advance()) {
    const uint16_t* const block = blocks.Get();
    Units units;
    Units before;
    std::memcpy(&units, block, sizeof units);
    std::memcpy(&before, block - 1, sizeof before);
    if (!HasAny((units | before) & Bits<uint16_t>(0xFF80))) {
      const auto bytes = __builtin_convertvector(units, EightBytes);
      std::memcpy(out, &bytes, sizeof bytes);
      out += kLanes;
    } else {
      const auto isLow = (units & Bits<uint16_t>(0xFC00)) == Bits<uint16_t>(0xDC00);
      const auto isBehindHigh = (before & Bits<uint16_t>(0xFC00)) == Bits<uint16_t>(0xD800);
      if (HasAny(isLow ^ isBehindHigh)) {
        // A high surrogate at the end of the block before has not been written.
        const uint16_t* const rest = blocks.Position();
        const bool isOpen = rest > p && ztk_utf8::IsHighSurrogate(rest[-1]);
        return static_cast<size_t>(WriteEach(rest - (isOpen ? 1 : 0), p + nUnits, out) - pTarget);
      }
      out = WriteFour(block, out);
      out = WriteFour(block + 4, out);
    }
    if (blocks.IsLast()) return static_cast<size_t>(out - pTarget) - blocks.Padding();
  }
}

size_t ZTKUtf8ToUtf16(const char* p, size_t nBytes, char* pTarget, bool isBigEndian) noexcept {
  const bool isSwapped = isBigEndian != (std::endian::native == std::endian::big);
  char* out = pTarget;
  for (Blocks<char, 3> blocks(p, nBytes);; blocks.Advance()) {
    const char* const block = blocks.Get();
    uint64_t bits;
    std::memcpy(&bits, block, sizeof bits);
    if ((bits & 0x8080808080808080) == 0) {
      EightBytes bytes;
      std::memcpy(&bytes, block, sizeof bytes);
      auto units = __builtin_convertvector(bytes, Units);
      if (isSwapped) units <<= 8;
      std::memcpy(out, &units, sizeof units);
      out += sizeof units;
    } else {
      out = WriteUnits(block, out, isSwapped);
    }
    if (blocks.IsLast()) return static_cast<size_t>(out - pTarget) - 2 * blocks.Padding();
  }
}

bool ZTKHasNulUnit(const uint16_t* p, const uint16_t* end) noexcept {
  Lanes16 isNul = {};
  for (; end - p >= 8; p += 8) {
    Units units;
    std::memcpy(&units, p, sizeof units);
    isNul |= units == 0;
  }
  return HasAny(isNul) || std::find(p, end, 0) != end;
}
