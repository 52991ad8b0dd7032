#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/foundation/string_support.h"
#include "ztk/foundation/string.h"

namespace {

int Sign(int n) { return (n > 0) - (n < 0); }

/// A string whose block ends where its text ends, so that a read past the end is noticed.
ZTKString Tight(const std::string& model) {
  ZTKString text(model.c_str());
  (void)text.Shrink();
  return text;
}

}  // namespace

// Searching.

TEST(ZTKString, FindsACharacterFromBothEnds) {
  const ZTKString text("abcabc");
  EXPECT_EQ(text.Find('a', 0), 0);
  EXPECT_EQ(text.Find('a', 1), 3);
  EXPECT_EQ(text.Find('c', 0), 2);
  EXPECT_EQ(text.Find('c', -1), 5);
  EXPECT_EQ(text.Find('x', 0), -1);
  EXPECT_EQ(text.Find('x', 1), -1);
  EXPECT_EQ(ZTKString("xa").Find('x', 1), 0);
  EXPECT_EQ(ZTKString("\xE9t\xE9").Find('\xE9', 1), 2);
}

TEST(ZTKString, FindsTheNulOnlyFromTheFrontOfANonEmptyString) {
  EXPECT_EQ(ZTKString("abc").Find('\0', 0), 3);
  EXPECT_EQ(ZTKString("abc").Find('\0', 1), -1);
  EXPECT_EQ(ZTKString().Find('\0', 0), -1);
  ZTKString emptied("abc");
  emptied.Empty();
  EXPECT_EQ(emptied.Find('\0', 0), -1);
}

TEST(ZTKString, FindsAText) {
  struct {
    const char* text;
    const char* wanted;
    long expected;
  } rows[] = {{"hello", "hello", 0},
              {"hello", "l", 2},
              {"hello", "lo", 3},
              {"hello", "lox", -1},
              {"hello", "hellohello", -1},
              {"hello", "", 5},
              {"", "", -1},
              {"", "a", -1},
              {"hello", nullptr, -1},
              {"", nullptr, -1},
              {"aaab", "aab", 1},
              {"abababc", "ababc", 2},
              {"a", "a", 0},
              {"xxa", "a", 2},
              {"\x80\xFF\x80", "\xFF\x80", 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.text << " / " << (row.wanted ? row.wanted : "null"));
    EXPECT_EQ(ZTKString(row.text).Find(row.wanted), row.expected);
    EXPECT_EQ(Tight(row.text).Find(row.wanted), row.expected);
  }
  EXPECT_EQ(ZTKString().Find("a"), -1);
  EXPECT_EQ(ZTKString().Find(""), -1);
}

TEST(ZTKString, FindsATextAtEveryPlaceOfEveryLength) {
  // Sizes around those in which a fast search steps.
  for (size_t length = 1; length <= 140; ++length) {
    for (size_t wanted = 1; wanted <= length && wanted <= 40; wanted += wanted < 10 ? 1 : 7) {
      for (size_t place = 0; place + wanted <= length; ++place) {
        std::string model(length, 'a');
        model[place + wanted - 1] = 'b';
        std::string needle(wanted, 'a');
        needle.back() = 'b';
        ASSERT_EQ(Tight(model).Find(needle.c_str()), static_cast<long>(model.find(needle)))
            << length << ", " << wanted << ", " << place;
      }
    }
  }
}

TEST(ZTKString, NearMatchesAreNoMatches) {
  // The first and the last character agree everywhere, the middle nowhere but at the end.
  std::string model;
  for (int i = 0; i < 300; ++i) model += "abxd";
  model += "abcd";
  EXPECT_EQ(Tight(model).Find("abcd"), 1200);
  EXPECT_EQ(Tight(model).Find("abyd"), -1);
  EXPECT_EQ(Tight(std::string(1000, 'a')).Find("aaaaaaaab"), -1);
  EXPECT_EQ(Tight(std::string(1000, 'a')).Find(std::string(1001, 'a').c_str()), -1);
  EXPECT_EQ(Tight(std::string(1000, 'a')).Find(std::string(1000, 'a').c_str()), 0);
}

