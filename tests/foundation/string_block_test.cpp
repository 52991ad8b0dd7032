#include "ztk/foundation/string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "tests/foundation/string_support.h"

TEST(ZTKString, BlocksFollowOneRule) {
  struct {
    unsigned long request, size;
  } rows[] = {{0, 20},  {1, 20},      {15, 20},     {16, 36},     {31, 36},
              {32, 52}, {1023, 1028}, {1024, 1044}, {4095, 4100}, {65536, 65556}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.request);
    ZTKString fresh;
    EXPECT_TRUE(fresh.AllocBuffer(row.request));
    EXPECT_EQ(fresh.AllocatedSize(), row.size);
    EXPECT_EQ(fresh.Len(), 0u);

    ZTKString none;
    EXPECT_TRUE(none.Alloc(row.request));
    EXPECT_EQ(none.AllocatedSize(), row.size);

    if (row.request == 0) continue;
    EXPECT_EQ(ZTKString('x', row.request).AllocatedSize(), row.size);
    const std::string model(row.request, 'x');
    EXPECT_EQ(ZTKString(model.c_str()).AllocatedSize(), row.size);
    EXPECT_EQ(ZTKString(ZTKString(model.c_str())).AllocatedSize(), row.size);
  }
}

TEST(ZTKString, AppendsGrowByTheRuleAndNeverDouble) {
  ZTKString text;
  text.append('x', 1);
  EXPECT_EQ(text.AllocatedSize(), 20u);
  // A block of 20 holds 19 characters and the NUL.
  for (unsigned long length = 2; length <= 19; ++length) text.append('x', 1);
  EXPECT_EQ(text.AllocatedSize(), 20u);
  text.append('x', 1);
  EXPECT_EQ(text.AllocatedSize(), 36u);
  EXPECT_EQ(text.DataLength(), 20u);

  ZTKString atOnce;
  atOnce.append("0123456789abcdef");
  EXPECT_EQ(atOnce.AllocatedSize(), 36u);
}

TEST(ZTKString, EveryAppendLeavesTheSizeOfTheRule) {
  ZTKString text;
  unsigned long size = 0;
  for (unsigned long length = 1; length <= 2000; ++length) {
    text.append("y");
    if (size <= length) size = (length & ~15ul) + 20;
    ASSERT_EQ(text.AllocatedSize(), size) << length;
    ASSERT_EQ(text.Len(), length);
    ASSERT_EQ(text.DataLength(), length);
  }
}

TEST(ZTKString, GrowsByPiecesOfEverySize) {
  for (size_t step = 1; step <= 70; ++step) {
    SCOPED_TRACE(step);
    ZTKString text;
    std::string model;
    unsigned long size = 0;
    while (model.size() < 1500) {
      const std::string piece(step, static_cast<char>('a' + model.size() % 26));
      text.append(piece.c_str());
      model += piece;
      const auto length = static_cast<unsigned long>(model.size());
      if (size <= length) size = (length & ~15ul) + 20;
      ASSERT_EQ(Std(text), model);
      ASSERT_EQ(text.AllocatedSize(), size);
      ASSERT_EQ(text.DataLength(), length);
    }
  }
}

TEST(ZTKString, AppendsBehindTheFirstNulWhateverLengthIsRecorded) {
  for (unsigned long recorded : {1ul, 20ul, 63ul, 64ul, 65ul, 200ul}) {
    for (unsigned long cut = 0; cut <= recorded; ++cut) {
      SCOPED_TRACE(testing::Message() << cut << " of " << recorded);
      ZTKString text;
      for (unsigned long i = 0; i < recorded; ++i) text.append("x");
      const unsigned long size = text.AllocatedSize();
      text.Truncate(cut);
      EXPECT_EQ(text.DataLength(), recorded);
      text << "y" << 'z';
      EXPECT_EQ(Std(text), std::string(cut, 'x') + "yz");
      EXPECT_EQ(text.AllocatedSize(), size > cut + 2 ? size : ((cut + 2) & ~15ul) + 20);
      EXPECT_EQ(text.DataLength(), cut + 2);
    }
  }
  // Longer than recorded: characters that a caller put there.
  ZTKString text;
  ASSERT_TRUE(text.Alloc(300));
  char* const first = &(text = "x")[0];
  std::memset(first, 'x', 250);
  first[250] = '\0';
  EXPECT_EQ(text.DataLength(), 1u);
  text.append("y");
  EXPECT_EQ(Std(text), std::string(250, 'x') + "y");
}

