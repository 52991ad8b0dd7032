#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#ifdef _WIN32
#include "tests/support/scoped_code_page_win32.h"
#endif
#include "tests/support/native_path.h"
#include "tests/support/temp_dir.h"
#include "tests/text/text_reference.h"
#include "ztk/foundation/text_conversion.h"
#include "ztk/text/text_file.h"

using text_reference::Line;
using Lines = std::vector<Line>;

/// Lines without a mark are UTF-8 where they can be, while it lives: the tests have no locale of
/// their own, and on Windows such lines are of the code page of the system, which is UTF-8 then.
class Utf8CodePage {
 public:
#ifdef _WIN32
  Utf8CodePage() : m_page(kCodePageUtf8) {}

 private:
  const ScopedCodePage m_page;
#else
  Utf8CodePage() {}
#endif
};

/// The lines that a buffer holds, and as many types.
inline Lines LinesOf(const ZTKTextBuffer& buffer) {
  Lines lines;
  for (const ZTKString& line : buffer) {
    lines.push_back({std::string(line.view()), buffer.GetLineType(lines.size())});
  }
  EXPECT_EQ(lines.size(), buffer.GetLineCount());
  return lines;
}

/// Bytes in which NULs count.
template <size_t N>
std::string Bytes(const char (&literal)[N]) {
  return std::string(literal, N - 1);
}

/// UTF-16 with its mark.
inline std::string Utf16(std::u16string_view text, bool bigEndian = false) {
  std::string bytes;
  const auto put = [&](char16_t unit) {
    const char low = static_cast<char>(unit & 0xFF);
    const char high = static_cast<char>(unit >> 8);
    bytes += bigEndian ? high : low;
    bytes += bigEndian ? low : high;
  };
  put(0xFEFF);
  for (const char16_t unit : text) put(unit);
  return bytes;
}

/// Tests that read and write files in a folder of their own, and have another to work in.
class ZTKTextFileTest : public testing::Test {
 protected:
  ZTKTextFileTest() : m_inWork(m_work.Path()) {}

  std::string Path(std::string_view name = "text") const { return m_dir / name; }
  /// The same path as a text file takes it.
  std::string Native(std::string_view name = "text") const { return NativePath(Path(name)); }

  /// Writes a file and reads it as text.
  Lines Read(std::string_view bytes) {
    WriteWholeFile(Path(), bytes);
    ZTKTextFile file(Native().c_str());
    EXPECT_TRUE(file.Open());
    m_encoding = file.GetEncoding();
    return LinesOf(file);
  }

  /// The encoding that the last `Read` found.
  int m_encoding = -1;

  const TempDir& Work() const { return m_work; }

 private:
  TempDir m_dir;
  TempDir m_work;
  ScopedWorkingDirectory m_inWork;
};
