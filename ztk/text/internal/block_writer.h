#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <string_view>

#include "ztk/file/file.h"
#include "ztk/text/internal/line_end.h"

/// Collects small pieces of text and writes them to a file in large blocks. Not installed.
///
/// `Flush` writes the rest; nothing does so by itself. The results of the writes are the file's to
/// remember. The large block is allocated, since the stack of a thread may be smaller; if that
/// fails the blocks are small.
class ZTKBlockWriter {
 public:
  static constexpr size_t kLeastSize = 512;

  explicit ZTKBlockWriter(ZTKFile& file) noexcept
      : m_file(file),
        m_large(new (std::nothrow) char[kLarge]),
        m_pBlock(m_large != nullptr ? m_large.get() : m_small),
        m_nSize(m_large != nullptr ? kLarge : sizeof m_small) {}
  ZTKBlockWriter(const ZTKBlockWriter&) = delete;
  ZTKBlockWriter& operator=(const ZTKBlockWriter&) = delete;

  void Write(std::string_view text) noexcept {
    if (text.size() > m_nSize - m_nUsed) {
      Flush();
      if (text.size() >= m_nSize) {
        m_file.Write(text.data(), static_cast<unsigned long>(text.size()));
        return;
      }
    }
    std::memcpy(m_pBlock + m_nUsed, text.data(), text.size());
    m_nUsed += text.size();
  }

  /// A text and the characters of a line end.
  void WriteLine(std::string_view text, ZTKTextFileType type) noexcept {
    const std::string_view end = ZTKLineEndText(type);
    if (text.size() + kLongestEnd > m_nSize - m_nUsed) {
      Write(text);
      Write(end);
      return;
    }
    std::memcpy(m_pBlock + m_nUsed, text.data(), text.size());
    m_nUsed += text.size();
    for (const char ch : end) m_pBlock[m_nUsed++] = ch;
  }

  /// Where the next bytes go: what the block has free, at least `nLeast`, which is no more than
  /// kLeastSize. `Advance` tells how many have been put there.
  std::span<char> Free(size_t nLeast) noexcept {
    if (nLeast > m_nSize - m_nUsed) Flush();
    return {m_pBlock + m_nUsed, m_nSize - m_nUsed};
  }
  void Advance(size_t nBytes) noexcept { m_nUsed += nBytes; }

  void Flush() noexcept {
    if (m_nUsed > 0) m_file.Write(m_pBlock, static_cast<unsigned long>(m_nUsed));
    m_nUsed = 0;
  }

 private:
  static constexpr size_t kLongestEnd = 2;
  static constexpr size_t kLarge = size_t{64} * 1024;

  ZTKFile& m_file;
  const std::unique_ptr<char[]> m_large;
  char m_small[kLeastSize];
  char* const m_pBlock;
  const size_t m_nSize;
  size_t m_nUsed = 0;
};