TEST(ZTKString, OwnTextIsAppendedAtEveryLength) {
  for (unsigned long length = 1; length <= 300; ++length) {
    for (unsigned long offset : {0ul, 1ul, length / 2, length - 1}) {
      ZTKString text;
      std::string model;
      for (unsigned long i = 0; i < length; ++i) {
        const char piece[] = {static_cast<char>('a' + i % 26), '\0'};
        text.append(piece);
        model += piece;
      }
      text.append(text.c_str() + std::min(offset, length));
      ASSERT_EQ(Std(text), model + model.substr(std::min<size_t>(offset, length)))
          << length << " from " << offset;
    }
  }
}

TEST(ZTKString, AllocKeepsTheTextAndASufficientBlock) {
  ZTKString text("abcdef");
  EXPECT_TRUE(text.Alloc(19));
  EXPECT_EQ(text.AllocatedSize(), 20u);
  text.Truncate(2);
  EXPECT_EQ(text.DataLength(), 6u);
  EXPECT_TRUE(text.Alloc(20));
  EXPECT_EQ(text.AllocatedSize(), 36u);
  EXPECT_EQ(text.DataLength(), 2u);
  EXPECT_STREQ(text.c_str(), "ab");
}

TEST(ZTKString, AllocBufferDiscardsTheText) {
  ZTKString text("abcdef");
  EXPECT_TRUE(text.AllocBuffer(40));
  EXPECT_STREQ(text.c_str(), "");
  EXPECT_EQ(text.AllocatedSize(), 52u);
  EXPECT_EQ(text.DataLength(), 0u);
}

TEST(ZTKString, ShrinkRecordsTheLengthAsTheSize) {
  ZTKString text("abcdef");
  EXPECT_TRUE(text.Shrink());
  EXPECT_EQ(text.AllocatedSize(), 6u);
  EXPECT_EQ(text.DataLength(), 6u);
  EXPECT_STREQ(text.c_str(), "abcdef");
}

TEST(ZTKString, ShrinkOfAnEmptyStringKeepsTheBlock) {
  ZTKString text("abc");
  text.Empty();
  EXPECT_TRUE(text.Shrink());
  EXPECT_EQ(text.AllocatedSize(), 20u);
}

TEST(ZTKString, SecondShrinkTrustsTheRecordedLength) {
  ZTKString text("abcdef");
  EXPECT_TRUE(text.Shrink());
  text.Truncate(2);
  EXPECT_TRUE(text.Shrink());
  EXPECT_EQ(text.AllocatedSize(), 6u);
  EXPECT_EQ(text.Len(), 2u);
}

TEST(ZTKString, AppendsAfterShrinkGrowInTime) {
  for (unsigned long added : {0ul, 1ul, 15ul, 16ul}) {
    for (unsigned long length : {1ul, 15ul, 16ul, 19ul, 20ul, 36ul}) {
      SCOPED_TRACE(testing::Message() << length << " + " << added);
      ZTKString text('a', length);
      ASSERT_TRUE(text.Shrink());
      text.append('b', added);
      EXPECT_EQ(Std(text), std::string(length, 'a') + std::string(added, 'b'));
      if (added != 0) {
        EXPECT_EQ(text.AllocatedSize(), ((length + added) & ~15ul) + 20);
      }
      text.Clear();
      EXPECT_EQ(text.AllocatedSize(), 0u);
    }
  }
}

TEST(ZTKString, EmptyKeepsTheBlockAndClearFreesIt) {
  ZTKString text("abc");
  text.Empty();
  EXPECT_STREQ(text.c_str(), "");
  EXPECT_EQ(text.AllocatedSize(), 20u);
  EXPECT_EQ(text.DataLength(), 0u);
  text.Clear();
  EXPECT_EQ(text.AllocatedSize(), 0u);
}

TEST(ZTKString, OperationsThatChangeCharactersLeaveTheRecordedLength) {
  ZTKString text("  aBc  ");
  text.MakeLower().MakeUpper().TrimA().Truncate(2).erase(0, 1);
  EXPECT_STREQ(text.c_str(), "B");
  EXPECT_EQ(text.DataLength(), 7u);
}
