#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>

#include "tests/foundation/string_support.h"
#include "tests/support/failing_allocator.h"
#include "ztk/foundation/internal/string_block.h"
#include "ztk/foundation/string.h"

// Strings without memory, strings of the greatest length, and strings in someone else's block.

namespace {

/// Gigabytes of memory that could be used now; 0 where that is not known.
long AvailableGigabytes() {
  std::ifstream info("/proc/meminfo");
  std::string key, unit;
  long kilobytes = 0;
  while (info >> key >> kilobytes) {
    if (key == "MemAvailable:") return kilobytes / (1024 * 1024);
    std::getline(info, unit);
  }
  return 0;
}

}  // namespace

// When memory runs out.

TEST(ZTKString, WithoutMemoryAnOperationDoesNothingOrLeavesAnEmptyString) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is a sanitizer's";
  struct {
    const char* name;
    void (*run)(ZTKString&);
  } rows[] = {
      {"append a text", [](ZTKString& s) { s.append("0123456789012345678901234567890123456789"); }},
      {"append a character", [](ZTKString& s) { s.append('x', 100); }},
      {"append a number", [](ZTKString& s) { s << 1234567890 << 1234567890 << 1.5; }},
      {"assign", [](ZTKString& s) { s = "0123456789012345678901234567890123456789"; }},
      {"Alloc", [](ZTKString& s) { EXPECT_FALSE(s.Alloc(100)); }},
      {"AllocBuffer", [](ZTKString& s) { EXPECT_FALSE(s.AllocBuffer(100)); }},
      {"InitWith", [](ZTKString& s) { s.InitWith("abc", 0, 3); }},
      {"Replace", [](ZTKString& s) { s.Replace("e", "0123456789", 1); }},
      {"Printf", [](ZTKString& s) { s.Printf("%d", 5); }},
      {"Printf, long", [](ZTKString& s) { s.Printf("%2000d", 5); }},
      {"Printf, empty", [](ZTKString& s) { s.Printf("%s", ""); }},
      {"Printf, NUL", [](ZTKString& s) { s.Printf("%c%2000d", 0, 5); }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    // A failed growth gives up the old block without freeing it, as documented; the test frees it.
    ZTKString text("seven eleven");
    const char* block = text.c_str();
    {
      failing_allocator::Scope none(0);
      row.run(text);
      EXPECT_TRUE(none.Failed());
    }
    if (text.AllocatedSize() == 0) {
      EXPECT_STREQ(text.c_str(), "");
      EXPECT_EQ(text.DataLength(), 0u);
    } else {
      EXPECT_EQ(text.c_str(), block);
      EXPECT_STREQ(text.c_str(), "seven eleven");
    }
    text = "usable again";
    EXPECT_STREQ(text.c_str(), "usable again");
  }
}

TEST(ZTKString, WithoutMemoryTheOldBlockStaysReadable) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is a sanitizer's";
  ZTKString text("seven");
  char* held = &text[0];
  {
    failing_allocator::Scope none(0);
    EXPECT_FALSE(text.Alloc(100));
  }
  EXPECT_EQ(text.AllocatedSize(), 0u);
  EXPECT_STREQ(held, "seven");
  std::free(held);
}

TEST(ZTKString, WithoutMemoryShrinkKeepsTheString) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is a sanitizer's";
  ZTKString text("seven");
  {
    failing_allocator::Scope none(0);
    EXPECT_FALSE(text.Shrink());
  }
  EXPECT_STREQ(text.c_str(), "seven");
  EXPECT_EQ(text.AllocatedSize(), 20u);
}

TEST(ZTKString, WithoutMemoryCopiesAndPartsAreEmpty) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is a sanitizer's";
  const ZTKString text("key=value");
  failing_allocator::Scope none(0);
  EXPECT_EQ(ZTKString(text).AllocatedSize(), 0u);
  EXPECT_EQ(text.Upper().AllocatedSize(), 0u);
  EXPECT_EQ(text.AfterFirst('=').AllocatedSize(), 0u);
  EXPECT_EQ(ZTKString("abc").AllocatedSize(), 0u);
  EXPECT_EQ(ZTKString('a', 5).AllocatedSize(), 0u);
  EXPECT_EQ(ZTKString::Format("%d", 5).AllocatedSize(), 0u);
}

