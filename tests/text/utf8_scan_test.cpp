// The pass over bytes by itself, beside the table of The Unicode Standard, in blocks of memory that
// end where the text does: a sanitizer sees what is read outside of it.

#include "ztk/text/internal/utf8_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include "tests/text/random_seed.h"
#include "tests/text/text_reference.h"

namespace {

ZTKBytesFound Scan(std::string_view text) {
  const std::unique_ptr<char[]> block(new char[text.size()]);
  std::copy(text.begin(), text.end(), block.get());
  return ZTKScanBytes(block.get(), block.get() + text.size());
}

bool HasHigh(std::string_view text) {
  return std::any_of(text.begin(), text.end(),
                     [](char ch) { return static_cast<unsigned char>(ch) >= 0x80; });
}

void ExpectFound(const std::string& text) {
  const ZTKBytesFound found = Scan(text);
  ASSERT_EQ(found.hasNul, text.find('\0') != std::string::npos);
  ASSERT_EQ(found.hasHigh, HasHigh(text));
  ASSERT_EQ(found.isUtf8, text_reference::IsUtf8(text));
}

// The bytes at the borders of the table's ranges, and beside them.
constexpr unsigned char kBorders[] = {0x00, 0x0A, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF,
                                      0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xEC, 0xED, 0xEE,
                                      0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xF8, 0xFE, 0xFF};

}  // namespace

TEST(ZTKScanBytes, JudgesEveryTwoBytes) {
  for (unsigned first = 0; first < 256; ++first) {
    for (unsigned second = 0; second < 256; ++second) {
      std::string text = {static_cast<char>(first), static_cast<char>(second)};
      SCOPED_TRACE(testing::Message() << std::hex << first << " " << second);
      ASSERT_NO_FATAL_FAILURE(ExpectFound(text));
    }
  }
}

TEST(ZTKScanBytes, JudgesEveryFourBytesAtTheBordersOfTheTable) {
  constexpr size_t kCount = std::size(kBorders);
  for (size_t number = 0; number < kCount * kCount * kCount * kCount; ++number) {
    std::string text;
    for (size_t i = 0, rest = number; i < 4; ++i, rest /= kCount) {
      text += static_cast<char>(kBorders[rest % kCount]);
    }
    // Inside a block, and across two of them.
    for (const size_t before : {size_t{20}, 29 + number % 4}) {
      const std::string whole = std::string(before, 'x') + text + "yz";
      ASSERT_EQ(Scan(whole).isUtf8, text_reference::IsUtf8(whole)) << number << ", " << before;
    }
  }
}

TEST(ZTKScanBytes, FindsWhatIsAtEveryPlaceOfEveryLength) {
  for (size_t length = 1; length <= 200; ++length) {
    for (size_t at = 0; at < length; ++at) {
      for (const char* const text : {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xED\xA0\x80",
                                     "\xF0\x9F\x98", "\x80", "\xFF"}) {
        std::string whole(length, 'x');
        const std::string_view piece = text;
        whole.replace(at, std::min(piece.size(), length - at), piece, 0, length - at);
        ASSERT_EQ(Scan(whole).isUtf8, text_reference::IsUtf8(whole)) << length << ", " << at;
        ASSERT_TRUE(Scan(whole).hasHigh);
        ASSERT_FALSE(Scan(whole).hasNul);
      }
      std::string whole(length, 'x');
      whole[at] = '\0';
      ASSERT_TRUE(Scan(whole).hasNul);
      ASSERT_FALSE(Scan(whole).hasHigh);
      ASSERT_TRUE(Scan(whole).isUtf8);
    }
  }
  ASSERT_NO_FATAL_FAILURE(ExpectFound(""));
}

TEST(ZTKScanBytes, JudgesRandomTexts) {
  std::mt19937 random(RandomSeed());
  for (int i = 0; i < 20000; ++i) {
    std::string text;
    for (size_t pieces = random() % 60; pieces > 0; --pieces) {
      const auto pick = static_cast<unsigned>(random() % 64);
      if (pick == 0) {
        text += static_cast<char>(kBorders[random() % std::size(kBorders)]);
      } else if (pick < 32) {
        text.append(random() % 24, 'a');
      } else {
        constexpr unsigned kLimits[] = {0x80, 0x800, 0xD800, 0x110000};
        const auto codePoint = static_cast<uint32_t>(random() % kLimits[pick % 4]);
        if (codePoint < 0xD800 || codePoint > 0xDFFF) {
          text_reference::AppendUtf8(text, codePoint);
        }
      }
    }
    ASSERT_NO_FATAL_FAILURE(ExpectFound(text)) << i;
  }
}

// What lies in front of the open bytes can be judged without what follows, and only that.
TEST(ZTKOpenBytes, AreThoseOfACharacterThatIsCut) {
  for (const char* const character : {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
    const std::string_view whole = character;
    for (const char* const before : {"", "x", "\xC3\xA9", "abcd\n"}) {
      for (size_t length = 0; length <= whole.size(); ++length) {
        const std::string text = before + std::string(whole.substr(0, length));
        EXPECT_EQ(ZTKOpenBytes(text.data(), text.data() + text.size()),
                  length < whole.size() ? length : 0);
      }
    }
  }
}

TEST(ZTKOpenBytes, NeverHoldAByteOfAscii) {
  constexpr size_t kCount = std::size(kBorders);
  for (size_t number = 0; number < kCount * kCount * kCount * kCount; ++number) {
    std::string text;
    for (size_t i = 0, rest = number; i < 4; ++i, rest /= kCount) {
      text += static_cast<char>(kBorders[rest % kCount]);
    }
    const size_t open = ZTKOpenBytes(text.data(), text.data() + text.size());
    ASSERT_LE(open, 3u);
    for (size_t i = 0; i < open; ++i) {
      ASSERT_GE(static_cast<unsigned char>(text[text.size() - 1 - i]), 0x80);
    }
    // Nothing in front of them goes on in them.
    const std::string closed = text.substr(0, text.size() - open);
    const bool isCut = !text_reference::IsUtf8(closed) && text_reference::IsUtf8(closed + "\x80");
    ASSERT_FALSE(open == 0 && isCut) << number;
  }
}
