#include "ztk/text/internal/text_scan.h"

#include "ztk/foundation/internal/utf8.h"

// Consumes the next byte of the open character; false when it cannot be one.
bool ZTKTextScan::Continues(unsigned byte) noexcept {
  if (byte < m_nLow || byte > m_nHigh) return false;
  --m_nOpen;
  m_nLow = 0x80;
  m_nHigh = 0xBF;
  return true;
}

// Opens a character with its first byte, which is not ASCII.
void ZTKTextScan::Begin(unsigned byte) noexcept {
  m_nCharacter = m_nAt;
  if (byte < 0xC2 || byte > 0xF4) {
    NoteIllFormed();
    return;
  }
  m_nOpen = byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
  // Keeps out overlong forms, surrogates and what is past U+10FFFF.
  m_nLow = byte == 0xE0 ? 0xA0 : byte == 0xF0 ? 0x90 : 0x80;
  m_nHigh = byte == 0xED ? 0x9F : byte == 0xF4 ? 0x8F : 0xBF;
}

void ZTKTextScan::Bytes(const char* pStart, const char* pEnd) noexcept {
  for (const char* p = pStart; p < pEnd; ++p, ++m_nAt) {
    const auto byte = static_cast<unsigned char>(*p);
    if (byte == 0) ++m_nNuls;
    if (m_nOpen != 0) {
      if (Continues(byte)) continue;
      NoteIllFormed();
    }
    if (byte >= 0x80) Begin(byte);
  }
}

void ZTKTextScan::Units(const uint16_t* pStart, const uint16_t* pEnd) noexcept {
  for (const uint16_t* p = pStart; p < pEnd; ++p, m_nAt += 2) {
    if (*p == 0) ++m_nNuls;
    const bool isLow = ztk_utf8::IsLowSurrogate(*p);
    if (m_isHigh && !isLow) NoteIllFormed();
    if (!m_isHigh) m_nCharacter = m_nAt;
    if (isLow && !m_isHigh) NoteIllFormed();
    m_isHigh = ztk_utf8::IsHighSurrogate(*p);
    if (m_isHigh) m_nCharacter = m_nAt;
  }
}
