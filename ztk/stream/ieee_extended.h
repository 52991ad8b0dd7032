#pragma once

#include "ztk/export.h"

/// The 80-bit extended format: ten bytes, most significant first whatever the byte order of a
/// stream: sign and 15-bit exponent (bias 16383), then a 64-bit mantissa with an explicit integer
/// bit. 1.0 is 3F FF 80 00 00 00 00 00 00 00.

/// Writes ten bytes; a null `pOut` writes nothing. Every finite double is exact. Both zeros become
/// ten zero bytes, infinity the largest exponent with a zero mantissa, and NaN is written as
/// positive infinity.
ZTK_API void ZTKEncodeIeeeExtended(double dValue, unsigned char* pOut) noexcept;

/// The double nearest to the ten bytes, halves to even; exact for everything the encoder made of a
/// finite double. Beyond the range of a double it is infinity. The largest exponent is infinity
/// when all mantissa bits below the integer bit are 0, and NaN otherwise. Null gives 0.
ZTK_API double ZTKDecodeIeeeExtended(const unsigned char* pBytes) noexcept;
