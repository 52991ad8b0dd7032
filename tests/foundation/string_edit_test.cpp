#include <gtest/gtest.h>

#include <cctype>
#include <clocale>
#include <cstdlib>
#include <string>
#include <utility>

#include "tests/foundation/string_support.h"
#include "tests/support/temp_dir.h"
#include "ztk/foundation/string.h"

namespace {

/// What the C library says of a character passed as the signed value it has in memory.
template <typename Function>
int OfSigned(Function function, int byte) {
  return byte == 0xFF ? EOF : function(byte);
}

void ExpectCaseOfEveryByteFollowsTheLocale() {
  for (int byte = 1; byte < 256; ++byte) {
    SCOPED_TRACE(byte);
    const char ch = static_cast<char>(byte);
    const ZTKString text(ch, 40);
    const char lower = static_cast<char>(OfSigned(tolower, byte));
    const char upper = static_cast<char>(OfSigned(toupper, byte));
    EXPECT_EQ(Std(text.Lower()), std::string(40, lower));
    EXPECT_EQ(Std(text.Upper()), std::string(40, upper));
  }
}

void ExpectComparisonOfEveryPairFollowsTheLocale() {
  for (int left = 1; left < 256; ++left) {
    for (int right = 1; right < 256; ++right) {
      const char a = static_cast<char>(left);
      const char b = static_cast<char>(right);
      const bool isSame = OfSigned(tolower, left) == OfSigned(tolower, right);
      const bool isLess = static_cast<signed char>(a) < static_cast<signed char>(b);
      const int expected = isSame ? 0 : isLess ? -1 : 1;
      const std::string padding(20, 'p');
      for (const std::string& before : {std::string(), padding}) {
        const ZTKString one((before + a + "x").c_str());
        const ZTKString other((before + b + "X").c_str());
        ASSERT_EQ(one.CmpNoCase(other), expected) << left << " and " << right;
        ASSERT_EQ(ZTKDoCmpNoCase(&a, 1, &b, 1), expected) << left << " and " << right;
      }
    }
  }
}

void ExpectTrimOfEveryByteFollowsTheLocale() {
  for (int byte = 1; byte < 256; ++byte) {
    SCOPED_TRACE(byte);
    const char ch = static_cast<char>(byte);
    const bool isSpace = byte != 0x7F && byte != 0xFF && isspace(byte) != 0;
    ZTKString right("x");
    right.append(ch, 3).Trim(1);
    EXPECT_EQ(right.Len(), isSpace ? 1u : 4u);
    ZTKString left(ch, 3);
    left.append("x").Trim(0);
    EXPECT_EQ(left.Len(), isSpace ? 1u : 4u);
  }
}

/// An 8-bit locale, compiled for the test; `IsReady()` is false where that cannot be done.
class EightBitLocale {
 public:
  EightBitLocale(const std::string& language, const std::string& codeSet)
      : m_path("LOCPATH", m_dir.Path().string().c_str()) {
    const std::string name = language + '.' + codeSet;
    const std::string command =
        "localedef -i " + language + " -f " + codeSet + ' ' + (m_dir / name) + " >/dev/null 2>&1";
    if (std::system(command.c_str()) == 0) {
      m_isReady = std::setlocale(LC_ALL, name.c_str()) != nullptr;
    }
  }
  ~EightBitLocale() { std::setlocale(LC_ALL, "C"); }
  EightBitLocale(const EightBitLocale&) = delete;
  EightBitLocale& operator=(const EightBitLocale&) = delete;

  bool IsReady() const { return m_isReady; }

 private:
  TempDir m_dir;
  ScopedEnv m_path;
  bool m_isReady = false;
};

}  // namespace

// Case.

TEST(ZTKString, ChangesCaseInPlaceAndInACopy) {
  ZTKString text("Hello, World 1");
  EXPECT_EQ(Std(text.Lower()), "hello, world 1");
  EXPECT_EQ(Std(text.Upper()), "HELLO, WORLD 1");
  EXPECT_STREQ(text.c_str(), "Hello, World 1");
  EXPECT_EQ(&text.MakeUpper(), &text);
  EXPECT_STREQ(text.c_str(), "HELLO, WORLD 1");
  EXPECT_EQ(&text.MakeLower(), &text);
  EXPECT_STREQ(text.c_str(), "hello, world 1");
  EXPECT_EQ(ZTKString().Lower().AllocatedSize(), 0u);
}

