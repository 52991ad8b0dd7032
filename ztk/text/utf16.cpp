#include "ztk/text/internal/utf16.h"

#include <algorithm>

#include "ztk/foundation/internal/utf8.h"

// In text of several scripts every branch on the length of a character mispredicts. So what each of
// eight characters becomes is computed for all of them at once, each lane from itself and its
// neighbours in front; then every lane is stored whole, and the target advances by the length that
// it has, which may be 0. It is stream compaction by overlapping stores; Lemire and Mula shuffle
// bytes instead ("Transcoding Billions of Unicode Characters per Second with SIMD Instructions",
// 2021), which SSE2, that every x86-64 has, cannot. Costs about 10 instructions a unit whatever the
// text, and 2 where eight are ASCII. BM_Load64MiBUtf16, BM_Save64MiBUtf16.

namespace {

using Units [[gnu::vector_size(16)]] = uint16_t;
using SignedUnits [[gnu::vector_size(16)]] = int16_t;
using Bytes [[gnu::vector_size(16)]] = uint8_t;
using EightBytes [[gnu::vector_size(8)]] = uint8_t;

constexpr size_t kLanes = 8;
constexpr bool kIsBigEndian = std::endian::native == std::endian::big;

// Vectors are passed by reference: by value they have an ABI of their own on 32-bit machines.

template <typename Vector>
bool HasAny(const Vector& lanes) noexcept {
  uint64_t half[2];
  std::memcpy(half, &lanes, sizeof half);
  return (half[0] | half[1]) != 0;
}

// Lane `i` of four in the bits that they are in memory.
template <typename Lane>
constexpr Lane LaneOf(uint64_t bits, int i) noexcept {
  constexpr int kLast = static_cast<int>(sizeof bits / sizeof(Lane)) - 1;
  constexpr int kBits = 8 * static_cast<int>(sizeof(Lane));
  return static_cast<Lane>(bits >> (kIsBigEndian ? kLast - i : i) * kBits);
}

/// Blocks of a text, each with elements in front of it. The first and the last, which is never full
/// and ends in NULs, lie in a copy: nothing is read outside the text.
template <typename Element, size_t kSize, size_t kBefore>
class Blocks {
 public:
  Blocks(const Element* pStart, size_t nSize) noexcept
      : m_pStart(pStart), m_p(pStart), m_nLeft(nSize) {}

  /// The block; elements in front of the text read as NULs.
  const Element* Get() noexcept {
    if (m_p != m_pStart && m_nLeft >= kSize) return m_p;
    const size_t before = m_p != m_pStart ? kBefore : 0;
    std::memset(m_copy, 0, sizeof m_copy);
    if (m_nLeft + before > 0) {
      std::memcpy(m_copy + kBefore - before, m_p - before,
                  (before + std::min(m_nLeft, kSize)) * sizeof(Element));
    }
    return m_copy + kBefore;
  }
  bool IsLast() const noexcept { return m_nLeft < kSize; }
  size_t Padding() const noexcept { return kSize - m_nLeft; }
  void Advance() noexcept {
    m_p += kSize;
    m_nLeft -= kSize;
  }
  const Element* Position() const noexcept { return m_p; }

