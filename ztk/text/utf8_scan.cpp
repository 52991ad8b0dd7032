#include "ztk/text/internal/utf8_scan.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

// Validating UTF-8 character by character mispredicts a branch wherever the script changes. But
// whether a byte is allowed depends on it and the three in front of it alone (The Unicode Standard,
// table 3-7): sixteen bytes at a time are compared with those one, two and three before them. It is
// the method of Keiser and Lemire ("Validating UTF-8 In Less Than One Instruction Per Byte", 2021)
// with comparisons in place of their table look-ups, which SSE2, that every x86-64 has, lacks.
// About 45 instructions for sixteen bytes, 8 in a group of ASCII. BM_Load64MiBUtf8,
// BM_Load64MiBAccents.

namespace {

using Bytes [[gnu::vector_size(16)]] = uint8_t;
using Signed [[gnu::vector_size(16)]] = int8_t;  // What comparisons give: all bits set, or none.

constexpr ptrdiff_t kBlock = sizeof(Bytes);
constexpr ptrdiff_t kGroup = 4 * kBlock;
constexpr ptrdiff_t kBefore = 3;

// Vectors are passed by reference: by value they have an ABI of their own on 32-bit machines.

template <typename Vector>
void Load(Vector& bytes, const char* p) noexcept {
  std::memcpy(&bytes, p, sizeof bytes);
}

template <typename Vector>
uint64_t Fold(const Vector& bytes) noexcept {
  uint64_t half[2];
  std::memcpy(half, &bytes, sizeof half);
  return half[0] | half[1];
}

template <typename Vector>
bool HasHigh(const Vector& bytes) noexcept {
  return (Fold(bytes) & 0x8080808080808080) != 0;
}

constexpr int8_t AsSigned(int byte) noexcept { return static_cast<int8_t>(byte); }

// Adds the bytes of the block at `p` that are not allowed behind the three in front of them.
void AddIllFormed(const char* p, Signed& illFormed) noexcept {
  Signed byte;
  Signed before;
  Bytes first;
  Bytes second;
  Bytes third;
  Load(byte, p);
  Load(before, p - 1);
  Load(first, p - 1);
  Load(second, p - 2);
  Load(third, p - 3);

  const auto continues = byte < AsSigned(0xC0);
  const auto mustContinue = (first >= 0xC0) | (second >= 0xE0) | (third >= 0xF0);
  // Overlong forms, surrogates, and what is past U+10FFFF. What does not continue is wrong behind
  // these anyway, so that signed comparisons will do; they are cheaper.
  const auto isOutside = ((before == AsSigned(0xE0)) & (byte < AsSigned(0xA0))) |
                         ((before == AsSigned(0xED)) & (byte > AsSigned(0x9F))) |
                         ((before == AsSigned(0xF0)) & (byte < AsSigned(0x90))) |
                         ((before == AsSigned(0xF4)) & (byte > AsSigned(0x8F)));
  // 0xC0, 0xC1 and from 0xF5 on.
  const auto isNever = ((byte & AsSigned(0xFE)) == AsSigned(0xC0)) |
                       ((byte > AsSigned(0xF4)) & (byte < AsSigned(0)));
  illFormed |= (continues ^ mustContinue) | isOutside | isNever;
}

}  // namespace

ZTKBytesFound ZTKScanBytes(const char* pStart, const char* pEnd) noexcept {
  Bytes all = {};
  Signed isNul = {};
  Signed illFormed = {};
  bool isAfterHigh = false;  // A character may be open.

  // One block, of which the first and the last lie in a copy: nothing is read in front of the text
  // or behind it, and a character that the end cuts off is followed by what cannot continue it.
  const auto block = [&](const char* p) {
    const ptrdiff_t size = std::min(pEnd - p, kBlock);
    const bool isCopied = p == pStart || size < kBlock;
    char copy[kBefore + kBlock];
    if (isCopied) {
      std::memset(copy, ' ', sizeof copy);
      const ptrdiff_t before = std::min(p - pStart, kBefore);
      const auto count = static_cast<size_t>(before + size);
      if (count > 0) std::memcpy(copy + kBefore - before, p - before, count);
    }
    const char* const from = isCopied ? copy + kBefore : p;
    Bytes bytes;
    Load(bytes, from);
    all |= bytes;
    isNul |= bytes == 0;
    const bool isHigh = HasHigh(bytes);
    if (isHigh || isAfterHigh) AddIllFormed(from, illFormed);
    isAfterHigh = isHigh;
  };

  const char* p = pStart;
  if (pEnd - p >= kBlock) {
    block(p);
    p += kBlock;
  }
  for (; pEnd - p >= kGroup; p += kGroup) {
    Bytes group[4];
    std::memcpy(group, p, sizeof group);
    const Bytes any = group[0] | group[1] | group[2] | group[3];
    all |= any;
    isNul |= (group[0] == 0) | (group[1] == 0) | (group[2] == 0) | (group[3] == 0);
    const bool isHigh = HasHigh(any);
    if (isHigh || isAfterHigh) {
      for (ptrdiff_t i = 0; i < kGroup; i += kBlock) AddIllFormed(p + i, illFormed);
    }
    isAfterHigh = isHigh;
  }
  for (; pEnd - p >= kBlock; p += kBlock) block(p);
  block(p);
  return {Fold(isNul) != 0, HasHigh(all), Fold(illFormed) == 0};
}

size_t ZTKOpenBytes(const char* pStart, const char* pEnd) noexcept {
  const ptrdiff_t most = std::min(pEnd - pStart, kBefore);
  for (ptrdiff_t i = 1; i <= most; ++i) {
    const auto byte = static_cast<unsigned char>(pEnd[-i]);
    if (byte < 0x80) return 0;
    if (byte < 0xC0) continue;
    // The first byte of two, three or four.
    const ptrdiff_t length = byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
    return i < length ? static_cast<size_t>(i) : 0;
  }
  return 0;
}
