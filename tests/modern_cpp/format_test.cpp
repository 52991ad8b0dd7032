#include "ztk/format.h"

#include <gtest/gtest.h>

#include "tests/modern_cpp/format_cases.h"

namespace {

#ifdef __cpp_lib_format

constexpr auto kFormat = [](const char* specification, const auto& value) {
  return std::vformat(specification, std::make_format_args(value));
};

TEST(StdFormatter, WritesStringsAsText) { ExpectStringsAreFormattedAsText(kFormat); }
TEST(StdFormatter, WritesFileNamesAsNativePaths) {
  ExpectFileNamesAreFormattedAsNativePaths(kFormat);
}
TEST(StdFormatter, WritesDatesInOrder) { ExpectDatesAreFormattedInOrder(kFormat); }
TEST(StdFormatter, RefusesANumbersSpecification) {
  EXPECT_THROW(kFormat("{:d}", ZTKString("text")), std::format_error);
}

#endif

// What both kinds of formatters write, whether or not there is one.
TEST(FormatText, IsTheTextOfAValue) {
  EXPECT_EQ(ZTKFormatText(ZTKString("text")), "text");
  EXPECT_EQ(ZTKFormatText(NativeFile()), NativeFile().GetFullPath(ZTKPathNative));
  const ZTKDateTime point(1, ZTKDateTime::MONTH_JAN, 1999, 23, 59, 58, 0);
  EXPECT_EQ(ZTKFormatText(point), ZTKString("1999-01-01 23:59:58"));
}

}  // namespace