 private:
  const Element* const m_pStart;
  const Element* m_p;
  size_t m_nLeft;
  Element m_copy[kBefore + kSize];
};

// Writes eight units, each behind the one in front of it. Every low surrogate is behind a high one,
// and writes their character; a high one writes nothing.
char* WriteCharacters(const Units& unit, const Units& before, char* out) noexcept {
  const auto isOne = reinterpret_cast<Units>((unit & 0xFF80) == 0);
  const auto isAtMostTwo = reinterpret_cast<Units>((unit & 0xF800) == 0);
  const auto isLow = reinterpret_cast<Units>((unit & 0xFC00) == 0xDC00);
  const auto isHigh = reinterpret_cast<Units>((unit & 0xFC00) == 0xD800);

  // The first two bytes and the last two, the first one in the lower bits.
  const Units low = unit & 0x3F;
  const Units mid = unit >> 6;
  const Units upper = (before & 0x3FF) + 0x40;  // The code point but for its ten lowest bits.
  const Units two = 0x80C0 | mid | low << 8;
  const Units three = 0x80E0 | unit >> 12 | (mid & 0x3F) << 8;
  const Units four = 0x80F0 | upper >> 8 | (upper << 6 & 0x3F00);
  const Units last = 0x80 | low;
  const Units lastTwo = 0x80 | (upper & 3) << 4 | (mid & 0xF) | last << 8;
  const Units head = (unit & isOne) | (two & isAtMostTwo & ~isOne) |
                     (three & ~isAtMostTwo & ~isLow) | (four & isLow);
  const Units tail = (last & ~isLow) | (lastTwo & isLow);
  const Units length = (3 + isAtMostTwo + isOne - isLow) & ~isHigh;  // A mask is -1.

  const Units pairs[2] = {__builtin_shufflevector(head, tail, 0, 8, 1, 9, 2, 10, 3, 11),
                          __builtin_shufflevector(head, tail, 4, 12, 5, 13, 6, 14, 7, 15)};
  uint64_t characters[4];
  uint64_t lengths[2];
  std::memcpy(characters, pairs, sizeof characters);
  std::memcpy(lengths, &length, sizeof lengths);
#pragma GCC unroll 8
  for (int i = 0; i < 8; ++i) {
    const auto character = LaneOf<uint32_t>(characters[i / 2], i % 2);
    std::memcpy(out, &character, sizeof character);
    out += LaneOf<uint16_t>(lengths[i / 4], i % 4);
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

// Writes the units of eight bytes of well-formed UTF-8, given with those one to three in front of
// them. The last byte of a character stands for its unit, the third of four for a high surrogate.
char* WriteUnits(const Units (&bytes)[4], char* out, bool isSwapped) noexcept {
  // Their values are small, and signed comparisons are cheaper.
  const auto byte = reinterpret_cast<SignedUnits>(bytes[0]);
  const auto first = reinterpret_cast<SignedUnits>(bytes[1]);
  const auto second = reinterpret_cast<SignedUnits>(bytes[2]);
  const auto third = reinterpret_cast<SignedUnits>(bytes[3]);
  const auto isOne = reinterpret_cast<Units>(byte < 0x80);
  const auto endsTwo = reinterpret_cast<Units>((first > 0xBF) & (first < 0xE0));
  const auto isThird = reinterpret_cast<Units>(second > 0xDF);  // Of three or four.
  const auto isHigh = reinterpret_cast<Units>(second > 0xEF);
  const auto isLow = reinterpret_cast<Units>(third > 0xEF);

  const Units low = bytes[0] & 0x3F;
  const Units mid = bytes[1] << 6;
  const Units two = (mid & 0x7C0) | low;
  const Units three = bytes[2] << 12 | (mid & 0xFC0) | low;
  const Units high = ((bytes[2] & 7) << 8 | (bytes[1] & 0x3F) << 2 | low >> 4) + 0xD7C0;
  const Units lower = 0xDC00 | (mid & 0x3C0) | low;
  Units unit = (bytes[0] & isOne) | (two & endsTwo) | (three & isThird & ~isHigh) |
               (high & isHigh) | (lower & isLow);
  const Units size = (isOne | endsTwo | isThird | isLow) & 2;
  if (isSwapped) unit = unit << 8 | unit >> 8;

  uint64_t units[2];
  uint64_t sizes[2];
  std::memcpy(units, &unit, sizeof units);
  std::memcpy(sizes, &size, sizeof sizes);
#pragma GCC unroll 8
  for (int i = 0; i < 8; ++i) {
    const auto one = LaneOf<uint16_t>(units[i / 4], i % 4);
    std::memcpy(out, &one, sizeof one);
    out += LaneOf<uint16_t>(sizes[i / 4], i % 4);
  }
  return out;
}

// Eight bytes each, as 16-bit lanes.
void Widen(const Bytes& bytes, Units& first, Units& second) noexcept {
  const Bytes zero = {};
  if constexpr (kIsBigEndian) {
    first = reinterpret_cast<Units>(__builtin_shufflevector(zero, bytes, 0, 16, 1, 17, 2, 18, 3, 19,
                                                            4, 20, 5, 21, 6, 22, 7, 23));
    second = reinterpret_cast<Units>(__builtin_shufflevector(zero, bytes, 8, 24, 9, 25, 10, 26, 11,
                                                             27, 12, 28, 13, 29, 14, 30, 15, 31));
  } else {
    first = reinterpret_cast<Units>(__builtin_shufflevector(bytes, zero, 0, 16, 1, 17, 2, 18, 3, 19,
                                                            4, 20, 5, 21, 6, 22, 7, 23));
    second = reinterpret_cast<Units>(__builtin_shufflevector(bytes, zero, 8, 24, 9, 25, 10, 26, 11,
                                                             27, 12, 28, 13, 29, 14, 30, 15, 31));
  }
}

}  // namespace

size_t ZTKUtf16ToUtf8(const uint16_t* p, size_t nUnits, char* pTarget) noexcept {
  char* out = pTarget;
  for (Blocks<uint16_t, kLanes, 1> blocks(p, nUnits);; blocks.Advance()) {
    const uint16_t* const block = blocks.Get();
    Units units;
    Units before;
    std::memcpy(&units, block, sizeof units);
    std::memcpy(&before, block - 1, sizeof before);
    if (!HasAny((units | before) & 0xFF80)) {
      const auto bytes = __builtin_convertvector(units, EightBytes);
      std::memcpy(out, &bytes, sizeof bytes);
      out += kLanes;
    } else if (HasAny(((units & 0xFC00) == 0xDC00) ^ ((before & 0xFC00) == 0xD800))) {
      // A lone surrogate. A high one at the end of the block before has not been written.
      const uint16_t* const rest = blocks.Position();
      const bool isOpen = rest > p && ztk_utf8::IsHighSurrogate(rest[-1]);
      return static_cast<size_t>(WriteEach(rest - (isOpen ? 1 : 0), p + nUnits, out) - pTarget);
    } else {
      out = WriteCharacters(units, before, out);
    }
    if (blocks.IsLast()) return static_cast<size_t>(out - pTarget) - blocks.Padding();
  }
}

size_t ZTKUtf8ToUtf16(const char* p, size_t nBytes, char* pTarget, bool isBigEndian) noexcept {
  const bool isSwapped = isBigEndian != kIsBigEndian;
  char* out = pTarget;
  for (Blocks<char, 2 * kLanes, 3> blocks(p, nBytes);; blocks.Advance()) {
    const char* const block = blocks.Get();
    Bytes bytes;
    Units first[4];
    Units second[4];
    std::memcpy(&bytes, block, sizeof bytes);
    Widen(bytes, first[0], second[0]);
    if (!HasAny(bytes & 0x80)) {
      if (isSwapped) {
        first[0] <<= 8;
        second[0] <<= 8;
      }
      std::memcpy(out, &first[0], sizeof first[0]);
      std::memcpy(out + sizeof first[0], &second[0], sizeof second[0]);
      out += 4 * kLanes;
    } else {
      for (int i = 1; i < 4; ++i) {
        std::memcpy(&bytes, block - i, sizeof bytes);
        Widen(bytes, first[i], second[i]);
      }
      out = WriteUnits(first, out, isSwapped);
      out = WriteUnits(second, out, isSwapped);
    }
    if (blocks.IsLast()) return static_cast<size_t>(out - pTarget) - 2 * blocks.Padding();
  }
}

bool ZTKHasNulUnit(const uint16_t* p, const uint16_t* end) noexcept {
  SignedUnits isNul = {};
  for (; end - p >= static_cast<ptrdiff_t>(kLanes); p += kLanes) {
    Units units;
    std::memcpy(&units, p, sizeof units);
    isNul |= units == 0;
  }
  return HasAny(isNul) || std::find(p, end, 0) != end;
}
