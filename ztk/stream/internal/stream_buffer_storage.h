#pragma once

#include "ztk/stream/stream_buffer.h"

// The operations that depend on what a buffer knows of its storage. They are out of the public
// header so that no compiled program depends on it, and inline because a serialiser runs through
// them for every value.

// The position moves first, here and below: a compiler cannot know that the bytes are not the
// fields.
inline void ZTKStreamBuffer::Store(const void* pSrc, size_t nCount) noexcept {
  char* const target = m_pPos;
  m_pPos += nCount;
  if ((m_storage & kReadOnly) == 0) ZTKMoveBytes(target, pSrc, nCount);
}

inline bool ZTKStreamBuffer::Overlaps(const char* pBytes, uint32_t nCount) const noexcept {
  const auto first = reinterpret_cast<uintptr_t>(pBytes);
  const auto start = reinterpret_cast<uintptr_t>(m_pStart);
  return first < start ? start - first < nCount : first - start < m_nSize;
}

// Whether the capacity plus `nCount` is one that a buffer can have, if there is memory for it.
inline bool ZTKStreamBuffer::CanHold(unsigned long nCount) const noexcept {
  return m_nSize <= kLargestSize && nCount <= kLargestSize - m_nSize;
}

// Whether bytes at the very end extend the capacity without leaving the last step of the block.
inline bool ZTKStreamBuffer::CanAppend(size_t nCount) const noexcept {
  const uint32_t leftInStep = (0 - m_nSize) & (m_storage >> kStepShift);
  return nCount - 1 < leftInStep && m_pPos == m_pStart + m_nSize;
}

inline void ZTKStreamBuffer::Append(const void* pSrc, size_t nCount) noexcept {
  char* const target = m_pPos;
  m_pPos = m_pEnd = target + nCount;
  m_nSize += static_cast<uint32_t>(nCount);
  ZTKMoveBytes(target, pSrc, nCount);
}
