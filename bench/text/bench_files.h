#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

// The files of 64 MiB that the benchmarks of text read and write. They lie in memory where the
// system has a folder for that.

namespace text_bench {

namespace fs = std::filesystem;
constexpr size_t kFileSize = size_t{64} << 20;

inline void AppendUtf8(std::string& text, char32_t ch) {
  const auto add = [&text](char32_t byte) { text += static_cast<char>(byte); };
  if (ch < 0x80) return add(ch);
  const int more = ch < 0x800 ? 1 : ch < 0x10000 ? 2 : 3;
  add((0xFF00u >> (more + 1) & 0xFF) | ch >> 6 * more);
  for (int i = more - 1; i >= 0; --i) add(0x80 | (ch >> 6 * i & 0x3F));
}

/// The folder of the files; removed at the end of the program.
class Files {
 public:
  Files() {
    std::string pattern =
        (fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()) /
        "ztk-bench-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    m_dir = pattern;
  }
  ~Files() { fs::remove_all(m_dir); }
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;

  std::string Path(const std::string& name) const { return (m_dir / name).string(); }

  /// A file of lines whose lengths vary around `average`.
  std::string Lines(size_t average, std::string_view mark = "") {
    const std::string path = Path("lines" + std::to_string(average) + (mark.empty() ? "" : "m"));
    if (fs::exists(path)) return path;
    std::string text(mark);
    text.reserve(kFileSize + 1024);
    unsigned random = 1;
    while (text.size() < kFileSize) {
      random = random * 1664525 + 1013904223;
      const size_t length = average / 2 + (random >> 16) % (average + 1);
      for (size_t i = 0; i < length; ++i) text += static_cast<char>('a' + (i * 7 + length) % 26);
      text += '\n';
    }
    Write(path, text);
    return path;
  }

  /// UTF-16LE in eight scripts, no word like another.
  std::string Utf16() {
    const std::string path = Path("utf16");
    if (fs::exists(path)) return path;
    std::u16string text = u"\uFEFF";
    text += Scripts(kFileSize / 2);
    Write(path, std::string_view(reinterpret_cast<const char*>(text.data()), 2 * text.size()));
    return path;
  }

  /// UTF-16LE of lines with one character each that is not ASCII.
  std::string Utf16Accents() {
    const std::string path = Path("utf16accents");
    if (fs::exists(path)) return path;
    std::u16string text = u"\uFEFF";
    while (text.size() < kFileSize / 2) {
      const size_t length = 30 + Random() % 61;
      const size_t accent = Random() % length;
      for (size_t i = 0; i < length; ++i) {
        text += i == accent ? u'\u00E9' : static_cast<char16_t>('a' + (i * 7 + length) % 26);
      }
      text += u"\r\n";
    }
    Write(path, std::string_view(reinterpret_cast<const char*>(text.data()), 2 * text.size()));
    return path;
  }

  /// The text of many scripts in UTF-8 without a mark.
  std::string Utf8() {
    const std::string path = Path("utf8");
    if (fs::exists(path)) return path;
    std::string text;
    for (const char32_t ch : CodePoints(Scripts(kFileSize / 2))) AppendUtf8(text, ch);
    text.resize(kFileSize);
    Write(path, text.substr(0, text.rfind('\n') + 1));
    return path;
  }

  /// Lines of about 60 characters in UTF-8 without a mark, each with one that is not ASCII.
  std::string OneAccentALine() {
    const std::string path = Path("accents");
    if (fs::exists(path)) return path;
    std::string text;
    text.reserve(kFileSize + 1024);
    while (text.size() < kFileSize) {
      const size_t length = 30 + Random() % 61;
      const size_t accent = Random() % length;
      for (size_t i = 0; i < length; ++i) {
        if (i == accent) text += "\xC3\xA9";
        text += static_cast<char>('a' + (i * 7 + length) % 26);
      }
      text += '\n';
    }
    Write(path, text);
    return path;
  }

  /// Latin letters with accents here and there, one byte each.
  std::string Windows1252() {
    const std::string path = Path("windows1252");
    if (fs::exists(path)) return path;
    std::string text;
    text.reserve(kFileSize + 1024);
    while (text.size() < kFileSize) {
      for (int i = 0; i < 60; ++i) {
        const unsigned pick = Random() % 64;
        // From \u00C0 to \u00FF, and the euro sign.
        text += pick == 0  ? '\x80'
                : pick < 6 ? static_cast<char>(0xC0 + Random() % 64)
                           : static_cast<char>('a' + pick % 26);
      }
      text += "\xE9 \n";  // No line is UTF-8.
    }
    Write(path, text);
    return path;
  }

 private:
  unsigned Random() {
    m_random = m_random * 1664525 + 1013904223;
    return m_random >> 16;
  }

  std::u16string Scripts(size_t nUnits) {
    static constexpr struct {
      char32_t first;
      unsigned count;
    } kScripts[] = {{'a', 26},       {U'\u03B1', 25},    {U'\u0430', 32},    {U'\u0627', 36},
                    {U'\u00E0', 23}, {U'\u4E00', 20000}, {U'\uAC00', 11000}, {U'\U0001F600', 79}};
    std::u16string text;
    while (text.size() < nUnits) {
      for (int word = 0; word < 8; ++word) {
        const auto& script = kScripts[Random() % 8];
        for (unsigned left = 1 + Random() % 9; left > 0; --left) {
          const char32_t ch = script.first + Random() % script.count;
          if (ch >= 0x10000) text += static_cast<char16_t>(0xD800 + ((ch - 0x10000) >> 10));
          text += static_cast<char16_t>(ch < 0x10000 ? ch : 0xDC00 + (ch & 0x3FF));
        }
        text += u' ';
      }
      text += u"\r\n";
    }
    return text;
  }

  static std::u32string CodePoints(const std::u16string& text) {
    std::u32string points;
    for (size_t i = 0; i < text.size(); ++i) {
      const char32_t unit = text[i];
      const bool isPair = unit >= 0xD800 && unit < 0xDC00;
      points += isPair ? 0x10000 + ((unit & 0x3FF) << 10) + (text[++i] & 0x3FFu) : unit;
    }
    return points;
  }

  static void Write(const std::string& path, std::string_view text) {
    std::ofstream(path, std::ios::binary)
        .write(text.data(), static_cast<std::streamsize>(text.size()));
  }

  fs::path m_dir;
  unsigned m_random = 1;
};

inline Files& TheFiles() {
  static Files files;
  return files;
}

inline void SetRate(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kFileSize));
}

}  // namespace text_bench
