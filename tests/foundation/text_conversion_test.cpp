#include "ztk/foundation/text_conversion.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <type_traits>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/support/temp_dir.h"
#include "ztk/foundation/string.h"

namespace {

constexpr unsigned int kSystem = kCodePageSystem;
constexpr unsigned int kUtf8 = kCodePageUtf8;

/// Converts with a buffer of exactly the required length and checks every count on the way.
std::wstring Widen(const std::string& text, unsigned int codePage) {
  const unsigned long required = XPA2WRequiredLen(text.c_str(), codePage);
  std::vector<wchar_t> target(required + 1, L'#');
  EXPECT_EQ(XPA2W(text.c_str(), target.data(), static_cast<int>(required), codePage), required);
  EXPECT_EQ(target[required - 1], L'\0');
  EXPECT_EQ(target[required], L'#');
  return std::wstring(target.data(), required - 1);
}

std::string Narrow(const std::wstring& text, unsigned int codePage) {
  const unsigned long required = XPW2ARequiredLen(text.c_str(), codePage);
  std::vector<char> target(required + 1, '#');
  EXPECT_EQ(XPW2A(text.c_str(), target.data(), static_cast<int>(required), codePage), required);
  EXPECT_EQ(target[required - 1], '\0');
  EXPECT_EQ(target[required], '#');
  return std::string(target.data(), required - 1);
}

// Whether wide text is UTF-16, in which other code points than these take two units.
constexpr bool kIsUtf16 = sizeof(wchar_t) == 2;

std::wstring Wide(std::initializer_list<unsigned> units) {
  std::wstring text;
  for (const unsigned unit : units) {
    if (kIsUtf16 && unit > 0xFFFF) {
      text += static_cast<wchar_t>(0xD7C0 + (unit >> 10));
      text += static_cast<wchar_t>(0xDC00 + (unit & 0x3FF));
    } else {
      text += static_cast<wchar_t>(unit);
    }
  }
  return text;
}

/// A second way to write UTF-8, to compare with.
std::string Utf8(unsigned codePoint) {
  std::string bytes;
  const auto tail = [&](int shift) {
    bytes += static_cast<char>(0x80 + (codePoint >> shift) % 64);
  };
  if (codePoint < 0x80) {
    bytes += static_cast<char>(codePoint);
  } else if (codePoint < 0x800) {
    bytes += static_cast<char>(0xC0 + codePoint / 64);
    tail(0);
  } else if (codePoint < 0x10000) {
    bytes += static_cast<char>(0xE0 + codePoint / 4096);
    tail(6);
    tail(0);
  } else {
    bytes += static_cast<char>(0xF0 + codePoint / 262144);
    tail(12);
    tail(6);
    tail(0);
  }
  return bytes;
}

class ScopedLocale {
 public:
  explicit ScopedLocale(const char* pszName)
      : m_isReady(std::setlocale(LC_ALL, pszName) != nullptr) {}
  ~ScopedLocale() { std::setlocale(LC_ALL, "C"); }
  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;
  bool IsReady() const { return m_isReady; }

 private:
  bool m_isReady;
};

}  // namespace

// UTF-8.

TEST(TextConversion, EveryScalarValueSurvivesUtf8) {
  for (unsigned codePoint = 1; codePoint <= 0x10FFFF; ++codePoint) {
    if (codePoint >= 0xD800 && codePoint <= 0xDFFF) continue;
    const std::wstring text = Wide({codePoint});
    const wchar_t* const wide = text.c_str();
    char bytes[8];
    wchar_t back[4];
    const unsigned long length = XPW2A(wide, bytes, sizeof bytes, kUtf8);
    ASSERT_EQ(std::string(bytes, length - 1), Utf8(codePoint)) << codePoint;
    ASSERT_EQ(XPW2ARequiredLen(wide, kUtf8), length) << codePoint;
    ASSERT_EQ(XPA2W(bytes, back, 4, kUtf8), text.size() + 1) << codePoint;
    ASSERT_EQ(back, text) << codePoint;
    ASSERT_EQ(XPA2WRequiredLen(bytes, kUtf8), text.size() + 1) << codePoint;
  }
}

