#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include "ztk/file/file.h"
#include "ztk/text/internal/line_end.h"

/// Collects small pieces of text and writes them to a file in large blocks. Not installed.
///
/// `Flush` writes the rest; nothing does so by itself. The results of the writes are the file's to
/// remember.
class ZTKBlockWriter {
 public:
  explicit ZTKBlockWriter(ZTKFile& file) noexcept : m_file(file) {}
  ZTKBlockWriter(const ZTKBlockWriter&) = delete;
  ZTKBlockWriter& operator=(const ZTKBlockWriter&) = delete;

  void Write(std::string_view text) noexcept {
    if (text.size() > sizeof m_block - m_nUsed) {
      Flush();
      if (text.size() >= sizeof m_block) {
        m_file.Write(text.data(), static_cast<unsigned long>(text.size()));
        return;
      }
    }
    std::memcpy(m_block + m_nUsed, text.data(), text.size());
    m_nUsed += text.size();
  }

  /// A text and the characters of a line end.
  void WriteLine(std::string_view text, ZTKTextFileType type) noexcept {
    const std::string_view end = ZTKLineEndText(type);
    if (text.size() + kLongestEnd > sizeof m_block - m_nUsed) {
      Write(text);
      Write(end);
      return;
    }
    std::memcpy(m_block + m_nUsed, text.data(), text.size());
    m_nUsed += text.size();
    for (const char ch : end) m_block[m_nUsed++] = ch;
  }

  void Flush() noexcept {
    if (m_nUsed > 0) m_file.Write(m_block, static_cast<unsigned long>(m_nUsed));
    m_nUsed = 0;
  }

 private:
  static constexpr size_t kLongestEnd = 2;

  ZTKFile& m_file;
  size_t m_nUsed = 0;
  char m_block[size_t{64} * 1024];
};
