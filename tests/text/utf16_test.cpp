#include "ztk/text/internal/utf16.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

// The byte order of 16-bit text is that of its file, not that of the machine.

namespace {

std::vector<uint16_t> Units(const std::string& bytes, bool isBigEndian) {
  std::vector<uint16_t> units(bytes.size() / 2);
  std::memcpy(units.data(), bytes.data(), 2 * units.size());
  ZTKUnitsFromBytes(units.data(), units.data() + units.size(), isBigEndian);
  return units;
}

}  // namespace

TEST(ZTKUtf16, UnitsAreMadeOfTheirBytesWhateverTheMachine) {
  std::string bytes;
  std::vector<uint16_t> little;
  std::vector<uint16_t> big;
  for (unsigned i = 0; i < 0x10000; i += 17) {
    bytes += static_cast<char>(i & 0xFF);
    bytes += static_cast<char>(i >> 8);
    little.push_back(static_cast<uint16_t>(i));
    big.push_back(static_cast<uint16_t>((i & 0xFF) * 256 + i / 256));
  }
  EXPECT_EQ(Units(bytes, false), little);
  EXPECT_EQ(Units(bytes, true), big);
}

TEST(ZTKUtf16, AUnitGivesItsBytesWhateverTheMachine) {
  const ZTKUnitBytes little(0x20AC, false);
  EXPECT_EQ(std::string(little.bytes, 2), "\xAC\x20");
  const ZTKUnitBytes big(0x20AC, true);
  EXPECT_EQ(std::string(big.bytes, 2), "\x20\xAC");
}
