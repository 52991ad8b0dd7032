#include "ztk/stream/ieee_extended.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8);

namespace {

constexpr int kFractionBits = 52;  // Of a double.
constexpr int kDoubleBias = 1023;
constexpr int kExtendedBias = 16383;
constexpr unsigned kLargestExponent = 0x7FFF;
constexpr unsigned kSign = 0x8000;

}  // namespace

void ZTKEncodeIeeeExtended(double dValue, unsigned char* pOut) noexcept {
  if (pOut == nullptr) return;
  const auto bits = std::bit_cast<uint64_t>(dValue);
  const int exponent = static_cast<int>(bits >> kFractionBits & 0x7FF);
  const uint64_t fraction = bits & ((uint64_t{1} << kFractionBits) - 1);

  unsigned head = 0;
  uint64_t mantissa = 0;
  if (exponent == 0x7FF) {  // Infinity keeps its sign, NaN has none.
    head = kLargestExponent;
  } else if (exponent != 0) {
    head = static_cast<unsigned>(exponent - kDoubleBias + kExtendedBias);
    mantissa = (fraction | uint64_t{1} << kFractionBits) << (63 - kFractionBits);
  } else if (fraction != 0) {
    // The wider exponent has room for a subnormal double as an ordinary number.
    const int shift = std::countl_zero(fraction);
    head = static_cast<unsigned>(1 - kDoubleBias + kExtendedBias + (63 - kFractionBits) - shift);
    mantissa = fraction << shift;
  }
  if (dValue < 0) head |= kSign;  // False for NaN and for the negative zero.

  pOut[0] = static_cast<unsigned char>(head >> 8);
  pOut[1] = static_cast<unsigned char>(head);
  for (int i = 0; i < 8; ++i) pOut[2 + i] = static_cast<unsigned char>(mantissa >> (56 - 8 * i));
}

double ZTKDecodeIeeeExtended(const unsigned char* pBytes) noexcept {
  if (pBytes == nullptr) return 0.0;
  const unsigned head = pBytes[0] * 256u + pBytes[1];
  uint64_t mantissa = 0;
  for (int i = 0; i < 8; ++i) mantissa = mantissa << 8 | pBytes[2 + i];
  const double sign = (head & kSign) != 0 ? -1.0 : 1.0;

  if ((head & kLargestExponent) == kLargestExponent) {
    if (mantissa << 1 != 0) return std::numeric_limits<double>::quiet_NaN();
    return sign * std::numeric_limits<double>::infinity();
  }
  if (mantissa == 0) return sign * 0.0;

  // The value is mantissa * 2^scale. Drop the bits that a double has no room for, more of them
  // where it becomes subnormal, and round once: the nearest, halves to even.
  const int leading = std::countl_zero(mantissa);
  mantissa <<= leading;
  int scale = static_cast<int>(head & kLargestExponent) - kExtendedBias - 63 - leading;
  constexpr int kSmallestScale = 1 - kDoubleBias - kFractionBits;
  int dropped = 63 - kFractionBits;
  if (scale + dropped < kSmallestScale) dropped = kSmallestScale - scale;
  if (dropped > 64) return sign * 0.0;  // Below half of the smallest double.

  const uint64_t half = uint64_t{1} << (dropped - 1);
  const uint64_t rest = dropped == 64 ? mantissa : mantissa & (2 * half - 1);
  uint64_t kept = dropped == 64 ? 0 : mantissa >> dropped;
  if (rest > half || (rest == half && (kept & 1) != 0)) ++kept;
  scale += dropped;
  return sign * std::ldexp(static_cast<double>(kept), scale);  // Exact, or infinity.
}
