// Conversions between UTF-16 and UTF-8 by themselves, beside the reference, in blocks of memory as
// large as they are promised: a sanitizer sees what is read or written outside of them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/text/random_seed.h"
#include "tests/text/text_reference.h"
#include "ztk/text/internal/utf16.h"

namespace {

std::string ToUtf8(const std::vector<uint16_t>& units) {
  const std::unique_ptr<uint16_t[]> source(new uint16_t[units.size()]);
  std::copy(units.begin(), units.end(), source.get());
  const std::unique_ptr<char[]> target(new char[ZTKUtf16ToUtf8Bound(units.size())]);
  return {target.get(), ZTKUtf16ToUtf8(source.get(), units.size(), target.get())};
}

std::string ToUtf16(const std::string& text, bool isBigEndian) {
  const std::unique_ptr<char[]> source(new char[text.size()]);
  std::copy(text.begin(), text.end(), source.get());
  const std::unique_ptr<char[]> target(new char[ZTKUtf8ToUtf16Bound(text.size())]);
  return {target.get(), ZTKUtf8ToUtf16(source.get(), text.size(), target.get(), isBigEndian)};
}

void ExpectConverted(const std::vector<uint16_t>& units) {
  const std::string utf8 = text_reference::FromUnits({units.begin(), units.end()});
  ASSERT_EQ(ToUtf8(units), utf8);
  // Back again: lone surrogates have become U+FFFD.
  std::string little;
  std::string big;
  const auto put = [&](uint32_t unit) {
    little += static_cast<char>(unit & 0xFF);
    little += static_cast<char>(unit >> 8);
    big += static_cast<char>(unit >> 8);
    big += static_cast<char>(unit & 0xFF);
  };
  for (const uint32_t codePoint : text_reference::CodePoints(utf8)) {
    if (codePoint >= 0x10000) put(0xD800 + (codePoint - 0x10000) / 0x400);
    put(codePoint < 0x10000 ? codePoint : 0xDC00 + (codePoint - 0x10000) % 0x400);
  }
  ASSERT_EQ(ToUtf16(utf8, false), little);
  ASSERT_EQ(ToUtf16(utf8, true), big);
}

}  // namespace

TEST(ZTKUtf16, EveryUnitIsConvertedAtEveryLane) {
  for (unsigned unit = 0; unit < 0x10000; ++unit) {
    std::vector<uint16_t> units(10, 'x');
    units[unit % 9] = static_cast<uint16_t>(unit);
    ASSERT_NO_FATAL_FAILURE(ExpectConverted(units)) << unit;
  }
}

TEST(ZTKUtf16, EveryPairOfSurrogatesIsOneCharacter) {
  for (unsigned codePoint = 0x10000; codePoint < 0x110000; codePoint += 7) {
    std::vector<uint16_t> units(codePoint % 19, 0x20AC);
    units.push_back(static_cast<uint16_t>(0xD800 + ((codePoint - 0x10000) >> 10)));
    units.push_back(static_cast<uint16_t>(0xDC00 + (codePoint & 0x3FF)));
    ASSERT_NO_FATAL_FAILURE(ExpectConverted(units)) << codePoint;
  }
}

// Plain, two and three bytes, and surrogates in every order, across the ends of blocks.
TEST(ZTKUtf16, EveryOrderOfKindsIsConverted) {
  constexpr uint16_t kKinds[] = {'a', 0xE9, 0x20AC, 0xD83D, 0xDE00};
  constexpr size_t kLength = 5;
  for (size_t number = 0; number < 5 * 5 * 5 * 5 * 5; ++number) {
    for (size_t before = 0; before <= 8; ++before) {
      for (const size_t after : {size_t{0}, size_t{1}, size_t{12}}) {
        std::vector<uint16_t> units(before, 'x');
        for (size_t i = 0, rest = number; i < kLength; ++i, rest /= 5) {
          units.push_back(kKinds[rest % 5]);
        }
        units.insert(units.end(), after, 'y');
        ASSERT_NO_FATAL_FAILURE(ExpectConverted(units)) << number << ", " << before;
      }
    }
  }
}

TEST(ZTKUtf16, RandomUnitsAreConverted) {
  std::mt19937 random(RandomSeed());
  for (int i = 0; i < 5000; ++i) {
    std::vector<uint16_t> units;
    const bool hasLone = random() % 4 == 0;
    for (size_t pieces = random() % 40; pieces > 0; --pieces) {
      const auto kind = static_cast<unsigned>(random() % 16);
      if (kind == 0 && hasLone) {
        units.push_back(static_cast<uint16_t>(0xD800 + random() % 0x800));
      } else if (kind < 3) {
        units.push_back(static_cast<uint16_t>(0xD800 + random() % 0x400));
        units.push_back(static_cast<uint16_t>(0xDC00 + random() % 0x400));
      } else if (kind < 9) {
        units.insert(units.end(), random() % 20, 'a');
      } else {
        constexpr unsigned kLimits[] = {0x80, 0x800, 0xD800};
        units.push_back(static_cast<uint16_t>(random() % kLimits[kind % 3]));
      }
    }
    ASSERT_NO_FATAL_FAILURE(ExpectConverted(units)) << i;
  }
}

TEST(ZTKUtf16, ANulIsFoundAtEveryPlace) {
  for (size_t length = 0; length <= 40; ++length) {
    const std::unique_ptr<uint16_t[]> units(new uint16_t[length]);
    std::fill_n(units.get(), length, uint16_t{0x0100});  // Half of its bytes are.
    ASSERT_FALSE(ZTKHasNulUnit(units.get(), units.get() + length));
    for (size_t at = 0; at < length; ++at) {
      units[at] = 0;
      ASSERT_TRUE(ZTKHasNulUnit(units.get(), units.get() + length)) << at << " of " << length;
      units[at] = 0x0100;
    }
  }
}
