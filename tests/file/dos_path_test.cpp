// Where the volume of a Dos path ends. The function is compiled into the test: it is in no
// interface.

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "ztk/file/internal/dos_path.h"

namespace {

TEST(DosPath, TheVolumeIsADriveAShareOrANameOfTheSystem) {
  struct {
    std::string_view volume;
    std::string_view rest;
  } const rows[] = {
      {R"(C:)", R"(\dir)"},
      {R"(z:)", R"(dir)"},
      {R"(C:)", R"()"},
      {R"(C:)", R"(\\server\share)"},
      {R"(\\server\share)", R"(\dir)"},
      {R"(//server/share)", R"(/dir)"},
      {R"(/\server\share)", R"()"},
      {R"(\\server)", R"()"},
      {R"(\\server)", R"(\)"},
      {R"(\\server)", R"(\\share\dir)"},
      {R"(\\?\C:)", R"(\dir)"},
      {R"(//?/C:)", R"(/dir)"},
      {R"(\\?\Volume{0-1})", R"(\dir)"},
      {R"(\\?\UNC\server\share)", R"(\dir)"},
      {R"(\\?\unc\server\share)", R"()"},
      {R"(\\?\UNC\server)", R"()"},
      {R"(\\?\UNC)", R"(\)"},
      {R"(\\?\UNCLE)", R"(\server\share)"},
      {R"(\\.\pipe)", R"(\name)"},
      {R"(\\.\COM1)", R"()"},
      {R"(\\?)", R"(\)"},
      {R"()", R"()"},
      {R"()", R"(\)"},
      {R"()", R"(\\)"},
      {R"()", R"(\\\server\share)"},
      {R"()", R"(\dir)"},
      {R"()", R"(dir\f)"},
      {R"()", R"(f.txt:stream)"},
      {R"()", R"(1:\dir)"},
      {R"()", R"(CD:\dir)"},
      {R"()", R"(:)"},
  };
  for (const auto& row : rows) {
    const std::string path = std::string(row.volume) + std::string(row.rest);
    EXPECT_EQ(ZTKDosVolumeLength(path), row.volume.size()) << path;
  }
}

TEST(DosPath, TheVolumeNeverReachesPastThePath) {
  const std::string_view letters = R"(\/?.:CU)";
  std::string path;
  for (unsigned int n = 0; n < 7 * 7 * 7 * 7 * 7 * 7; ++n) {
    path.clear();
    for (unsigned int rest = n, i = 0; i < 6; ++i, rest /= 7) path += letters[rest % 7];
    const size_t length = ZTKDosVolumeLength(path);
    ASSERT_LE(length, path.size()) << path;
    const bool ends = length == 0 || length == 2 || length == path.size();
    ASSERT_TRUE(ends || ZTKIsDosSeparator(path[length])) << path;
  }
}

}  // namespace