TEST(ZTKString, FindsMembersOfASet) {
  struct {
    const char* text;
    const char* set;
    long first, last;
  } rows[] = {{"hello", "l", 2, 3},
              {"hello", "ho", 0, 4},
              {"hello", "h", 0, 0},
              {"hello", "xyz", -1, -1},
              {"hello", "", -1, -1},
              {"", "abc", -1, -1},
              {"hello", nullptr, -1, -1},
              {"a\xFF"
               "b",
               "\xFF", 1, 1},
              {"a/b\\c", "\\/", 1, 3}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.text << " / " << (row.set ? row.set : "null"));
    EXPECT_EQ(ZTKString(row.text).FindFirstOf(row.set), row.first);
    EXPECT_EQ(ZTKString(row.text).FindLastOf(row.set), row.last);
  }
  EXPECT_EQ(ZTKString().FindFirstOf("a"), -1);
  EXPECT_EQ(ZTKString().FindLastOf("a"), -1);
}

// Comparing.

TEST(ZTKString, ComparesBytesAsUnsignedAndThenLengths) {
  struct {
    const char* left;
    const char* right;
    int sign;
  } rows[] = {{"abc", "abc", 0},   {"b", "a", 1}, {"a", "b", -1},   {"ab", "abc", -1},
              {"abc", "ab", 1},    {"", "", 0},   {"", "a", -1},    {"a", "", 1},
              {"b", "abc", 1},     {"a", "A", 1}, {"\x80", "a", 1}, {"x\xFF", "x\x7F", 1},
              {"abcx", "abdw", -1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.left << " / " << row.right);
    const ZTKString left(row.left);
    const ZTKString right(row.right);
    EXPECT_EQ(Sign(left.Cmp(right)), row.sign);
    EXPECT_EQ(Sign(left.Cmp(row.right)), row.sign);
    EXPECT_EQ(left == right, row.sign == 0);
    EXPECT_EQ(left != right, row.sign != 0);
    EXPECT_EQ(left.IsSameAs(row.right, 1), row.sign == 0);
  }
}

TEST(ZTKString, CmpGivesTheNumberThatTheCLibraryGives) {
  int (*volatile const pCompare)(const void*, const void*, size_t) = std::memcmp;
  const struct {
    const char* left;
    const char* right;
    size_t length;  // The lesser of both.
  } rows[] = {{"ab", "az", 2}, {"zb", "ab", 2}, {"a\x01", "a\xFF", 2}, {"azz", "ab", 2}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.left);
    const int expected = pCompare(row.left, row.right, row.length);
    ZTKString left(row.left);
    EXPECT_EQ(left.Cmp(row.right), expected);
    EXPECT_EQ(left.Cmp(ZTKString(row.right)), expected);
    EXPECT_NE(left[0], '\0');  // From here on its length is counted.
    EXPECT_EQ(left.Cmp(row.right), expected);
    EXPECT_EQ(left.Cmp(ZTKString(row.right)), expected);
  }
}

TEST(ZTKString, LengthsDecideByOne) {
  EXPECT_EQ(ZTKString("ab").Cmp("abcdef"), -1);
  EXPECT_EQ(ZTKString("abcdef").Cmp("ab"), 1);
  EXPECT_EQ(ZTKString("abcdef").Cmp(ZTKString()), 1);
  EXPECT_EQ(ZTKString().Cmp(ZTKString("a")), -1);
}

TEST(ZTKString, ComparisonWithNullIsMinusTwo) {
  const ZTKString text("abc");
  EXPECT_EQ(text.Cmp(static_cast<const char*>(nullptr)), -2);
  EXPECT_EQ(text.CmpNoCase(static_cast<const char*>(nullptr)), -2);
  EXPECT_EQ(ZTKString().Cmp(static_cast<const char*>(nullptr)), -2);
  EXPECT_FALSE(ZTKString().IsSameAs(static_cast<const char*>(nullptr), 1));
  EXPECT_FALSE(ZTKString().IsSameAs(static_cast<const char*>(nullptr), 0));
  EXPECT_EQ(ZTKDoCmpNoCase(nullptr, 0, "a", 1), -2);
  EXPECT_EQ(ZTKDoCmpNoCase("a", 1, nullptr, 0), -2);
}

