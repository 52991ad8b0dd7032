#pragma once

#include <cstddef>
#include <cstdint>

/// Looks through the bytes or units of a text, in pieces of any size, for what a report tells. Not
/// installed.
class ZTKTextScan {
 public:
  /// `nStart` is where the text begins in the file.
  explicit ZTKTextScan(int64_t nStart) noexcept : m_nAt(nStart) {}

  void Bytes(const char* pStart, const char* pEnd) noexcept;
  void Units(const uint16_t* pStart, const uint16_t* pEnd) noexcept;
  /// At the end of the text.
  void Finish() noexcept {
    if (m_nOpen != 0 || m_isHigh) NoteIllFormed();
  }

  int64_t Position() const noexcept { return m_nAt; }
  int64_t Nuls() const noexcept { return m_nNuls; }
  int64_t FirstIllFormed() const noexcept { return m_nFirstIllFormed; }

 private:
  void NoteIllFormed() noexcept {
    if (m_nFirstIllFormed < 0) m_nFirstIllFormed = m_nCharacter;
    m_nOpen = 0;
    m_isHigh = false;
  }
  bool Continues(unsigned byte) noexcept;
  void Begin(unsigned byte) noexcept;

  int64_t m_nAt;
  int64_t m_nNuls = 0;
  int64_t m_nFirstIllFormed = -1;
  int64_t m_nCharacter = 0;  // Where the open character starts.
  unsigned m_nOpen = 0;      // Bytes that it still lacks.
  unsigned m_nLow = 0x80;    // The range of the next one.
  unsigned m_nHigh = 0xBF;
  bool m_isHigh = false;  // The last unit was a high surrogate.
};
