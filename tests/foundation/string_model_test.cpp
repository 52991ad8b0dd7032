#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "tests/foundation/string_walk.h"

// Random sequences of all operations, beside a string that does literally what is described. Every
// reference and pointer to a character is kept for as long as its block lives, and written through
// at any time: characters over NULs, and NULs into texts.

void StringWalk::Compare(StringSlot& slot) {
  const ZTKString& text = *slot.text;
  const LiteralString& model = slot.model;
  ASSERT_EQ(Std(text), model.Text());
  ASSERT_EQ(text.Len(), model.Len());
  ASSERT_EQ(text.AllocatedSize(), model.allocated);
  ASSERT_EQ(text.DataLength(), model.dataLength);
  ASSERT_EQ(text.view(), model.Text());
  Look(slot);
}

void StringWalk::Look(StringSlot& slot) {
  const ZTKString& text = *slot.text;
  const std::string expected = slot.model.Text();
  const std::string part = Below(2) != 0 ? Text() : expected.substr(Below(expected.size() + 1));
  const auto position = [](size_t at) {
    return at == std::string::npos ? -1 : static_cast<long>(at);
  };
  const auto sign = [](int n) { return (n > 0) - (n < 0); };
  const char ch = Character();
  const unsigned long number = Number(slot);
  switch (Below(10)) {
    case 0:
      ASSERT_EQ(text.Find(ch, 0), position(expected.find(ch)));
      ASSERT_EQ(text.Find(ch, 1), position(expected.rfind(ch)));
      ASSERT_EQ(text.Find('\0', 0), expected.empty() ? -1 : static_cast<long>(expected.size()));
      ASSERT_EQ(text.Find('\0', 1), -1);
      return;
    case 1:
      if (!part.empty()) {
        ASSERT_EQ(text.Find(part.c_str()), position(expected.find(part)));
      }
      ASSERT_EQ(text.FindLastOf(part.c_str()), position(expected.find_last_of(part)));
      return;
    case 2:
      ASSERT_EQ(sign(text.Cmp(part.c_str())), sign(expected.compare(part)));
      ASSERT_EQ(sign(text.Cmp(ZTKString(part.c_str()))), sign(expected.compare(part)));
      return;
    case 3: {
      const ZTKString& other = *m_slots[Below(m_slots.size())].text;
      ASSERT_EQ(text == other, expected == Std(other));
      ASSERT_EQ(sign(text.Cmp(other)), sign(expected.compare(Std(other))));
      ASSERT_EQ(text.CmpNoCase(other) == 0, Std(text.Lower()) == Std(other.Lower()));
      return;
    }
    case 4:
      ASSERT_EQ(Std(text.Mid(number, 5)),
                number < expected.size() ? expected.substr(number, 5) : std::string());
      ASSERT_EQ(Std(text.Left(number)), expected.substr(0, number));
      return;
    case 5:
      ASSERT_EQ(text[number], number < expected.size() ? expected[number] : '\0');
      ASSERT_EQ(text.Last(), expected.empty() ? '\0' : expected.back());
      return;
    case 6: {
      const ZTKString copy(text);
      ASSERT_EQ(Std(copy), expected);
      ASSERT_EQ(copy.Len(), expected.size());
      ASSERT_EQ(copy.AllocatedSize(), expected.empty() ? 0 : expected.size() / 16 * 16 + 20);
      return;
    }
    case 7: {
      const size_t at = expected.rfind(ch);
      ASSERT_EQ(Std(text.AfterLast(ch)),
                at == std::string::npos ? expected : expected.substr(at + 1));
      return;
    }
    case 8:
      ASSERT_EQ(text.IsSameAs(part.c_str(), 1), expected == part);
      return;
    default:
      ASSERT_EQ(Std(text.Right(number)),
                expected.substr(expected.size() - std::min<size_t>(number, expected.size())));
  }
}

TEST(ZTKStringModel, EveryOperationDoesWhatIsDescribedWhateverIsWrittenThroughKeptReferences) {
  // Other walks at each repetition of the test.
  static unsigned s_seed = 0;
  for (unsigned walks = 0; walks < 150; ++walks) {
    SCOPED_TRACE(++s_seed);
    StringWalk walk(s_seed);
    for (unsigned steps = 0; steps < 1000; ++steps) {
      walk.Step();
      if (HasFailure()) GTEST_FAIL() << "operation " << walk.Operation() << " in step " << steps;
    }
  }
}

// What the walk meets too seldom.

TEST(ZTKStringModel, ABlockThatGrowsWhereItLiesIsCountedAsBefore) {
  unsigned grown = 0;
  for (unsigned long length = 300; length < 6000; length += 100) {
    SCOPED_TRACE(length);
    ZTKString text('x', length);
    char& kept = text[length / 2];
    const char* const block = text.c_str();
    text.append("0123456789abcdef0123456789abcdef0123456789abcdef");
    ASSERT_GT(text.AllocatedSize(), length / 16 * 16 + 20);
    if (text.c_str() != block) continue;
    ++grown;
    kept = '\0';
    ASSERT_EQ(text.Len(), length / 2);
    text += 'y';
    ASSERT_EQ(text.Last(), 'y');
    ASSERT_EQ(text.DataLength(), length / 2 + 1);
  }
  // A sanitizer's allocator always gives another block.
  if (failing_allocator::Available()) {
    EXPECT_GT(grown, 0u);
  }
}

