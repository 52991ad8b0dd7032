#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include "tests/modern_cpp/format_cases.h"
#include "ztk/format_fmt.h"

namespace {

constexpr auto kFormat = [](const char* specification, const auto& value) {
  return fmt::format(fmt::runtime(specification), value);
};

TEST(FmtFormatter, WritesStringsAsText) { ExpectStringsAreFormattedAsText(kFormat); }
TEST(FmtFormatter, WritesFileNamesAsNativePaths) {
  ExpectFileNamesAreFormattedAsNativePaths(kFormat);
}
TEST(FmtFormatter, WritesDatesInOrder) { ExpectDatesAreFormattedInOrder(kFormat); }

TEST(FmtFormatter, RefusesANumbersSpecification) {
  EXPECT_THROW(kFormat("{:d}", ZTKString("text")), fmt::format_error);
}

TEST(FmtFormatter, JoinsTheStringsOfAnArray) {
  ZTKStringArray names;
  names.Add("fig", 2);
  names.Add("kiwi", 1);
  EXPECT_EQ(fmt::format("{}", fmt::join(names, ", ")), "fig, fig, kiwi");
}

}  // namespace