TEST(ZTKString, EverySingleFailureIsSurvived) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is a sanitizer's";
  for (long before = 0;; ++before) {
    SCOPED_TRACE(before);
    ZTKString text;
    failing_allocator::Scope one(before, 1);
    text << "some text " << 12 << ' ' << 1.5f;
    text.Replace("t", "a text that is longer", 1);
    text.Printf("%s and %3000d", text.c_str(), 5);
    text = text.Mid(3).Upper();
    text.Replace(" ", "", 1);
    if (text.Len() != 0) text.append(text);
    EXPECT_EQ(text.Len(), std::strlen(text.c_str()));
    if (!one.Failed()) break;
    ASSERT_LT(before, 100);
  }
}

TEST(ZTKString, WithoutMemoryReplacingIsCompleteOrDoesNothing) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is a sanitizer's";
  struct {
    const char* name;
    void (*prepare)(ZTKString&);
    const char *wanted, *put, *result;
    unsigned long count;
    const char* ofItsOwn;  // The result where the text's own end is what is wanted.
  } rows[] = {
      {"longer", [](ZTKString&) {}, "e", "0123456789", "s0123456789v0123456789n", 2,
       "seve0123456789"},
      {"longer, within the capacity", [](ZTKString& s) { EXPECT_TRUE(s.Alloc(100)); }, "e", "eee",
       "seeeveeen", 2, "seveeee"},
      {"longer, shrunk", [](ZTKString& s) { EXPECT_TRUE(s.Shrink()); }, "e", "ee", "seeveen", 2,
       "seveee"},
      {"as long, shrunk", [](ZTKString& s) { EXPECT_TRUE(s.Shrink()); }, "e", "x", "sxvxn", 2,
       "sevex"},
      {"shorter, shrunk", [](ZTKString& s) { EXPECT_TRUE(s.Shrink()); }, "ve", "-", "se-n", 1,
       "seve-"},
      {"nothing", [](ZTKString&) {}, "e", "", "svn", 2, "seve"},
  };
  for (const auto& row : rows) {
    for (const bool isOwnText : {false, true}) {
      for (long before = 0;; ++before) {
        SCOPED_TRACE(testing::Message() << row.name << ", allocation " << before);
        ZTKString text("seven");
        row.prepare(text);
        const char* const result = isOwnText ? row.ofItsOwn : row.result;
        unsigned long count;
        bool failed;
        {
          failing_allocator::Scope one(before, 1);
          count = text.Replace(isOwnText ? text.c_str() + 4 : row.wanted, row.put, 1);
          failed = one.Failed();
        }
        if (count == 0) {
          EXPECT_TRUE(failed);
          EXPECT_STREQ(text.c_str(), "seven");
        } else {
          EXPECT_EQ(count, isOwnText ? 1 : row.count);
          EXPECT_STREQ(text.c_str(), result);
        }
        if (!failed) break;
        ASSERT_LT(before, 20);
      }
    }
  }
}

// The greatest length.

TEST(ZTKString, RequestsPastTheMaximumAreCapped) {
  EXPECT_EQ(ZTKStringBlocks::BlockSize(ZTKString::kMaxLength), ZTKString::kMaxBlock);
  EXPECT_EQ(ZTKStringBlocks::BlockSize(ZTKString::kMaxLength - 1), ZTKString::kMaxBlock);
  EXPECT_EQ(ZTKStringBlocks::BlockSize(kHuge), ZTKString::kMaxBlock);
  EXPECT_EQ(ZTKStringBlocks::BlockSize(0), 20u);
  EXPECT_EQ(ZTKStringBlocks::BlockSize(ZTKString::kMaxLength - 24), 0x3FFFFFE4u);
}