TEST(ZTKString, EqualsItself) {
  const ZTKString text("abc");
  EXPECT_EQ(text.Cmp(text), 0);
  EXPECT_EQ(text.CmpNoCase(text), 0);
}

TEST(ZTKString, WithoutCaseAMismatchIsOrderedByTheCharactersAsTheyStand) {
  struct {
    const char* left;
    const char* right;
    int expected;
  } rows[] = {{"abc", "ABC", 0},
              {"a", "B", 1},
              {"B", "a", -1},
              {"ABC", "abcd", -1},
              {"abcd", "ABC", 1},
              {"", "", 0},
              {"", "a", -1},
              {"a", "b", -1},
              {"\xE9", "a", -1},  // A byte from 0x80 on is a negative character.
              {"a", "\xE9", 1},
              {"\xFF", "a", -1},
              {"\xFF", "\xFF", 0},
              {"0123456789abcdefX", "0123456789ABCDEFx", 0},
              {"0123456789abcdefX", "0123456789ABCDEFy", -1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.left << " / " << row.right);
    const ZTKString left(row.left);
    EXPECT_EQ(left.CmpNoCase(row.right), row.expected);
    EXPECT_EQ(left.CmpNoCase(ZTKString(row.right)), row.expected);
    EXPECT_EQ(left.IsSameAs(row.right, 0), row.expected == 0);
  }
}

TEST(ZTKString, WithoutCaseEveryPositionCounts) {
  for (unsigned long length = 1; length < 40; ++length) {
    for (unsigned long place = 0; place < length; ++place) {
      std::string upper(length, 'Q');
      std::string lower(length, 'q');
      ASSERT_EQ(Tight(upper).CmpNoCase(lower.c_str()), 0);
      lower[place] = 'r';
      ASSERT_EQ(Tight(upper).CmpNoCase(lower.c_str()), -1);
      ASSERT_EQ(Tight(lower).CmpNoCase(upper.c_str()), 1);
    }
  }
}

TEST(ZTKString, WithoutCaseGivenLengthsReachPastANul) {
  EXPECT_EQ(ZTKDoCmpNoCase("a\0b", 3, "A\0B", 3), 0);
  EXPECT_EQ(ZTKDoCmpNoCase("a\0b", 3, "A\0c", 3), -1);
  EXPECT_EQ(ZTKDoCmpNoCase("abc", 2, "ABD", 2), 0);
}

TEST(ZTKString, SameAsACharacterNeedsExactlyOne) {
  EXPECT_TRUE(ZTKString("a").IsSameAs('a', 1));
  EXPECT_FALSE(ZTKString("a").IsSameAs('A', 1));
  EXPECT_TRUE(ZTKString("a").IsSameAs('A', 0));
  EXPECT_FALSE(ZTKString("a").IsSameAs('b', 0));
  EXPECT_FALSE(ZTKString("ab").IsSameAs('a', 1));
  EXPECT_FALSE(ZTKString().IsSameAs('\0', 1));
  EXPECT_TRUE(ZTKString("\xFF").IsSameAs('\xFF', 0));
}

// Parts.

TEST(ZTKString, TextAroundACharacter) {
  struct {
    const char* text;
    char ch;
    const char *afterFirst, *afterLast, *beforeFirst, *beforeLast;
  } rows[] = {{"a=b=c", '=', "b=c", "c", "a", "a=b"}, {"abc", '=', "", "abc", "abc", ""},
              {"/abc", '/', "abc", "abc", "", ""},    {"abc/", '/', "", "", "abc", "abc"},
              {"/a/", '/', "a/", "", "", "/a"},       {"", '=', "", "", "", ""},
              {"abc", '\0', "", "abc", "abc", ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.text << " / " << row.ch);
    const ZTKString text(row.text);
    EXPECT_EQ(Std(text.AfterFirst(row.ch)), row.afterFirst);
    EXPECT_EQ(Std(text.AfterLast(row.ch)), row.afterLast);
    EXPECT_EQ(Std(text.BeforeFirst(row.ch)), row.beforeFirst);
    EXPECT_EQ(Std(text.BeforeLast(row.ch)), row.beforeLast);
  }
}