TEST(ZTKStringModel, ALengthIsKnownAfterEachOperationThatRecordsIt) {
  struct {
    const char* name;
    void (*change)(ZTKString&);
    bool isExact;
  } rows[] = {
      {"nothing", [](ZTKString&) {}, true},
      {"append", [](ZTKString& s) { s += "y"; }, true},
      {"append a NUL", [](ZTKString& s) { s += '\0'; }, false},
      {"append many NULs", [](ZTKString& s) { s.append('\0', 3); }, false},
      {"append behind a NUL", [](ZTKString& s) { (s += '\0') += 'x'; }, true},
      {"fill", [](ZTKString& s) { s.append('x', 100); }, true},
      {"number", [](ZTKString& s) { s << 12; }, true},
      {"assign", [](ZTKString& s) { s = "other"; }, true},
      {"Empty", [](ZTKString& s) { s.Empty(); }, true},
      {"Clear", [](ZTKString& s) { s.Clear(); }, false},
      {"Alloc", [](ZTKString& s) { EXPECT_TRUE(s.Alloc(1000)); }, true},
      {"AllocBuffer", [](ZTKString& s) { s.AllocBuffer(10); }, true},
      {"Shrink", [](ZTKString& s) { EXPECT_TRUE(s.Shrink()); }, true},
      {"Shrink, a size like one of the rule",
       [](ZTKString& s) { EXPECT_TRUE(s.Truncate(0).append('x', 20).Shrink()); }, true},
      {"Printf", [](ZTKString& s) { s.Printf("%s!", "formatted"); }, true},
      {"Replace, shorter", [](ZTKString& s) { s.Replace("t", "", 1); }, true},
      {"Replace, longer", [](ZTKString& s) { s.Replace("t", "ttttttttt", 1); }, true},
      {"MakeLower", [](ZTKString& s) { s.MakeLower(); }, true},
      {"Trim nothing", [](ZTKString& s) { s.TrimA().Trim(0).Trim(1); }, true},
      {"Truncate nothing", [](ZTKString& s) { s.Truncate(100).erase(100, 1).erase(1, 0); }, true},
      {"Truncate", [](ZTKString& s) { s.Truncate(3); }, false},
      {"Truncate, append", [](ZTKString& s) { s.Truncate(3) += "x"; }, true},
      {"erase", [](ZTKString& s) { s.erase(3, 1); }, false},
      {"Trim", [](ZTKString& s) { (s += ' ').Trim(1); }, false},
      {"out of range", [](ZTKString& s) { s[100] = '\0'; }, true},
      {"a reference", [](ZTKString& s) { s[0] = 'a'; }, false},
      {"a reference, append", [](ZTKString& s) { (s[0] = 'a', s) += "x"; }, false},
      {"a reference, another block",
       [](ZTKString& s) { EXPECT_TRUE((s.Last() = 'a', s).Shrink()); }, true},
      {"moved with a reference",
       [](ZTKString& s) {
         s[0] = 'a';
         ZTKString other(std::move(s));
         s.swap(other);
         s += "x";
       },
       false},
      {"bytes", [](ZTKString& s) { s.InitWith("a\0b", 0, 3); }, false},
      {"read from another", [](ZTKString& s) { s = ZTKString("long enough for a new block"); },
       true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ZTKString text("some letters");
    row.change(text);
    EXPECT_EQ(ZTKStringBlocks::IsExact(text), row.isExact);
    EXPECT_EQ(text.Len(), std::strlen(text.c_str()));
  }
}

TEST(ZTKStringModel, ComparingAndFindingAgreeWithALiteralCount) {
  static unsigned s_seed = 0;  // Others at each repetition of the test.
  std::minstd_rand random(++s_seed);
  const auto text = [&random](const std::string& like) {
    std::string result = like.substr(0, random() % (like.size() + 1));
    for (unsigned long n = random() % 3 == 0 ? random() % 80 : 0; n > 0; --n) {
      result += "aAbB@`[{\xE9\xC9\xFF."[random() % 12];
    }
    for (char& ch : result) {
      if (random() % 16 == 0) ch = static_cast<char>(ch ^ 0x20);
      if (ch == '\0') ch = ' ';
    }
    return result;
  };
  const auto sign = [](int n) { return (n > 0) - (n < 0); };
  std::string a;
  for (int i = 0; i < 50000; ++i) {
    const std::string b = text(a);
    const auto lengthA = static_cast<unsigned long>(a.size());
    const auto lengthB = static_cast<unsigned long>(b.size());
    const ZTKString known(a.c_str()), other(b.c_str());
    ZTKString counted(a.c_str());
    counted[0];  // A reference was given out.
    const int order = ZTKDoCmpNoCase(a.data(), lengthA, b.data(), lengthB);
    for (const ZTKString* string : {&known, static_cast<const ZTKString*>(&counted)}) {
      ASSERT_EQ(string->CmpNoCase(other), order) << a << " / " << b;
      ASSERT_EQ(string->CmpNoCase(b.c_str()), order) << a << " / " << b;
      ASSERT_EQ(sign(string->Cmp(other)), sign(a.compare(b))) << a << " / " << b;
      ASSERT_EQ(sign(string->Cmp(b.c_str())), sign(a.compare(b))) << a << " / " << b;
      ASSERT_EQ(*string == other, a == b);
      const char ch = b.empty() ? 'a' : b[random() % b.size()];
      ASSERT_EQ(string->Find(ch, 0), static_cast<long>(a.find(ch))) << a;
      ASSERT_EQ(string->Find(ch, 1), static_cast<long>(a.rfind(ch))) << a;
    }
    a = b;
  }
}