TEST(TextConversion, IllFormedUtf8GivesOneReplacementForEachPart) {
  struct {
    const char* bytes;
    std::wstring expected;
  } rows[] = {
      {"\x80", Wide({0xFFFD})},
      {"a\xFFz", Wide({'a', 0xFFFD, 'z'})},
      {"\xC0\x80", Wide({0xFFFD, 0xFFFD})},                          // Overlong.
      {"\xC1\xBF", Wide({0xFFFD, 0xFFFD})},                          // Overlong.
      {"\xE0\x80\x80", Wide({0xFFFD, 0xFFFD, 0xFFFD})},              // Overlong.
      {"\xE0\x9F\xBF", Wide({0xFFFD, 0xFFFD, 0xFFFD})},              // Overlong.
      {"\xF0\x8F\xBF\xBF", Wide({0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD})},  // Overlong.
      {"\xED\xA0\x80", Wide({0xFFFD, 0xFFFD, 0xFFFD})},              // A surrogate.
      {"\xED\xBF\xBF", Wide({0xFFFD, 0xFFFD, 0xFFFD})},              // A surrogate.
      {"\xF4\x90\x80\x80", Wide({0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD})},  // Past U+10FFFF.
      {"\xF5\x80", Wide({0xFFFD, 0xFFFD})},
      {"\xE2\x82", Wide({0xFFFD})},  // Cut short.
      {"\xE2\x82z", Wide({0xFFFD, 'z'})},
      {"\xF0\x9F\x98", Wide({0xFFFD})},
      {"\xF0\x9Fz", Wide({0xFFFD, 'z'})},
      {"\xC3", Wide({0xFFFD})},
      {"\xC3z", Wide({0xFFFD, 'z'})},
      {"\xE2\x82\xE2\x82\xAC", Wide({0xFFFD, 0x20AC})},
      {"\xEF\xBF\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF", Wide({0xFFFF, 0xE000, 0x10FFFF})},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(Hex(row.bytes));
    EXPECT_EQ(Widen(row.bytes, kUtf8), row.expected);
  }
}

TEST(TextConversion, EveryTwoByteSequence) {
  for (unsigned first = 1; first < 256; ++first) {
    for (unsigned second = 1; second < 256; ++second) {
      const char bytes[3] = {static_cast<char>(first), static_cast<char>(second), 0};
      wchar_t wide[4];
      const unsigned long count = XPA2W(bytes, wide, 4, kUtf8);
      const bool isTail = second >= 0x80 && second < 0xC0;
      if (first >= 0xC2 && first < 0xE0 && isTail) {
        ASSERT_EQ(count, 2u);
        ASSERT_EQ(static_cast<unsigned>(wide[0]), (first - 0xC0) * 64 + second - 0x80);
        continue;
      }
      // The second byte belongs to the first only as the start of something longer.
      bool isStart = first >= 0xE0 && first < 0xF5 && isTail;
      if (first == 0xE0) isStart = isStart && second >= 0xA0;
      if (first == 0xED) isStart = isStart && second < 0xA0;
      if (first == 0xF0) isStart = isStart && second >= 0x90;
      if (first == 0xF4) isStart = isStart && second < 0x90;
      ASSERT_EQ(count, isStart ? 2u : 3u) << first << ' ' << second;
      ASSERT_EQ(static_cast<unsigned>(wide[0]), first < 0x80 ? first : 0xFFFD);
      if (!isStart) {
        ASSERT_EQ(static_cast<unsigned>(wide[1]), second < 0x80 ? second : 0xFFFD);
      }
    }
  }
}

TEST(TextConversion, EveryThreeByteSequenceThatStartsWithALongLead) {
  for (unsigned first = 0xE0; first < 0x100; ++first) {
    for (unsigned second = 0x80; second < 0xC0; ++second) {
      for (unsigned third = 1; third < 256; ++third) {
        const char bytes[4] = {static_cast<char>(first), static_cast<char>(second),
                               static_cast<char>(third), 0};
        wchar_t wide[5];
        const unsigned long count = XPA2W(bytes, wide, 5, kUtf8);
        ASSERT_EQ(XPA2WRequiredLen(bytes, kUtf8), count);
        const bool isTail = third >= 0x80 && third < 0xC0;
        const unsigned value = (first & 15) * 4096 + (second - 0x80) * 64 + (third & 63);
        const bool isValid =
            first < 0xF0 && isTail && value >= 0x800 && (value < 0xD800 || value > 0xDFFF);
        ASSERT_EQ(count == 2 && wide[0] != 0xFFFD, isValid && value != 0xFFFD)
            << first << ' ' << second << ' ' << third;
        if (isValid) {
          ASSERT_EQ(static_cast<unsigned>(wide[0]), value);
        }
      }
    }
  }
}

