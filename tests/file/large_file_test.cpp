// Files that 32 bits cannot count. Those here are sparse: they take next to no room.

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <string>

#include "tests/support/native_path.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"
#include "ztk/file/file_system.h"

namespace {

constexpr std::int64_t kGiB = std::int64_t{1} << 30;
constexpr std::int64_t kLargest = LONG_MAX;

// What an operation with a `long` answers where its twin answers `nPosition`.
long AsLong(std::int64_t nPosition) {
  return nPosition > kLargest ? -1 : static_cast<long>(nPosition);
}

void WriteAt(ZTKFile& file, std::int64_t position, const std::string& text) {
  ASSERT_EQ(file.Seek64(position, ZTKFromStart), position);
  ASSERT_EQ(file.Write(text.data(), static_cast<unsigned long>(text.size())), text.size());
}

std::string ReadAt(ZTKFile& file, std::int64_t position, unsigned long count) {
  std::string text(count, '?');
  EXPECT_EQ(file.Seek64(position, ZTKFromStart), position);
  text.resize(file.Read(text.data(), count));
  return text;
}

class LargeFile : public testing::Test {
 protected:
  // Five GiB and some, with a text before and behind each number that 31 and 32 bits end at.
  void SetUp() override {
    ASSERT_TRUE(m_file.XPCreate(NativePath(m_path).c_str(), true, 0666));
    for (const std::int64_t at : {2 * kGiB, 4 * kGiB, 5 * kGiB}) WriteAt(m_file, at - 3, "abcdef");
    ASSERT_TRUE(m_file.Flush());
  }

  TempDir m_dir;
  const std::string m_path = m_dir / "large";
  ZTKFile m_file;
};

TEST_F(LargeFile, IsReadAndWrittenAcrossEveryWidth) {
  for (const std::int64_t at : {2 * kGiB, 4 * kGiB, 5 * kGiB}) {
    SCOPED_TRACE(at);
    EXPECT_EQ(ReadAt(m_file, at - 3, 6), "abcdef");
    EXPECT_EQ(m_file.Tell64(), at + 3);
    WriteAt(m_file, at - 2, "XY");
    EXPECT_EQ(ReadAt(m_file, at - 3, 6), "aXYdef");
  }
  EXPECT_EQ(ReadAt(m_file, 5 * kGiB - 4096, 4), std::string(4, '\0'));
  EXPECT_TRUE(m_file.Close());
  EXPECT_FALSE(m_file.HasError());
}

TEST_F(LargeFile, HasALengthThatLeavesThePosition) {
  ASSERT_EQ(m_file.Seek64(3 * kGiB, ZTKFromStart), 3 * kGiB);
  EXPECT_EQ(m_file.Length64(), 5 * kGiB + 3);
  EXPECT_EQ(m_file.Length(), AsLong(5 * kGiB + 3));
  EXPECT_EQ(m_file.Tell64(), 3 * kGiB);
  EXPECT_EQ(m_file.Tell(), AsLong(3 * kGiB));
}

TEST_F(LargeFile, IsSoughtFromEveryOrigin) {
  EXPECT_EQ(m_file.Seek64(-4 * kGiB, ZTKFromEnd), kGiB + 3);
  EXPECT_EQ(m_file.Seek64(3 * kGiB, ZTKFromCurrent), 4 * kGiB + 3);
  EXPECT_EQ(m_file.Seek64(-3 * kGiB, ZTKFromCurrent), kGiB + 3);
  EXPECT_EQ(m_file.Seek64(-1, ZTKFromEnd), -1);  // As always.
  EXPECT_EQ(m_file.Seek64(-6 * kGiB, ZTKFromEnd), -1);
  EXPECT_EQ(m_file.Seek64(0, static_cast<ZTKSeekMode>(9)), -1);
  EXPECT_EQ(m_file.Tell64(), kGiB + 3);
  EXPECT_EQ(ZTKSeek64(m_file.GetHandle(), -1, 2), 5 * kGiB + 2);
  EXPECT_EQ(ZTKTell64(m_file.GetHandle()), 5 * kGiB + 2);
}

TEST_F(LargeFile, APositionThatALongCannotHoldIsRefusedAndNothingMoves) {
  for (const std::int64_t start : {std::int64_t{7}, 3 * kGiB}) {
    SCOPED_TRACE(start);
    ASSERT_EQ(m_file.Seek64(start, ZTKFromStart), start);
    EXPECT_EQ(m_file.Seek(0, ZTKFromEnd), AsLong(5 * kGiB + 3));
    EXPECT_EQ(m_file.Tell64(), kLargest < 5 * kGiB ? start : 5 * kGiB + 3);
    ASSERT_EQ(m_file.Seek64(start, ZTKFromStart), start);
    EXPECT_EQ(m_file.Seek(INT_MAX - 8, ZTKFromStart), INT_MAX - 8);  // Fits, and so moves.
  }
}

TEST_F(LargeFile, IsAppendedToAtItsEnd) {
  ASSERT_TRUE(m_file.Close());
  ZTKFile file(NativePath(m_path).c_str(), ZTKFile::append);
  EXPECT_EQ(file.Tell64(), 5 * kGiB + 3);
  EXPECT_EQ(file.Write("gh", 2), 2u);
  EXPECT_EQ(file.Tell64(), 5 * kGiB + 5);
  ASSERT_TRUE(file.XPOpen(NativePath(m_path).c_str(), ZTKFile::read, 0));
  EXPECT_EQ(ReadAt(file, 5 * kGiB, 9), "defgh");
  EXPECT_TRUE(file.XPEof());
}

}  // namespace
