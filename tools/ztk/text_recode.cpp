#include "tools/ztk/text_recode.h"

#include <string>
#include <string_view>
#include <vector>

#include "tools/ztk/text_scan.h"
#include "ztk/foundation/internal/windows1252.h"

namespace {

constexpr size_t kCopyBlock = size_t{1} << 16;

bool IsUtf8Line(std::string_view line) {
  TextScanner scanner;
  scanner.Feed("    ");  // A mark is none behind the start of a text.
  scanner.Feed(line);
  return !scanner.Finish().firstIllFormed;
}

// All characters of Windows-1252 are below U+10000, and are two bytes or three beyond ASCII.
void AppendFromWindows1252(std::string_view line, std::string& out) {
  for (const char ch : line) {
    const unsigned codePoint = ztk_windows1252::ToCodePoint(static_cast<unsigned char>(ch));
    if (codePoint < 0x80) {
      out += ch;
    } else {
      if (codePoint < 0x800) {
        out += static_cast<char>(0xC0 | codePoint >> 6);
      } else {
        out += static_cast<char>(0xE0 | codePoint >> 12);
        out += static_cast<char>(0x80 | (codePoint >> 6 & 0x3F));
      }
      out += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
  }
}

}  // namespace

uint64_t CopyAsUtf8(Input& text, Spool& copy) {
  std::string out = "\xEF\xBB\xBF";
  std::string line;
  const auto endLine = [&] {
    if (IsUtf8Line(line)) {
      out += line;
    } else {
      AppendFromWindows1252(line, out);
    }
    line.clear();
    if (out.size() < kCopyBlock) return;
    copy.Put(out);
    out.clear();
  };
  std::vector<char> block(kCopyBlock);
  uint64_t nRead = 0;
  while (const size_t nCount = text.Read(block.data(), block.size())) {
    nRead += nCount;
    for (const char ch : std::string_view(block.data(), nCount)) {
      line += ch;
      if (ch == '\n' || ch == '\r') endLine();
    }
  }
  endLine();
  copy.Put(out);
  return nRead;
}
