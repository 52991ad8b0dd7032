#include <gtest/gtest.h>

#include <cerrno>
#include <cfloat>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

#include "tests/foundation/string_support.h"
#include "tests/foundation/unchecked_format.h"
#include "tests/support/pages.h"
#include "ztk/foundation/string.h"

namespace {

// The formatter of Windows knows no numbered arguments, which it writes as they stand, and takes a
// surrogate for the end of a wide text.
#ifdef _WIN32
constexpr bool kHasPosixFormats = false;
#else
constexpr bool kHasPosixFormats = true;
#endif

}  // namespace

// Formatting.

TEST(ZTKString, PrintfReplacesTheContentsAndShrinks) {
  ZTKString text("old");
  EXPECT_EQ(text.Printf("%d", 5), 1);
  EXPECT_STREQ(text.c_str(), "5");
  EXPECT_EQ(text.AllocatedSize(), 1u);
  EXPECT_EQ(text.DataLength(), 1u);
  EXPECT_EQ(text.Printf("%s=%d", "key", 42), 6);
  EXPECT_STREQ(text.c_str(), "key=42");
  EXPECT_EQ(text.AllocatedSize(), 6u);
}

TEST(ZTKString, FormatMakesANewString) {
  EXPECT_EQ(Std(ZTKString::Format("%s-%03d", "a", 7)), "a-007");
  EXPECT_EQ(ZTKString::Format(nullptr).AllocatedSize(), 0u);
}

TEST(ZTKString, NullFormatsChangeNothing) {
  ZTKString text("abc");
  EXPECT_EQ(text.Printf(nullptr), 0);
  EXPECT_EQ(FormatUnchecked(text, nullptr), -1);
  EXPECT_STREQ(text.c_str(), "abc");
  EXPECT_EQ(text.AllocatedSize(), 20u);
}

TEST(ZTKString, AnEmptyResultKeepsTheFormattingBlock) {
  const char* empty = "";
  ZTKString text;
  EXPECT_EQ(text.Printf("%s", empty), 0);
  EXPECT_STREQ(text.c_str(), "");
  EXPECT_EQ(text.AllocatedSize(), 1044u);
  ZTKString old("abc");
  EXPECT_EQ(old.Printf("%s", empty), 0);
  EXPECT_STREQ(old.c_str(), "");
  EXPECT_EQ(old.AllocatedSize(), 1044u);
  ZTKString large('x', 5000);
  EXPECT_EQ(large.Printf("%s", empty), 0);
  EXPECT_STREQ(large.c_str(), "");
  EXPECT_EQ(large.AllocatedSize(), 5012u);
}

TEST(ZTKString, FormattingAnEarlierShrunkLongStringKeepsItsBlock) {
  ZTKString text('x', 2000);
  ASSERT_TRUE(text.Shrink());
  EXPECT_EQ(text.Printf("%d", 5), 1);
  EXPECT_STREQ(text.c_str(), "5");
  EXPECT_EQ(text.AllocatedSize(), 2000u);
  // One that needs a larger formatting buffer loses the block and is shrunk.
  EXPECT_EQ(text.Printf("%2001d", 5), 2001);
  EXPECT_EQ(text.AllocatedSize(), 2001u);
  ASSERT_EQ(text.Printf("%1100d", 5), 1100);
  EXPECT_EQ(text.AllocatedSize(), 1100u);
  ZTKString longer('x', 3000);
  ASSERT_TRUE(longer.Shrink());
  EXPECT_EQ(longer.Printf("%1500d", 5), 1500);
  EXPECT_EQ(longer.AllocatedSize(), 3000u);
  EXPECT_EQ(longer.Len(), 1500u);
}

TEST(ZTKString, AFormattedTextThatJustFitsTheFirstBufferKeepsAnEarlierShrunkBlock) {
  for (int length : {1023, 1024, 1025}) {
    SCOPED_TRACE(length);
    ZTKString text('x', 1500);
    ASSERT_TRUE(text.Shrink());
    EXPECT_EQ(text.Printf("%*d", length, 5), length);
    EXPECT_EQ(text.Len(), static_cast<unsigned long>(length));
    // One character more needs a formatting buffer of 2,048, and that block is shrunk.
    EXPECT_EQ(text.AllocatedSize(), length <= 1024 ? 1500u : 1025u);
  }
}