TEST(ZTKString, CaseStopsAtTheEndOfTheText) {
  const char bytes[] = "AB\0CD";
  ZTKString text(bytes, bytes + 5);
  text.MakeLower();
  EXPECT_EQ(std::string(text.c_str(), 5), std::string("ab\0CD", 5));
}

TEST(ZTKString, CaseOfEveryByteInTheCLocale) { ExpectCaseOfEveryByteFollowsTheLocale(); }

TEST(ZTKString, CaseAndTrimFollowAnEightBitLocale) {
  EightBitLocale locale("fr_FR", "ISO-8859-1");
  if (!locale.IsReady()) GTEST_SKIP() << "no 8-bit locale can be compiled here";
  ExpectCaseOfEveryByteFollowsTheLocale();
  ExpectTrimOfEveryByteFollowsTheLocale();
  EXPECT_EQ(Std(ZTKString("\xC9t\xC9").Lower()), "\xE9t\xE9");
  EXPECT_EQ(ZTKString("\xC9").CmpNoCase("\xE9"), 0);
}

TEST(ZTKString, CaseOfEveryLength) {
  for (size_t length = 0; length < 300; ++length) {
    std::string model(length, 'M');
    ZTKString text(model.c_str());
    text.MakeLower();
    ASSERT_EQ(Std(text), std::string(length, 'm'));
    text.MakeUpper();
    ASSERT_EQ(Std(text), model);
  }
}

TEST(ZTKString, ComparisonOfEveryPairInTheCLocale) {
  ExpectComparisonOfEveryPairFollowsTheLocale();
}

// 0xFF is a capital letter in the one and 0xFD the small form of 'I' in the other.
TEST(ZTKString, ComparisonFollowsEightBitLocales) {
  for (const auto& [language, codeSet] :
       {std::pair("ru_RU", "KOI8-R"), std::pair("tr_TR", "ISO-8859-9")}) {
    SCOPED_TRACE(language);
    EightBitLocale locale(language, codeSet);
    if (!locale.IsReady()) GTEST_SKIP() << "no 8-bit locale can be compiled here";
    ExpectCaseOfEveryByteFollowsTheLocale();
    ExpectComparisonOfEveryPairFollowsTheLocale();
  }
}

// Trimming.