TEST(ZTKString, LeftAndRight) {
  const ZTKString text("hello");
  EXPECT_EQ(Std(text.Left(2)), "he");
  EXPECT_EQ(Std(text.Left(0)), "");
  EXPECT_EQ(Std(text.Left(5)), "hello");
  EXPECT_EQ(Std(text.Left(kHuge)), "hello");
  EXPECT_EQ(Std(text.Right(2)), "lo");
  EXPECT_EQ(Std(text.Right(0)), "");
  EXPECT_EQ(Std(text.Right(5)), "hello");
  EXPECT_EQ(Std(text.Right(kHuge)), "hello");
  EXPECT_EQ(Std(ZTKString().Right(3)), "");
}

TEST(ZTKString, Mid) {
  const ZTKString text("hello");
  EXPECT_EQ(Std(text.Mid(2)), "llo");
  EXPECT_EQ(Std(text.Mid(0)), "hello");
  EXPECT_EQ(Std(text.Mid(1, 3)), "ell");
  EXPECT_EQ(Std(text.Mid(1, 0)), "");
  EXPECT_EQ(Std(text.Mid(3, 9)), "lo");
  EXPECT_EQ(Std(text.Mid(4, kHuge - 3)), "o");
  EXPECT_EQ(Std(text.Mid(5, 1)), "");
  EXPECT_EQ(Std(text.Mid(9, 1)), "");
  EXPECT_EQ(Std(text.Mid(kHuge, kHuge)), "");
}

TEST(ZTKString, SubStringIncludesBothEndsByItsFormula) {
  const ZTKString text("hello");
  EXPECT_EQ(Std(text.SubString(1, 3)), "ell");
  EXPECT_EQ(Std(text.SubString(2, 2)), "l");
  EXPECT_EQ(Std(text.SubString(3, 9)), "lo");
  EXPECT_EQ(Std(text.SubString(3, 2)), "");      // A count of 0.
  EXPECT_EQ(Std(text.SubString(3, 1)), "lo");    // A count of -1: to the end.
  EXPECT_EQ(Std(text.SubString(3, 0)), "lo");    // A huge count.
  EXPECT_EQ(Std(text.SubString(0, kHuge)), "");  // The count wraps to 0.
  EXPECT_EQ(Std(text.SubString(9, 12)), "");
}

// Tests.

TEST(ZTKString, IsNumber) {
  for (const char* yes : {"+", "-", "-12", "+0", "007", "12345678901234567890"}) {
    EXPECT_TRUE(ZTKString(yes).IsNumber()) << yes;
  }
  for (const char* no : {"", "1.5", " 1", "1 ", "1a", "a1", "--1", "+-1", "1-", "\xB2", "1\xB2"}) {
    EXPECT_FALSE(ZTKString(no).IsNumber()) << no;
  }
  EXPECT_FALSE(ZTKString().IsNumber());
}

TEST(ZTKString, IsAscii) {
  EXPECT_TRUE(ZTKString("abc\x01\x7F").IsAscii());
  EXPECT_FALSE(ZTKString().IsAscii());
  EXPECT_FALSE(ZTKString("").IsAscii());
  for (size_t length = 1; length < 40; ++length) {
    for (size_t place = 0; place < length; ++place) {
      std::string model(length, 'a');
      ASSERT_TRUE(Tight(model).IsAscii());
      model[place] = '\x80';
      ASSERT_FALSE(Tight(model).IsAscii()) << length << ", " << place;
    }
  }
}
