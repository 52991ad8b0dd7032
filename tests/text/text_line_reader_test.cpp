#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"
#include "tests/text/text_line_collector.h"
#include "ztk/file/file.h"

// The reader by itself.

TEST(ZTKTextLineReader, StopsWhenTheSinkGivesUp) {
  TempDir dir;
  for (const std::string& text : {std::string("a\nb\nc\nd"), std::string("a\r\r\r\rb\nc"),
                                  std::string("a\r\nb\rc\nd"), std::string("a\nb\nc")}) {
    SCOPED_TRACE(testing::PrintToString(text));
    WriteWholeFile(dir / "text", text);
    ZTKFile file((dir / "text").c_str(), ZTKFile::read);
    LineCollector lines;
    lines.limit = 3;
    EXPECT_FALSE((ZTKTextLineReader<char, LineCollector>(lines).Run(file)));
    EXPECT_EQ(lines.lines.size(), 3u);
  }
}

TEST(ZTKFindLineEnd, FindsTheFirstOfEitherAtEveryPlace) {
  for (size_t length = 0; length <= 70; ++length) {
    std::vector<char> bytes(length, 'x');
    std::vector<uint16_t> units(length, uint16_t{0x0A0D});  // Neither, though its bytes are.
    ASSERT_EQ(ZTKFindLineEnd(bytes.data(), bytes.data() + length), bytes.data() + length);
    ASSERT_EQ(ZTKFindLineEnd(units.data(), units.data() + length), units.data() + length);
    for (size_t at = length; at-- > 0;) {
      // What follows are line ends, too, from the rounds before.
      bytes[at] = at % 2 == 0 ? '\r' : '\n';
      units[at] = at % 2 == 0 ? 0x0A : 0x0D;
      for (size_t from = 0; from <= at; ++from) {
        ASSERT_EQ(ZTKFindLineEnd(bytes.data() + from, bytes.data() + length), bytes.data() + at);
        ASSERT_EQ(ZTKFindLineEnd(units.data() + from, units.data() + length), units.data() + at);
      }
    }
  }
}