TEST(ZTKString, TrimsOneEndOrBoth) {
  struct {
    const char *text, *left, *right, *both;
  } rows[] = {{"  x y  ", "x y  ", "  x y", "x y"},
              {"   ", "", "", ""},
              {"", "", "", ""},
              {"x", "x", "x", "x"},
              {" \t\r\n\v\fx", "x", " \t\r\n\v\fx", "x"},
              {"x \t\r\n\v\f", "x \t\r\n\v\f", "x", "x"},
              {"x y", "x y", "x y", "x y"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    ZTKString left(row.text);
    EXPECT_EQ(&left.Trim(0), &left);
    EXPECT_EQ(Std(left), row.left);
    ZTKString right(row.text);
    EXPECT_EQ(&right.Trim(1), &right);
    EXPECT_EQ(Std(right), row.right);
    ZTKString both(row.text);
    EXPECT_EQ(&both.TrimA(), &both);
    EXPECT_EQ(Std(both), row.both);
  }
}

TEST(ZTKString, TrimOfEveryByteInTheCLocale) {
  ExpectTrimOfEveryByteFollowsTheLocale();
  EXPECT_EQ(Std(ZTKString("x\xC3\xA0").Trim(1)), "x\xC3\xA0");
  EXPECT_EQ(Std(ZTKString(" \x7F ").TrimA()), "\x7F");
}

// Replacing.

TEST(ZTKString, ReplacesOneOrAll) {
  struct {
    const char *text, *wanted, *put;
    int all;
    unsigned long count;
    const char* expected;
  } rows[] = {{"xyz", "a", "b", 1, 0, "xyz"},
              {"aaa", "a", "b", 1, 3, "bbb"},
              {"aXa", "a", "aa", 0, 1, "aaXa"},
              {"aXa", "a", "aa", 1, 2, "aaXaa"},
              {"aXa", "a", "", 1, 2, "X"},
              {"aXa", "a", "", 0, 1, "Xa"},
              {"aaa", "a", "", 1, 3, ""},
              {"aaaa", "aa", "a", 1, 2, "aa"},
              {"aaaaa", "aa", "b", 1, 2, "bba"},
              {"abcabc", "abc", "abc", 1, 2, "abcabc"},
              {"abcabc", "abc", "ab", 0, 1, "ababc"},
              {"one two", "two", "three four five six seven eight nine ten", 1, 1,
               "one three four five six seven eight nine ten"},
              {"", "a", "b", 1, 0, ""},
              {"abc", "abcd", "b", 1, 0, "abc"},
              {"a\nb\nc", "\n", "\r\n", 1, 2, "a\r\nb\r\nc"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.text << " / " << row.wanted << " / " << row.put);
    ZTKString text(row.text);
    EXPECT_EQ(text.Replace(row.wanted, row.put, row.all), row.count);
    EXPECT_EQ(Std(text), row.expected);
    ZTKString tight(row.text);
    ASSERT_TRUE(tight.Shrink());
    EXPECT_EQ(tight.Replace(row.wanted, row.put, row.all), row.count);
    EXPECT_EQ(Std(tight), row.expected);
  }
}

TEST(ZTKString, ReplaceRefusesNothing) {
  ZTKString text("abc");
  EXPECT_EQ(text.Replace(nullptr, "x", 1), 0u);
  EXPECT_EQ(text.Replace("", "x", 1), 0u);
  EXPECT_EQ(text.Replace("a", nullptr, 1), 0u);
  EXPECT_STREQ(text.c_str(), "abc");
  EXPECT_EQ(ZTKString().Replace("a", "b", 1), 0u);
}

TEST(ZTKString, ReplaceAssignsItsResult) {
  // A result that fits keeps the block, one that does not gets a block by the rule.
  ZTKString text('a', 100);
  const char* block = text.c_str();
  EXPECT_EQ(text.Replace("a", "", 0), 1u);
  EXPECT_EQ(text.c_str(), block);
  EXPECT_EQ(text.AllocatedSize(), 116u);
  EXPECT_EQ(text.DataLength(), 99u);

  EXPECT_EQ(text.Replace("aaa", "aaaa", 0), 1u);
  EXPECT_EQ(text.c_str(), block);
  EXPECT_EQ(text.DataLength(), 100u);

  EXPECT_EQ(text.Replace("a", "bb", 1), 100u);
  EXPECT_EQ(text.AllocatedSize(), (200u & ~15u) + 20);
  EXPECT_EQ(text.DataLength(), 200u);

  EXPECT_EQ(text.Replace("b", "", 1), 200u);
  EXPECT_EQ(text.AllocatedSize(), (200u & ~15u) + 20);
  EXPECT_EQ(text.DataLength(), 0u);
}

TEST(ZTKString, ReplaceByTheSameTextChangesNothing) {
  ZTKString text("abcabc");
  text.Truncate(5);
  EXPECT_EQ(text.Replace("ab", "ab", 1), 2u);
  EXPECT_STREQ(text.c_str(), "abcab");
  EXPECT_EQ(text.DataLength(), 6u);
}

TEST(ZTKString, ReplaceAgreesWithAPlainModel) {
  for (const char* wanted : {"a", "ab", "aba", "needle!!"}) {
    for (const char* put : {"", "b", "ab", "xyz", "a much longer replacement text"}) {
      for (size_t repeats : {1u, 3u, 50u, 700u}) {
        SCOPED_TRACE(testing::Message() << wanted << " / " << put << " / " << repeats);
        std::string model;
        for (size_t i = 0; i < repeats; ++i) model += i % 3 == 0 ? "xabayneedle!!" : "abab--";
        ZTKString text(model.c_str());

        std::string expected;
        unsigned long count = 0;
        size_t start = 0;
        for (size_t at; (at = model.find(wanted, start)) != std::string::npos; ++count) {
          expected += model.substr(start, at - start) + put;
          start = at + std::string(wanted).size();
        }
        expected += model.substr(start);
        EXPECT_EQ(text.Replace(wanted, put, 1), count);
        EXPECT_EQ(Std(text), expected);
      }
    }
  }
}