TEST(ZTKString, AFormattedTextHasAnExactBlock) {
  struct {
    const char* name;
    void (*format)(ZTKString&);
  } const rows[] = {
      {"a number", [](ZTKString& s) { s.Printf("%d", 123456); }},
      {"119 characters", [](ZTKString& s) { s.Printf("%119d", 1); }},
      {"1,023 characters", [](ZTKString& s) { s.Printf("%1023d", 1); }},
      {"5,000 characters", [](ZTKString& s) { s.Printf("%5000d", 1); }},
      {"a NUL", [](ZTKString& s) { s.Printf("abcdef%c%100d", 0, 1); }},
      {"a NUL, long", [](ZTKString& s) { s.Printf("abcdef%c%90000d", 0, 1); }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ZTKString text;
    row.format(text);
    // What the allocator would give out for that many bytes.
    void* const exact = std::malloc(text.Len() + 1);
    const size_t usable = UsableSize(exact);
    std::free(exact);
    EXPECT_LE(UsableSize(&text[0]), usable + 16);
    EXPECT_EQ(text.AllocatedSize(), text.Len());
  }
}

TEST(ZTKString, FormatsEveryLengthAroundTheBuffers) {
  for (int length : {1,    63,   64,   65,   118,  119,  120,  121,  1022, 1023, 1024,  1025,
                     1026, 1042, 1043, 1044, 1045, 2047, 2048, 2049, 4096, 5000, 100000}) {
    SCOPED_TRACE(length);
    ZTKString text;
    EXPECT_EQ(text.Printf("%*d", length, 7), length);
    EXPECT_EQ(Std(text), std::string(static_cast<size_t>(length) - 1, ' ') + "7");
    EXPECT_EQ(text.AllocatedSize(), static_cast<unsigned long>(length));
    ZTKString again("previous text");
    EXPECT_EQ(again.Printf("%*d", length, 7), length);
    EXPECT_TRUE(again == text);
  }
}

TEST(ZTKString, FormattedTextGrowsByTheRule) {
  for (int length : {1, 15, 16, 56, 57, 119, 120, 200}) {
    for (unsigned long count : {1ul, 16ul, 17ul, 100ul}) {
      SCOPED_TRACE(testing::Message() << length << " and " << count);
      const std::string more(count, 'm');
      ZTKString text;
      text.Printf("%*d", length, 7);
      text.append(more.c_str());
      EXPECT_EQ(Std(text), std::string(static_cast<size_t>(length) - 1, ' ') + "7" + more);
      EXPECT_EQ(text.AllocatedSize(), (text.Len() & ~15ul) + 20);
    }
  }
}

TEST(ZTKString, ManyArgumentsSurviveARepeatedPass) {
  const std::string filler(900, '.');
  for (int width : {1, 200, 1500, 5000}) {
    SCOPED_TRACE(width);
    char expected[16384];
    const int length = std::snprintf(
        expected, sizeof expected,
        "%d %d %d %d %d %d %d %d %g %g %g %g %g %g %g %g %g %g %s %*d %s", 1, 2, 3, 4, 5, 6, 7, 8,
        0.5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5, filler.c_str(), width, 9, "end");
    ZTKString text;
    EXPECT_EQ(text.Printf("%d %d %d %d %d %d %d %d %g %g %g %g %g %g %g %g %g %g %s %*d %s", 1, 2,
                          3, 4, 5, 6, 7, 8, 0.5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5, 7.5, 8.5, 9.5,
                          filler.c_str(), width, 9, "end"),
              length);
    EXPECT_STREQ(text.c_str(), expected);
  }
}

TEST(ZTKString, AFormattedNulEndsTheText) {
  ZTKString text;
  EXPECT_EQ(text.Printf("ab%ccd", 0), 2);
  EXPECT_STREQ(text.c_str(), "ab");
  EXPECT_EQ(text.AllocatedSize(), 2u);
  EXPECT_EQ(text.Printf("ab%c%3000d", 0, 1), 2);
  EXPECT_STREQ(text.c_str(), "ab");
  EXPECT_EQ(text.AllocatedSize(), 2u);
  EXPECT_EQ(text.Printf("%70d%c%30d", 1, 0, 1), 70);
  EXPECT_EQ(text.AllocatedSize(), 70u);
  EXPECT_EQ(text.Printf("%c%3000d", 0, 1), 0);
  EXPECT_STREQ(text.c_str(), "");
  EXPECT_EQ(text.AllocatedSize(), 4096u + 20);
}

TEST(ZTKString, AFormatterThatFailsForGoodLeavesNothing) {
  ZTKString text("old");
  const wchar_t unencodable[] = {static_cast<wchar_t>(0xD800), 0};
  EXPECT_EQ(text.Printf("%ls", unencodable), kHasPosixFormats ? -1 : 0);
  EXPECT_STREQ(text.c_str(), "");

  text = "old";
  EXPECT_EQ(FormatUnchecked(text, "%2147483647d%5d", 1, 2), -1);
  EXPECT_STREQ(text.c_str(), "");

  EXPECT_LT(ProcessUse::Now().peakKiB, 512 * 1024);  // No block of a gigabyte was tried and filled.
}

TEST(ZTKString, AFieldBeyondTheGreatestLengthIsRefusedAtOnce) {
  const char* const word = "word";
  const auto refused = [](auto... args) {
    ZTKString text("old");
    EXPECT_EQ(FormatUnchecked(text, args...), -1);
    EXPECT_STREQ(text.c_str(), "");
  };
  const ProcessUse before = ProcessUse::Now();
  refused("%2000000000d", 1);
  refused("%.2000000000d", 1);
  refused("%1073741801d", 1);
  refused("%99999999999999999999999d", 1);
  refused("%-2000000000s", word);
  refused("%.2000000000f", 1.5);
  refused("%*d", INT_MAX, 1);
  refused("%*d", INT_MIN, 1);
  refused("%-*d", INT_MAX, 1);
  refused("%.*d", INT_MAX, 1);
  refused("%.*f", INT_MAX, 1.5);
  refused("%.*Lg", INT_MAX, 1.5L);
  refused("%.*p", INT_MAX, word);
  refused("%*s", INT_MAX, word);
  refused("%*c", 1073741801, 'c');
  refused("%5d%%%*.*f", 1, 10, INT_MAX, 1.5);
  refused("%1$*2$d", 1, INT_MAX);
  refused("%2$s%1$.*3$d", 1, word, INT_MAX);
  // Behind arguments of every size.
  refused("%hhd%hd%d%ld%lld%jd%zd%td%c%lc%g%Lg%s%p%.3s%m%*d", 1, 2, 3, 4L, 5LL, intmax_t{6},
          size_t{7}, ptrdiff_t{8}, 'c', wint_t{L'w'}, 1.5, 2.5L, word, word, word, INT_MAX, 1);
  const ProcessUse after = ProcessUse::Now();
  // Any one of them would take seconds, or gigabytes, if it were tried.
  EXPECT_LT(after.userSeconds - before.userSeconds, 2);
  EXPECT_LT(after.peakKiB - before.peakKiB, 256 * 1024);
}

TEST(ZTKString, WhatOnlyLooksLikeAWideFieldIsFormatted) {
  struct {
    int (*format)(ZTKString&);
    const char* expected;
  } const rows[] = {
      {[](ZTKString& s) { return FormatUnchecked(s, "%.*s", INT_MAX, "word"); }, "word"},
      {[](ZTKString& s) { return FormatUnchecked(s, "%.2000000000s", "word"); }, "word"},
      {[](ZTKString& s) { return FormatUnchecked(s, "%.*d", INT_MIN, 7); }, "7"},
      {[](ZTKString& s) { return FormatUnchecked(s, "%*d|%-*d|", -3, 7, 3, 8); }, "7  |8  |"},
      {[](ZTKString& s) { return FormatUnchecked(s, "2000000000* %%*d %d", 7); },
       "2000000000* %*d 7"},
      {[](ZTKString& s) { return FormatUnchecked(s, "%d * %d", INT_MAX, INT_MIN); },
       "2147483647 * -2147483648"},
      {[](ZTKString& s) { return FormatUnchecked(s, "%2$*1$d%3$s", 4, INT_MAX, "|"); },
       kHasPosixFormats ? "2147483647|" : "%2$*1$d%3$s"},
      {[](ZTKString& s) { return FormatUnchecked(s, "%0000000000012d", 7); }, "000000000007"},
      {[](ZTKString& s) { return FormatUnchecked(s, "%*.*f", 8, 2, 1.5); }, "    1.50"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.expected);
    ZTKString text;
    EXPECT_EQ(row.format(text), static_cast<int>(std::strlen(row.expected)));
    EXPECT_STREQ(text.c_str(), row.expected);
  }
}

// Numbers into text.

TEST(ZTKString, AppendsNumbers) {
  ZTKString text;
  text << INT_MIN << ' ' << UINT_MAX << ' ' << 0 << ' ' << -1L << ' ' << 7UL;
  EXPECT_STREQ(text.c_str(), "-2147483648 4294967295 0 -1 7");
}

TEST(ZTKString, AppendsTheWidestNumbers) {
  ZTKString text;
  text << LONG_MIN;
  EXPECT_EQ(Std(text), std::to_string(LONG_MIN));
  text.Empty();
  text << ULONG_MAX;
  EXPECT_EQ(Std(text), std::to_string(ULONG_MAX));
  text.Empty();
  text << LLONG_MIN;
  EXPECT_STREQ(text.c_str(), "-9223372036854775808");
  text.Empty();
  text << ULLONG_MAX;
  EXPECT_STREQ(text.c_str(), "18446744073709551615");
}

TEST(ZTKString, FloatsHaveSixDecimalsAndDoublesTheShortestForm) {
  ZTKString text;
  text << 1.5f << ' ' << 1.5 << ' ' << 1e100 << ' ' << -0.25f << ' ' << 1.5L;
  EXPECT_STREQ(text.c_str(), "1.500000 1.5 1e+100 -0.250000 1.5");
  text.Empty();
  text << -FLT_MAX;
  EXPECT_STREQ(text.c_str(), "-340282346638528859811704183484516925440.000000");
  text.Empty();
  text << -DBL_MAX << ' ' << DBL_MIN;
  EXPECT_STREQ(text.c_str(), "-1.79769e+308 2.22507e-308");
}

// Text into numbers.

TEST(ZTKString, ToLongWantsTheWholeText) {
  struct {
    const char* text;
    long base;
    bool expected;
    long value;
  } rows[] = {{"12", 10, true, 12},      {"12x", 10, false, 12},
              {"", 10, false, 0},        {" 12", 10, true, 12},
              {"12 ", 10, false, 12},    {"-12", 10, true, -12},
              {"+12", 10, true, 12},     {"-", 10, false, 0},
              {"+", 10, false, 0},       {"0x1f", 16, true, 31},
              {"0x1f", 0, true, 31},     {"017", 0, true, 15},
              {"0x1f", 10, false, 0},    {"z", 36, true, 35},
              {"101", 2, true, 5},       {"12", 2, false, 1},
              {"12", 1, false, 0},       {"12", -1, false, 0},
              {"12", 37, false, 0},      {"000000000000000000000000007", 10, true, 7},
              {"abc", 10, false, 0},     {"1\xB2", 10, false, 1},
              {"-0", 10, true, 0},       {"--1", 10, false, 0},
              {"+-1", 10, false, 0},     {"123456789", 10, true, 123456789},
              {"1:", 10, false, 1},      {":", 10, false, 0},
              {"1/", 10, false, 1},      {"/", 10, false, 0},
              {"12", -10, false, 0},     {"12", LONG_MAX, false, 0},
              {"12", LONG_MIN, false, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.text << " in " << row.base);
    long value = 99;
    EXPECT_EQ(ZTKString(row.text).ToLong(&value, row.base), row.expected);
    EXPECT_EQ(value, row.value);
  }
  long value = 99;
  EXPECT_FALSE(ZTKString().ToLong(&value, 10));
  EXPECT_EQ(value, 0);
  EXPECT_FALSE(ZTKString("1").ToLong(nullptr, 10));
}

TEST(ZTKString, OnlyTheBasesOfTheStandardAreKnown) {
  std::vector<long> bases = {LONG_MIN, LONG_MIN + 10, LONG_MAX};
  for (long base = -40; base <= 80; ++base) bases.push_back(base);
  // Equal to 10 and to 0 in 32 bits.
  for (long long base : {0x10000000ALL, 0x100000000LL}) {
    if (sizeof(long) > 4) bases.push_back(static_cast<long>(base));
  }
  for (long base : bases) {
    SCOPED_TRACE(base);
    const bool isKnown = base == 0 || (base >= 2 && base <= 36);
    long value = 99;
    EXPECT_EQ(ZTKString("1").ToLong(&value, base), isKnown);
    EXPECT_EQ(value, isKnown ? 1 : 0);
    unsigned long positive = 99;
    EXPECT_EQ(ZTKString("1").ToULong(&positive, base), isKnown);
    EXPECT_EQ(positive, isKnown ? 1u : 0u);
  }
}

TEST(ZTKString, NumbersPastTheRangeAreClampedAndCount) {
  long value = 0;
  EXPECT_TRUE(ZTKString(std::to_string(LONG_MAX).c_str()).ToLong(&value, 10));
  EXPECT_EQ(value, LONG_MAX);
  EXPECT_TRUE(ZTKString(std::to_string(LONG_MIN).c_str()).ToLong(&value, 10));
  EXPECT_EQ(value, LONG_MIN);
  EXPECT_TRUE(ZTKString("99999999999999999999").ToLong(&value, 10));
  EXPECT_EQ(value, LONG_MAX);
  EXPECT_TRUE(ZTKString("-99999999999999999999").ToLong(&value, 10));
  EXPECT_EQ(value, LONG_MIN);
  if (sizeof(long) == 8) {
    EXPECT_TRUE(ZTKString("99999999999").ToLong(&value, 10));
    EXPECT_EQ(static_cast<long long>(value), 99999999999LL);
  }
}

TEST(ZTKString, EveryDecimalLengthIsReadExactly) {
  std::string digits;
  for (int length = 1; length <= 25; ++length) {
    digits += static_cast<char>('0' + length % 10);
    for (const char* sign : {"", "-", "+", " ", "\t-"}) {
      const std::string model = sign + digits;
      long value = 0;
      EXPECT_TRUE(ZTKString(model.c_str()).ToLong(&value, 10)) << model;
      EXPECT_EQ(value, std::strtol(model.c_str(), nullptr, 10)) << model;
      unsigned long positive = 0;
      EXPECT_TRUE(ZTKString(model.c_str()).ToULong(&positive, 10)) << model;
      EXPECT_EQ(positive, std::strtoul(model.c_str(), nullptr, 10)) << model;
    }
  }
}

TEST(ZTKString, ToULongTakesASign) {
  unsigned long value = 0;
  EXPECT_TRUE(ZTKString("-1").ToULong(&value, 10));
  EXPECT_EQ(value, ULONG_MAX);
  EXPECT_TRUE(ZTKString("4294967295").ToULong(&value, 10));
  EXPECT_EQ(value, 4294967295u);
  EXPECT_TRUE(ZTKString("ff").ToULong(&value, 16));
  EXPECT_EQ(value, 255u);
  for (const char* text : {"12x", "12:", "12/"}) {
    EXPECT_FALSE(ZTKString(text).ToULong(&value, 10)) << text;
    EXPECT_EQ(value, 12u);
  }
  EXPECT_FALSE(ZTKString("").ToULong(&value, 10));
  EXPECT_FALSE(ZTKString("12").ToULong(&value, 1));
  EXPECT_EQ(value, 0u);
  EXPECT_FALSE(ZTKString("1").ToULong(nullptr, 10));
}

TEST(ZTKString, ToDoubleTakesWhatTheCLibraryTakes) {
  struct {
    const char* text;
    bool expected;
    double value;
  } rows[] = {{"1.5", true, 1.5},      {" -2e3", true, -2000},   {"0x10", true, 16},
              {"1.5x", false, 1.5},    {"", false, 0},           {"1,5", false, 1},
              {".", false, 0},         {"7", true, 7},           {"1.5 ", false, 1.5},
              {"inf", true, HUGE_VAL}, {"1e999", true, HUGE_VAL}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    double value = 99;
    EXPECT_EQ(ZTKString(row.text).ToDouble(&value), row.expected);
    EXPECT_EQ(value, row.value);
  }
  double value = 0;
  EXPECT_TRUE(ZTKString("nan").ToDouble(&value));
  EXPECT_TRUE(std::isnan(value));
  EXPECT_FALSE(ZTKString("1").ToDouble(nullptr));
}
