#include "ztk/foundation/string.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/foundation/string_support.h"
#include "tests/foundation/unchecked_format.h"

TEST(ZTKString, PlusAppendsToItsLeftSide) {
  ZTKString text("abc");
  text + "d";
  EXPECT_STREQ(text.c_str(), "abcd");
  EXPECT_EQ(&(text + 'e'), &text);
  EXPECT_EQ(&(text + ZTKString("f")), &text);
  EXPECT_STREQ(text.c_str(), "abcdef");
}

TEST(ZTKString, EveryAppendChangesAndReturnsTheString) {
  ZTKString text;
  const ZTKString other("o");
  EXPECT_EQ(&text.append("a"), &text);
  EXPECT_EQ(&text.append(other), &text);
  EXPECT_EQ(&text.append('c', 2), &text);
  EXPECT_EQ(&(text << "d"), &text);
  EXPECT_EQ(&(text << other), &text);
  EXPECT_EQ(&(text << 'e'), &text);
  EXPECT_EQ(&(text += "f"), &text);
  EXPECT_EQ(&(text += other), &text);
  EXPECT_EQ(&(text += 'g'), &text);
  EXPECT_STREQ(text.c_str(), "aoccdoefog");
}

TEST(ZTKString, AppendingNothingAllocatesNothing) {
  ZTKString text;
  text.append(static_cast<const char*>(nullptr));
  text.append("").append(ZTKString()).append('x', 0);
  EXPECT_TRUE(text.ConcatSelf(5, nullptr, 5));
  EXPECT_TRUE(text.ConcatSelf(5, "", 5));
  EXPECT_EQ(text.AllocatedSize(), 0u);

  ZTKString shrunk("abc");
  ASSERT_TRUE(shrunk.Shrink());
  shrunk.append("").append('x', 0);
  EXPECT_EQ(shrunk.AllocatedSize(), 3u);
}

TEST(ZTKString, ConcatSelfTakesTheSmallestOfThreeCounts) {
  struct {
    unsigned long length, maximum;
    const char* expected;
  } rows[] = {{3, 3, ">abc"},    {2, 9, ">ab"},    {9, 2, ">ab"},
              {0, 9, ">"},       {9, 0, ">"},      {kHuge, kHuge, ">abcdef"},
              {6, 6, ">abcdef"}, {7, 7, ">abcdef"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.length << ", " << row.maximum);
    ZTKString text(">");
    EXPECT_TRUE(text.ConcatSelf(row.length, "abcdef", row.maximum));
    EXPECT_STREQ(text.c_str(), row.expected);
  }
}

TEST(ZTKString, ConcatSelfReadsNoFurtherThanAsked) {
  char three[3] = {'a', 'b', 'c'};  // No NUL behind them.
  ZTKString text;
  EXPECT_TRUE(text.ConcatSelf(3, three, 9));
  EXPECT_STREQ(text.c_str(), "abc");
}

TEST(ZTKString, AppendedNulsEndTheText) {
  ZTKString text("ab");
  text.append('\0', 3);
  EXPECT_EQ(text.Len(), 2u);
  EXPECT_EQ(text.DataLength(), 5u);
  text.append("c");
  EXPECT_STREQ(text.c_str(), "abc");
}

// Text of the string itself as an argument.

TEST(ZTKString, OwnTextIsAValidArgument) {
  struct {
    const char* name;
    void (*change)(ZTKString&);
    std::string (*expected)(const std::string&);
  } rows[] = {
      {"append itself", [](ZTKString& s) { s.append(s); },
       [](const std::string& m) { return m + m; }},
      {"+= itself", [](ZTKString& s) { s += s; }, [](const std::string& m) { return m + m; }},
      {"+= a tail", [](ZTKString& s) { s += s.c_str() + 2; },
       [](const std::string& m) { return m + m.substr(2); }},
      {"<< the last character", [](ZTKString& s) { s << s.c_str() + s.Len() - 1; },
       [](const std::string& m) { return m + m.back(); }},
      {"append the end", [](ZTKString& s) { s.append(s.c_str() + s.Len()); },
       [](const std::string& m) { return m; }},
      {"ConcatSelf", [](ZTKString& s) { s.ConcatSelf(5, s.c_str() + 1, 9); },
       [](const std::string& m) { return m + m.substr(1, 5); }},
      {"assign a tail", [](ZTKString& s) { s = s.c_str() + 1; },
       [](const std::string& m) { return m.substr(1); }},
      {"assign the whole", [](ZTKString& s) { s = s.c_str(); },
       [](const std::string& m) { return m; }},
      {"assign the end", [](ZTKString& s) { s = s.c_str() + s.Len(); },
       [](const std::string&) { return std::string(); }},
      {"InitWith", [](ZTKString& s) { s.InitWith(s.c_str(), 3, 4); },
       [](const std::string& m) { return m.substr(3, 4); }},
      {"Printf", [](ZTKString& s) { s.Printf("%s-%s", s.c_str(), s.c_str() + 1); },
       [](const std::string& m) { return m + "-" + m.substr(1); }},
      {"Printf, own format",
       [](ZTKString& s) {
         s.append("%%");
         FormatUnchecked(s, s.c_str(), 0);
       },
       [](const std::string& m) { return m + "%"; }},
      {"Replace itself", [](ZTKString& s) { s.Replace(s.c_str(), "new", 1); },
       [](const std::string&) { return std::string("new"); }},
      {"Replace by itself", [](ZTKString& s) { s.Replace("a", s.c_str(), 0); },
       [](const std::string& m) { return m + m.substr(1); }},
      {"Replace by a tail", [](ZTKString& s) { s.Replace("a", s.c_str() + s.Len() - 1, 0); },
       [](const std::string& m) { return m.back() + m.substr(1); }},
      {"Replace a tail by a tail", [](ZTKString& s) { s.Replace(s.c_str() + 2, s.c_str() + 1, 1); },
       [](const std::string& m) { return m.substr(0, 2) + m.substr(1); }},
      {"append an element", [](ZTKString& s) { s.append(s[1], 20); },
       [](const std::string& m) { return m + std::string(20, m[1]); }},
  };
  for (size_t length : {15u, 16u, 19u, 20u, 31u, 32u, 1023u, 1024u}) {
    for (bool shrunk : {false, true}) {
      for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.name << ", " << length << ", " << shrunk);
        std::string model;
        for (size_t i = 0; i < length; ++i) model += static_cast<char>(i == 0 ? 'a' : 'b' + i % 25);
        ZTKString text(model.c_str());
        if (shrunk) {
          ASSERT_TRUE(text.Shrink());
        }
        row.change(text);
        EXPECT_EQ(Std(text), row.expected(model));
      }
    }
  }
}

TEST(ZTKString, OwnTextBehindTheEndIsAValidArgument) {
  ZTKString text("abcdefghijklmnopqr");
  text.Truncate(2);
  text.append(text.c_str() + 3);  // What lies behind the new end, up to the old one.
  EXPECT_STREQ(text.c_str(), "abdefghijklmnopqr");
  text.Truncate(1);
  text = text.c_str() + 2;
  EXPECT_STREQ(text.c_str(), "defghijklmnopqr");
}