TEST(ZTKString, NoOperationMakesAStringLongerThanTheMaximum) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "too large under a sanitizer";
  if (sizeof(long) < 8 || AvailableGigabytes() < 4) GTEST_SKIP() << "needs 4 GiB of memory";

  constexpr unsigned long kMax = ZTKString::kMaxLength;
  ZTKString text;
  text.append('x', kHuge);
  ASSERT_EQ(text.Len(), kMax);
  EXPECT_EQ(text.AllocatedSize(), ZTKString::kMaxBlock);
  text.append('y', 1).append("y").append(text);
  EXPECT_EQ(text.Len(), kMax);
  EXPECT_EQ(text.Last(), 'x');

  // The text before the second match does not fit any more: nothing is replaced.
  text[5] = '!';
  text.Last() = '!';
  EXPECT_EQ(text.Replace("!", "1234567", 1), 0u);
  EXPECT_EQ(text[5], '!');
  EXPECT_EQ(text.Len(), kMax);
  // With one match only, the rest is cut.
  text.Last() = 'z';
  EXPECT_EQ(text.Replace("!", "12", 1), 1u);
  EXPECT_EQ(text.Len(), kMax);
  EXPECT_EQ(text[6], '2');
  EXPECT_EQ(text.Last(), 'x');

  text.Truncate(kMax - 2);
  text.append("abc");
  EXPECT_EQ(text.Len(), kMax);
  EXPECT_EQ(text.Last(), 'b');
}

TEST(ZTKString, FormattingIsCutAtTheMaximum) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "too large under a sanitizer";
  if (sizeof(long) < 8 || AvailableGigabytes() < 4) GTEST_SKIP() << "needs 4 GiB of memory";
  constexpr auto kMax = static_cast<int>(ZTKString::kMaxLength);
  ZTKString text;
  EXPECT_EQ(text.Printf("%*d%s", kMax, 7, "cut"), kMax);
  EXPECT_EQ(text.Last(), '7');
}

// In a borrowed block.

namespace {

/// A string whose block of 36 bytes is borrowed, with guarded characters in front of it and behind
/// it.
class BorrowingString {
 public:
  explicit BorrowingString(const char* psz) {
    std::memset(m_storage, '#', sizeof m_storage);
    std::strcpy(m_storage + 8, psz);
    ZTKStringBlocks::BorrowBlock(text, m_storage + 8, ZTKCountOf(std::strlen(psz)), 36);
  }
  ~BorrowingString() {
    text.Clear();
    EXPECT_EQ(std::string(m_storage, 8), "########");
    EXPECT_EQ(std::string(m_storage + 8 + 36, 8), "########");
  }
  BorrowingString(const BorrowingString&) = delete;
  BorrowingString& operator=(const BorrowingString&) = delete;

  bool IsInside() const { return text.c_str() == m_storage + 8; }

  ZTKString text;

 private:
  char m_storage[8 + 36 + 8];
};

}  // namespace

TEST(ZTKString, BorrowedBlockReportsLikeAnOwnedOne) {
  BorrowingString borrowing("sixteen letters!");
  const ZTKString owned("sixteen letters!");
  EXPECT_EQ(borrowing.text.AllocatedSize(), owned.AllocatedSize());
  EXPECT_EQ(borrowing.text.DataLength(), owned.DataLength());
  EXPECT_TRUE(borrowing.text == owned);
  EXPECT_TRUE(ZTKStringBlocks::IsBorrowed(borrowing.text));
  EXPECT_FALSE(ZTKStringBlocks::IsBorrowed(owned));
}

