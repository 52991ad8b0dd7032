#include "examples/tour/tour.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "ztk/file/file_system.h"

void Title(std::string_view title) {
  std::printf("\n== %.*s ==\n\n", static_cast<int>(title.size()), title.data());
}

void Say(const char* pszFormat, ...) {
  std::printf("  ");
  va_list args;
  va_start(args, pszFormat);
  std::vprintf(pszFormat, args);
  va_end(args);
  std::printf("\n");
}

bool Expect(std::string_view what, std::string_view actual, std::string_view expected) {
  if (actual == expected) {
    while (!actual.empty() && actual.back() == '\n') actual.remove_suffix(1);
    std::printf("  [ok] %.*s: %.*s\n", static_cast<int>(what.size()), what.data(),
                static_cast<int>(actual.size()), actual.data());
    return true;
  }
  std::printf("  [DIFFERS] %.*s: \"%.*s\", expected \"%.*s\"\n", static_cast<int>(what.size()),
              what.data(), static_cast<int>(actual.size()), actual.data(),
              static_cast<int>(expected.size()), expected.data());
  return false;
}

bool Expect(std::string_view what, bool actual) {
  std::printf("  [%s] %.*s\n", actual ? "ok" : "DIFFERS", static_cast<int>(what.size()),
              what.data());
  return actual;
}

void ShowHex(std::string_view bytes) {
  constexpr size_t kPerLine = 16;
  if (bytes.empty()) std::printf("    (no bytes)\n");
  for (size_t start = 0; start < bytes.size(); start += kPerLine) {
    const std::string_view line = bytes.substr(start, kPerLine);
    std::printf("    %04zx  ", start);
    for (size_t i = 0; i < kPerLine; ++i) {
      if (i < line.size()) {
        std::printf("%02x ", static_cast<unsigned>(static_cast<unsigned char>(line[i])));
      } else {
        std::printf("   ");
      }
    }
    std::printf(" ");
    for (const char c : line) {
      const int byte = static_cast<unsigned char>(c);
      std::printf("%c", byte < 0x80 && std::isprint(byte) != 0 ? c : '.');
    }
    std::printf("\n");
  }
}

bool HasColonPaths() { return XPGetNativeSeparator() == ':'; }

std::string TourFile(std::string_view name) {
  std::string path = XPGetTempFolder().c_str();
  path += XPGetNativeSeparator();
  path += name;
  return path;
}

std::string FileBytes(const std::string& path) {
  std::ifstream in(XPMacPathToCompName(path.c_str()).c_str(), std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

void PutFileBytes(const std::string& path, std::string_view bytes) {
  std::ofstream out(XPMacPathToCompName(path.c_str()).c_str(), std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}
