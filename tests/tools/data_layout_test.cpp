#include "tools/ztk/data_layout.h"

#include <gtest/gtest.h>

#include "tools/ztk/data_reader.h"
#include "tools/ztk/failure.h"
#include "ztk/stream/memory_stream.h"

namespace {

TEST(DataLayout, KnowsEveryWord) {
  const std::vector<Field> fields = ParseLayout("u8 i8 u16 i16,u32\ti32  u64 i64\nf80 str skip");
  ASSERT_EQ(fields.size(), 11u);
  const std::vector<FieldType> expected = {FieldType::kU8,     FieldType::kI8,  FieldType::kU16,
                                           FieldType::kI16,    FieldType::kU32, FieldType::kI32,
                                           FieldType::kU64,    FieldType::kI64, FieldType::kF80,
                                           FieldType::kString, FieldType::kSkip};
  for (size_t i = 0; i < fields.size(); ++i) {
    EXPECT_EQ(fields[i].type, expected[i]);
    EXPECT_EQ(fields[i].nCount, 1u);
    EXPECT_FALSE(fields[i].untilEnd);
  }
}

TEST(DataLayout, CountsRepetitions) {
  const std::vector<Field> fields = ParseLayout("u16*3 skip*0 str*");
  ASSERT_EQ(fields.size(), 3u);
  EXPECT_EQ(fields[0].nCount, 3u);
  EXPECT_EQ(fields[1].nCount, 0u);
  EXPECT_TRUE(fields[2].untilEnd);
}

TEST(DataLayout, NamesWhatItDoesNotUnderstand) {
  for (const char* layout : {"", " , ", "u7", "U8", "u8*x", "u8*-1", "u8*3x", "*", "*3",
                             "u8*99999999999999999999", "u8* u8"}) {
    SCOPED_TRACE(layout);
    try {
      ParseLayout(layout);
      FAIL() << "it was taken";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.Code(), kUsage);
      EXPECT_EQ(std::string(failure.what()).rfind("layout: ", 0), 0u) << failure.what();
    }
  }
}

// What a data stream writes, in one byte order.
std::string Record(ZTKDataStream::BytesOrder order) {
  ZTKMemoryOutputStream memory;
  ZTKDataStream data(memory);
  data.SetNetWorkByteOrderTo(order);
  data << static_cast<unsigned char>(200) << static_cast<short>(-2) << 70000u << -5LL << 0.1
       << "pear";
  std::string bytes(static_cast<size_t>(memory.TellO()), '\0');
  memory.CopyTo(bytes.data(), bytes.size());
  return bytes;
}

TEST(DataReader, ReadsWhatADataStreamWroteInBothOrders) {
  for (const auto order : {ZTKDataStream::LittleEndian, ZTKDataStream::BigEndian}) {
    SCOPED_TRACE(order);
    const std::string bytes = Record(order);
    DataReader reader(bytes, ParseLayout("u8 i16 u32 i64 f80 str"), order);
    EXPECT_EQ(std::get<uint64_t>(reader.Next()->value), 200u);
    EXPECT_EQ(std::get<int64_t>(reader.Next()->value), -2);
    EXPECT_EQ(std::get<uint64_t>(reader.Next()->value), 70000u);
    EXPECT_EQ(std::get<int64_t>(reader.Next()->value), -5);
    EXPECT_EQ(std::get<double>(reader.Next()->value), 0.1);
    const std::optional<DataValue> text = reader.Next();
    ASSERT_TRUE(text.has_value());
    EXPECT_EQ(std::get<std::string>(text->value), "pear");
    EXPECT_EQ(text->nOffset, 1u + 2 + 4 + 8 + 10);
    EXPECT_FALSE(reader.Next().has_value());
    EXPECT_EQ(reader.Left(), 0u);
  }
}

TEST(DataReader, SkipsBytesAndTakesTheRest) {
  const std::string bytes = "..\x01\x02\x03";
  DataReader reader(bytes, ParseLayout("skip*2 u8*"), ZTKDataStream::LittleEndian);
  for (uint64_t value = 1; value <= 3; ++value) {
    const std::optional<DataValue> next = reader.Next();
    ASSERT_TRUE(next.has_value());
    EXPECT_EQ(next->nOffset, value + 1);
    EXPECT_EQ(std::get<uint64_t>(next->value), value);
  }
  EXPECT_FALSE(reader.Next().has_value());
}

TEST(DataReader, ShowsAMarkAndANulInsideAString) {
  const std::string bytes("\x05\0\0\0\xEF\xBB\xBF\0a", 9);
  DataReader reader(bytes, ParseLayout("str"), ZTKDataStream::LittleEndian);
  EXPECT_EQ(std::get<std::string>(reader.Next()->value), std::string("\xEF\xBB\xBF\0a", 5));
}

TEST(DataReader, TellsWhereTheDataEnd) {
  struct Row {
    std::string bytes;
    const char* layout;
    const char* text;
  };
  const std::vector<Row> rows = {
      {"abc", "u32", "at byte 0: u32 needs 4 bytes, 3 are left"},
      {"abc", "u8 u32", "at byte 1: u32 needs 4 bytes, 2 are left"},
      {std::string("\xFF\xFF\xFF\xFF"
                   "abc"),
       "str", "at byte 0: str needs 4294967299 bytes, 7 are left"},
      {std::string("\x02\0\0\0a", 5), "str", "at byte 0: str needs 6 bytes, 5 are left"},
      {"abc", "u16*", "at byte 2: u16 needs 2 bytes, 1 are left"},
      {"", "u8*2", "at byte 0: u8 needs 1 bytes, 0 are left"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.layout);
    DataReader reader(row.bytes, ParseLayout(row.layout), ZTKDataStream::LittleEndian);
    try {
      while (reader.Next()) continue;
      FAIL() << "the data reached";
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.Code(), kNo);
      EXPECT_STREQ(failure.what(), row.text);
    }
  }
}

}  // namespace