TEST(ZTKString, BorrowedBlockBehavesLikeAnOwnedOne) {
  struct {
    const char* name;
    void (*change)(ZTKString&);
    bool staysInside;
  } rows[] = {
      {"append that fits", [](ZTKString& s) { s.append("1234567890123456789"); }, true},
      {"append that does not", [](ZTKString& s) { s.append("12345678901234567890"); }, false},
      {"append itself", [](ZTKString& s) { s.append(s).append(s).append(s.c_str() + 1); }, false},
      {"fill that does not fit", [](ZTKString& s) { s.append('x', 20); }, false},
      {"number", [](ZTKString& s) { s << 12345; }, true},
      {"Alloc", [](ZTKString& s) { EXPECT_TRUE(s.Alloc(36)); }, false},
      {"Alloc that fits", [](ZTKString& s) { EXPECT_TRUE(s.Alloc(35)); }, true},
      {"Alloc that fits after a cut", [](ZTKString& s) { EXPECT_TRUE(s.Truncate(2).Alloc(35)); },
       true},
      {"AllocBuffer", [](ZTKString& s) { EXPECT_TRUE(s.AllocBuffer(2)); }, false},
      {"Shrink", [](ZTKString& s) { EXPECT_TRUE(s.Shrink()); }, false},
      {"InitWith", [](ZTKString& s) { s.InitWith("new", 0, 3); }, false},
      {"assign", [](ZTKString& s) { s = "a short one"; }, true},
      {"assign a long one", [](ZTKString& s) { s = ZTKString('y', 200); }, false},
      {"assign a tail", [](ZTKString& s) { s = s.c_str() + 4; }, true},
      {"Empty", [](ZTKString& s) { s.Empty(); }, true},
      {"Clear", [](ZTKString& s) { s.Clear(); }, false},
      {"Truncate", [](ZTKString& s) { s.Truncate(3); }, true},
      {"erase", [](ZTKString& s) { s.erase(3, 4); }, true},
      {"case", [](ZTKString& s) { s.MakeUpper(); }, true},
      {"Printf", [](ZTKString& s) { s.Printf("%s!", s.c_str()); }, false},
      {"Printf, empty", [](ZTKString& s) { s.Printf("%s", ""); }, false},
      {"Replace, shorter", [](ZTKString& s) { s.Replace("t", "", 1); }, true},
      {"Replace, longer", [](ZTKString& s) { s.Replace("t", "tt", 1); }, true},
      {"Replace, too long", [](ZTKString& s) { s.Replace("t", "0123456789", 1); }, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    BorrowingString borrowing("sixteen letters!");
    ZTKString owned("sixteen letters!");
    row.change(borrowing.text);
    row.change(owned);
    EXPECT_EQ(Std(borrowing.text), Std(owned));
    EXPECT_EQ(borrowing.text.AllocatedSize(), owned.AllocatedSize());
    EXPECT_EQ(borrowing.text.DataLength(), owned.DataLength());
    EXPECT_EQ(borrowing.IsInside(), row.staysInside);
    EXPECT_EQ(ZTKStringBlocks::IsBorrowed(borrowing.text), row.staysInside);
  }
}

TEST(ZTKString, CopyOfABorrowingStringOwnsItsBlock) {
  ZTKString copy;
  {
    BorrowingString borrowing("sixteen letters!");
    copy = borrowing.text;
    const ZTKString second(borrowing.text);
    EXPECT_FALSE(ZTKStringBlocks::IsBorrowed(second));
  }
  EXPECT_FALSE(ZTKStringBlocks::IsBorrowed(copy));
  EXPECT_STREQ(copy.c_str(), "sixteen letters!");
}

TEST(ZTKString, BorrowedTextBehindTheEndMovesAlong) {
  BorrowingString borrowing("0123456789abcdefghij");
  borrowing.text.Truncate(2);
  borrowing.text.append('x', 0);
  borrowing.text.append(borrowing.text.c_str() + 3);
  EXPECT_STREQ(borrowing.text.c_str(), "013456789abcdefghij");
  borrowing.text.Truncate(19);
  borrowing.text.append(borrowing.text.c_str());
  EXPECT_STREQ(borrowing.text.c_str(), "013456789abcdefghij013456789abcdefghij");
}