TEST(TextConversion, SurrogatesAreJoinedAndLoneOnesReplaced) {
  EXPECT_EQ(Narrow(Wide({0xD83D, 0xDE00}), kUtf8), "\xF0\x9F\x98\x80");
  EXPECT_EQ(Narrow(Wide({0xD800, 0xDC00}), kUtf8), "\xF0\x90\x80\x80");
  EXPECT_EQ(Narrow(Wide({0xDBFF, 0xDFFF}), kUtf8), "\xF4\x8F\xBF\xBF");
  EXPECT_EQ(Narrow(Wide({'a', 0xD83D, 'b'}), kUtf8),
            "a\xEF\xBF\xBD"
            "b");
  EXPECT_EQ(Narrow(Wide({0xD83D}), kUtf8), "\xEF\xBF\xBD");
  EXPECT_EQ(Narrow(Wide({0xDE00, 0xD83D}), kUtf8), "\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(Narrow(Wide({0xD83D, 0xD83D, 0xDE00}), kUtf8), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
  if (kIsUtf16) return;  // It has no values past U+10FFFF.
  EXPECT_EQ(Narrow(Wide({0x110000, 0xFFFFFFFF}), kUtf8), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

// The system's code page.

TEST(TextConversion, SystemTextThatIsUtf8IsReadAsUtf8) {
  if (!XPSystemReadsUtf8()) GTEST_SKIP() << "the code set of the system is another one";
  EXPECT_EQ(Widen("\xC3\xA9t\xC3\xA9 \xE2\x82\xAC", kSystem), Wide({0xE9, 't', 0xE9, ' ', 0x20AC}));
  EXPECT_EQ(Widen("", kSystem), L"");
  EXPECT_EQ(Widen("plain", kSystem), L"plain");
}

TEST(TextConversion, OtherSystemTextIsWindows1252) {
  EXPECT_EQ(Widen("\xE9t\xE9 \x80", kSystem), Wide({0xE9, 't', 0xE9, ' ', 0x20AC}));
  // One stray byte makes the whole text 8-bit, its valid sequences too.
  EXPECT_EQ(Widen("\xC3\xA9 \xE9", kSystem), Wide({0xC3, 0xA9, ' ', 0xE9}));
}

TEST(TextConversion, EveryByteSurvivesWindows1252) {
  std::string all;
  for (int byte = 0xFF; byte > 0; --byte) all += static_cast<char>(byte);
  const std::wstring wide = Widen(all, kSystem);
  ASSERT_EQ(wide.size(), 255u);
  EXPECT_EQ(wide[0xFF - 0x80], static_cast<wchar_t>(0x20AC));
  EXPECT_EQ(wide[0xFF - 0x9F], static_cast<wchar_t>(0x178));
  for (const unsigned open : {0x81u, 0x8Du, 0x8Fu, 0x90u, 0x9Du}) {
    EXPECT_EQ(static_cast<unsigned>(wide[0xFF - open]), open);
  }
  EXPECT_EQ(Narrow(wide, kSystem), all);
}

TEST(TextConversion, WhatWindows1252CannotHoldIsAQuestionMark) {
  EXPECT_EQ(
      Narrow(Wide({'a', 0x4E2D, 0x20AC, 0x1F600, 0xD83D, 0xDE00, 0xD800, 0x80, 0xFFFD}), kSystem),
      "a?\x80?????");
}

TEST(TextConversion, SystemTextInAUtf8LocaleIsWrittenAsUtf8) {
  const ScopedLocale locale("C.UTF-8");
  if (!locale.IsReady()) GTEST_SKIP() << "there is no C.UTF-8 locale";
  EXPECT_EQ(Widen("\xC3\xA9", kSystem), Wide({0xE9}));
  EXPECT_EQ(Widen("\xE9", kSystem), Wide({0xE9}));
  EXPECT_EQ(Narrow(Wide({0xE9, 0x4E2D, 0xD800}), kSystem), "\xC3\xA9\xE4\xB8\xAD\xEF\xBF\xBD");
}

TEST(TextConversion, SystemTextInAnotherLocaleHasItsCodeset) {
  const TempDir dir;
  const ScopedEnv path("LOCPATH", dir.Path().string().c_str());
  const std::string command =
      "localedef -i ru_RU -f KOI8-R " + (dir / "ru_RU.KOI8-R") + " >/dev/null 2>&1";
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "no locale can be compiled here";
  const ScopedLocale locale("ru_RU.KOI8-R");
  ASSERT_TRUE(locale.IsReady());
  EXPECT_EQ(Widen("\xC1\xC2 x", kSystem), Wide({0x430, 0x431, ' ', 'x'}));
  EXPECT_EQ(Narrow(Wide({0x430, 0x4E2D, 'x'}), kSystem), "\xC1?x");
  EXPECT_EQ(Widen("\xD0\xB0", kUtf8), Wide({0x430}));
}

TEST(TextConversion, TextThatTheLocaleRefusesIsWindows1252) {
  const TempDir dir;
  const ScopedEnv path("LOCPATH", dir.Path().string().c_str());
  const std::string command =
      "localedef -i ja_JP -f EUC-JP " + (dir / "ja_JP.EUC-JP") + " >/dev/null 2>&1";
  if (std::system(command.c_str()) != 0) GTEST_SKIP() << "no locale can be compiled here";
  const ScopedLocale locale("ja_JP.EUC-JP");
  ASSERT_TRUE(locale.IsReady());
  EXPECT_EQ(Widen("\xC6\xFC", kSystem), Wide({0x65E5}));
  EXPECT_EQ(Widen("\xFF\xE9", kSystem), Wide({0xFF, 0xE9}));
  char bytes[4];
  EXPECT_EQ(XPW2A(Wide({'a', 'b', 0x65E5}).c_str(), bytes, 4, kSystem), 3u);
  EXPECT_STREQ(bytes, "ab");  // The third character has two bytes and does not fit.
}

// Lengths.

TEST(TextConversion, CutsBetweenCharactersAndTerminates) {
  const std::wstring wide = Wide({'a', 0xE9, 0x20AC, 0xD83D, 0xDE00});  // 1 + 2 + 3 + 4 bytes
  const std::string whole = Narrow(wide, kUtf8);
  ASSERT_EQ(whole.size(), 10u);
  const unsigned long fitting[] = {0, 0, 1, 1, 3, 3, 3, 6, 6, 6, 6, 10, 10};
  for (int room = 1; room <= 12; ++room) {
    SCOPED_TRACE(room);
    std::vector<char> target(static_cast<size_t>(room) + 1, '#');
    EXPECT_EQ(XPW2A(wide.c_str(), target.data(), room, kUtf8), fitting[room] + 1);
    EXPECT_EQ(std::string(target.data()), whole.substr(0, fitting[room]));
    EXPECT_EQ(target.back(), '#');
  }
  for (int room = 1; room <= 6; ++room) {
    SCOPED_TRACE(room);
    std::vector<wchar_t> target(static_cast<size_t>(room) + 1, L'#');
    // The last character is one element or two, which are not parted.
    const int fits = kIsUtf16 ? (room == 5 ? 4 : room) : std::min(room, 5);
    const auto expected = static_cast<unsigned long>(fits);
    EXPECT_EQ(XPA2W(whole.c_str(), target.data(), room, kUtf8), expected);
    EXPECT_EQ(target[expected - 1], L'\0');
    EXPECT_EQ(target.back(), L'#');
  }
}

TEST(TextConversion, NoRoomNoSourceAndNoSuchCodePageConvertNothing) {
  char bytes[4] = {'#', '#', '#', 0};
  wchar_t wide[4] = {L'#', L'#', L'#', 0};
  for (const int room : {0, -1, INT_MIN}) {
    EXPECT_EQ(XPW2A(L"a", bytes, room, kUtf8), 0u);
    EXPECT_EQ(XPA2W("a", wide, room, kUtf8), 0u);
  }
  for (const unsigned int codePage : {kSystem, kUtf8}) {
    EXPECT_EQ(XPW2A(nullptr, bytes, 4, codePage), 0u);
    EXPECT_EQ(XPA2W(nullptr, wide, 4, codePage), 0u);
    EXPECT_EQ(XPW2A(L"a", nullptr, 4, codePage), 0u);
    EXPECT_EQ(XPA2W("a", nullptr, 4, codePage), 0u);
    EXPECT_EQ(XPW2ARequiredLen(nullptr, codePage), 0u);
    EXPECT_EQ(XPA2WRequiredLen(nullptr, codePage), 0u);
    EXPECT_EQ(XPW2ARequiredLen(L"", codePage), 1u);
    EXPECT_EQ(XPA2WRequiredLen("", codePage), 1u);
  }
  EXPECT_EQ(XPW2A(L"a", bytes, 4, 1200), 0u);
  EXPECT_EQ(XPA2W("a", wide, 4, 1200), 0u);
  EXPECT_EQ(XPW2ARequiredLen(L"a", 1200), 0u);
  EXPECT_EQ(XPA2WRequiredLen("a", 1200), 0u);
  EXPECT_STREQ(bytes, "###");
  EXPECT_STREQ(wide, L"###");
}

// Allocated copies.

TEST(TextConversion, AllocatedCopiesCountTheTerminator) {
  char text[] = "\xE9t\xE9";
  wchar_t* wide = nullptr;
  EXPECT_EQ(ZTKString::XPAChar2W(&wide, text), 4u);
  ASSERT_NE(wide, nullptr);
  EXPECT_STREQ(wide, Wide({0xE9, 't', 0xE9}).c_str());
  char* back = nullptr;
  EXPECT_EQ(ZTKString::XPWChar2A(&back, wide), 4u);
  ASSERT_NE(back, nullptr);
  EXPECT_STREQ(back, text);
  delete[] wide;
  delete[] back;
}

TEST(TextConversion, AllocatedCopiesOfNothingAreNull) {
  wchar_t something;
  wchar_t* wide = &something;
  EXPECT_EQ(ZTKString::XPAChar2W(&wide, nullptr), 0u);
  EXPECT_EQ(wide, nullptr);
  char other;
  char* narrow = &other;
  EXPECT_EQ(ZTKString::XPWChar2A(&narrow, nullptr), 0u);
  EXPECT_EQ(narrow, nullptr);
  char text[] = "a";
  wchar_t wideText[] = L"a";
  EXPECT_EQ(ZTKString::XPAChar2W(nullptr, text), 0u);
  EXPECT_EQ(ZTKString::XPWChar2A(nullptr, wideText), 0u);
}

TEST(TextConversion, AllocatedCopiesWithoutMemoryAreNull) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is a sanitizer's";
  char text[] = "a";
  wchar_t wideText[] = L"a";
  wchar_t* wide = nullptr;
  char* narrow = nullptr;
  failing_allocator::Scope none(0);
  EXPECT_EQ(ZTKString::XPAChar2W(&wide, text), 0u);
  EXPECT_EQ(wide, nullptr);
  EXPECT_EQ(ZTKString::XPWChar2A(&narrow, wideText), 0u);
  EXPECT_EQ(narrow, nullptr);
}

// Conversion buffers.

static_assert(!std::is_copy_constructible_v<ZTKCW2AEX<128>>);
static_assert(!std::is_copy_assignable_v<ZTKCA2WEX<128>>);

TEST(ConversionBuffer, HoldsShortTextInsideAndLongTextOutside) {
  for (const size_t length : {0u, 1u, 126u, 127u, 128u, 129u, 5000u}) {
    SCOPED_TRACE(length);
    for (const unsigned int codePage : {kSystem, kUtf8}) {
      const std::string text(length, 'x');
      const std::wstring wideText(length, L'x');
      const ZTKCA2WEX<128> wide(text.c_str(), codePage);
      EXPECT_EQ(wide.m_psz, wideText);
      const ZTKCW2AEX<128> narrow(wideText.c_str(), codePage);
      EXPECT_EQ(narrow.m_psz, text);

      const auto isInside = [](const void* p, const void* object, size_t size) {
        return p >= object && p < static_cast<const char*>(object) + size;
      };
      EXPECT_EQ(isInside(wide.m_psz, &wide, sizeof wide), length < 127);
      EXPECT_EQ(isInside(narrow.m_psz, &narrow, sizeof narrow), length < 127);
    }
  }
}

TEST(ConversionBuffer, CountsTheConvertedElements) {
  const std::wstring wide(60, static_cast<wchar_t>(0x20AC));  // 180 bytes of UTF-8
  const ZTKCW2AEX<128> narrow(wide.c_str(), kUtf8);
  EXPECT_EQ(std::strlen(narrow.m_psz), 180u);
  const ZTKCA2WEX<128> back(narrow.m_psz, kUtf8);
  EXPECT_EQ(back.m_psz, wide);
}

TEST(ConversionBuffer, NullStaysNull) {
  EXPECT_EQ(ZTKCW2AEX<128>(nullptr, kUtf8).m_psz, nullptr);
  EXPECT_EQ(ZTKCA2WEX<128>(nullptr, kUtf8).m_psz, nullptr);
}

TEST(ConversionBuffer, WhatCannotBeConvertedReadsAsEmpty) {
  EXPECT_STREQ(ZTKCW2AEX<128>(L"text", 1200).m_psz, "");
  EXPECT_STREQ(ZTKCA2WEX<128>("text", 1200).m_psz, L"");
}

TEST(ConversionBuffer, WithoutMemoryReadsAsEmpty) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is a sanitizer's";
  const std::string text(500, 'x');
  const std::wstring wideText(500, L'x');
  failing_allocator::Scope none(0);
  EXPECT_STREQ(ZTKCA2WEX<128>(text.c_str(), kUtf8).m_psz, L"");
  EXPECT_STREQ(ZTKCW2AEX<128>(wideText.c_str(), kUtf8).m_psz, "");
}
