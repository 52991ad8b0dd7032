#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "ztk/file/file.h"
#include "ztk/foundation/text_file_type.h"
#include "ztk/text/internal/line_scan.h"

/// Reads a file to its end and splits it into lines. Not installed.
///
/// `Unit` is what the text consists of: bytes, or pairs of bytes (an odd one at the end is
/// ignored). The lines go, in order, to a `Sink`:
///
///     void Prepare(Unit* pLine, Unit* pStart, Unit* pEnd);
///         // Fresh text [pStart, pEnd), to be changed at will before it is split, as into the
///         // byte order of the machine; the text since pLine is that of a line left open before.
///     bool Line(Unit* pText, size_t nLength, ZTKTextFileType type);
///         // False gives up. pText[nLength] may be changed for the time of the call.
///
/// CR LF, CR and LF end a line. In a run of CRs, every CR after the first gives an empty line at
/// once, while the text in front of the run waits for the end of the run: A CR CR B gives "", A, B.
/// A CR at the end of the file is dropped, and a last line without a line end counts if it is not
/// empty. Whole chunks are split in place; only the line that a chunk ends in is moved.
template <typename Unit, typename Sink>
class ZTKTextLineReader {
 public:
  explicit ZTKTextLineReader(Sink& sink, int64_t nLimit = kNoLimit) noexcept
      : m_sink(sink), m_nLimit(nLimit) {}
  ~ZTKTextLineReader() { std::free(m_pBuffer); }
  ZTKTextLineReader(const ZTKTextLineReader&) = delete;
  ZTKTextLineReader& operator=(const ZTKTextLineReader&) = delete;

  static constexpr int64_t kNoLimit = INT64_MAX;

  /// False when a read or an allocation fails, the sink gives up, or the file goes on behind the
  /// limit.
  bool Run(ZTKFile& file) noexcept {
    for (;;) {
      if (!Reserve()) return false;
      // One byte more than allowed tells that there is one.
      const int64_t allowed = m_nLimit - m_nBytes;
      const auto wanted =
          static_cast<unsigned long>(allowed < kChunkBytes ? allowed + 1 : kChunkBytes);
      const unsigned long bytes = file.Read(m_pBuffer + m_nKept, wanted);
      if (static_cast<int64_t>(bytes) > allowed) {
        m_bPastLimit = true;
        return false;
      }
      m_nBytes += static_cast<int64_t>(bytes);
      const size_t units = bytes / sizeof(Unit);
      Unit* const fresh = m_pBuffer + m_nKept;
      m_sink.Prepare(m_pBuffer, fresh, fresh + units);
      if (!Split(fresh, fresh + units)) return false;
      if (bytes == wanted) continue;

      if (file.HasReadError()) return false;
      return m_nKept == 0 || m_sink.Line(m_pBuffer, m_nKept, EOL_NONE);
    }
  }

  /// What was read, as long as it was within the limit.
  int64_t BytesRead() const noexcept { return m_nBytes; }
  bool IsPastLimit() const noexcept { return m_bPastLimit; }

 private:
  static constexpr int64_t kChunkBytes = int64_t{64} * 1024;
  static constexpr size_t kChunk = kChunkBytes / sizeof(Unit);
  static constexpr Unit kCr = 0x0D;
  static constexpr Unit kLf = 0x0A;

  // Capacity for a chunk and one more unit behind the kept text. Doubles: amortised O(1) for each
  // unit of a long line.
  bool Reserve() noexcept {
    const size_t needed = m_nKept + kChunk + 1;
    if (needed <= m_nCapacity) return true;
    const size_t capacity = std::max(needed, 2 * m_nCapacity);
    void* const buffer = std::realloc(m_pBuffer, capacity * sizeof(Unit));
    if (buffer == nullptr) return false;
    m_pBuffer = static_cast<Unit*>(buffer);
    m_nCapacity = capacity;
    return true;
  }

  // Splits the fresh text `[p, end)`, which lies right behind the kept text of an open line, and
  // keeps the line that it leaves open.
  bool Split(Unit* p, Unit* end) noexcept {
    Unit* line = m_pBuffer;
    Unit* textEnd = p;
    for (;;) {
      if (!m_bCrPending) {
        p += ZTKFindLineEnd(static_cast<const Unit*>(p), static_cast<const Unit*>(end)) - p;
        textEnd = p;
        if (p == end) break;
        if (*p++ == kLf) {
          if (!Emit(line, textEnd, EOL_UNIX)) return false;
          line = p;
          continue;
        }
        m_bCrPending = true;
      }
      for (; p < end && *p == kCr; ++p) {
        if (!Emit(p, p, EOL_MAC)) return false;
      }
      if (p == end) break;
      const bool isPair = *p == kLf;
      if (!Emit(line, textEnd, isPair ? EOL_DOS : EOL_MAC)) return false;
      m_bCrPending = false;
      if (isPair) ++p;
      line = p;
    }
    m_nKept = static_cast<size_t>(textEnd - line);
    if (line != m_pBuffer) std::memmove(m_pBuffer, line, m_nKept * sizeof(Unit));
    return true;
  }

  bool Emit(Unit* pStart, Unit* pEnd, ZTKTextFileType type) noexcept {
    return m_sink.Line(pStart, static_cast<size_t>(pEnd - pStart), type);
  }

  Sink& m_sink;
  const int64_t m_nLimit;
  int64_t m_nBytes = 0;
  bool m_bPastLimit = false;
  Unit* m_pBuffer = nullptr;
  size_t m_nCapacity = 0;
  size_t m_nKept = 0;         // The collected text of the open line, at the start of the buffer.
  bool m_bCrPending = false;  // Its CR has been seen, and what follows decides.
};
