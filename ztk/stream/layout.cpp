// Programs outside the library depend on where the fields of these classes lie.
#include <cstddef>

#include "ztk/stream/buffered_stream.h"
#include "ztk/stream/counting_stream.h"
#include "ztk/stream/data_stream.h"
#include "ztk/stream/memory_stream.h"

// The classes are polymorphic, but laid out plainly.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

struct ZTKStreamLayout {
  static constexpr size_t kWord = sizeof(void*);

  static_assert(offsetof(ZTKStreamBase, m_nLastCount) == kWord);
  static_assert(offsetof(ZTKStreamBase, m_lastError) == kWord + 4);
  static constexpr size_t kBase = kWord + 8;
  static_assert(sizeof(ZTKStreamBase) == kBase);

  static_assert(offsetof(ZTKInputStream, m_pWBack) == kBase);
  static_assert(offsetof(ZTKInputStream, m_nWBackSize) == kBase + kWord);
  static_assert(offsetof(ZTKInputStream, m_nWBackPos) == kBase + kWord + 4);
  static constexpr size_t kInput = kBase + kWord + 8;
  static_assert(sizeof(ZTKInputStream) == kInput);
  static_assert(sizeof(ZTKOutputStream) == kBase);

  static_assert(offsetof(ZTKFilterInputStream, m_pParent) == kInput);
  static_assert(sizeof(ZTKFilterInputStream) == kInput + kWord);
  static_assert(offsetof(ZTKFilterOutputStream, m_pParent) == kBase);
  static_assert(sizeof(ZTKFilterOutputStream) == kBase + kWord);

  static_assert(offsetof(ZTKBufferedInputStream, m_pBuffer) == kInput + kWord);
  static_assert(sizeof(ZTKBufferedInputStream) == kInput + 2 * kWord);
  static_assert(offsetof(ZTKBufferedOutputStream, m_pBuffer) == kBase + kWord);
  static_assert(sizeof(ZTKBufferedOutputStream) == kBase + 2 * kWord);

  static_assert(offsetof(ZTKMemoryInputStream, m_pBuffer) == kInput);
  static_assert(offsetof(ZTKMemoryInputStream, m_nLength) == kInput + kWord);
  static_assert(sizeof(ZTKMemoryInputStream) == kInput + 2 * kWord);
  static_assert(offsetof(ZTKMemoryOutputStream, m_pBuffer) == kBase);
  static_assert(sizeof(ZTKMemoryOutputStream) == kBase + kWord);

  static_assert(offsetof(ZTKCountingOutputStream, m_nPos) == kBase);
  static_assert(offsetof(ZTKCountingOutputStream, m_nCounted) == kBase + 4);
  static_assert(sizeof(ZTKCountingOutputStream) == kBase + 8);

  static_assert(offsetof(ZTKStreamBuffer, m_pStart) == kWord);
  static_assert(offsetof(ZTKStreamBuffer, m_pEnd) == 2 * kWord);
  static_assert(offsetof(ZTKStreamBuffer, m_pPos) == 3 * kWord);
  static_assert(offsetof(ZTKStreamBuffer, m_nSize) == 4 * kWord);  // Padded to a word.
  static_assert(offsetof(ZTKStreamBuffer, m_pStream) == 5 * kWord);
  static_assert(offsetof(ZTKStreamBuffer, m_mode) == 6 * kWord);
  static_assert(offsetof(ZTKStreamBuffer, m_storage) == 6 * kWord + 4);
  static_assert(offsetof(ZTKStreamBuffer, m_bFixed) == 6 * kWord + 8);
  static_assert(offsetof(ZTKStreamBuffer, m_bFlushable) == 6 * kWord + 12);
  static_assert(sizeof(ZTKStreamBuffer) == 6 * kWord + 16);

  static_assert(offsetof(ZTKDataStream, m_pIn) == 0);
  static_assert(offsetof(ZTKDataStream, m_pOut) == kWord);
  static_assert(offsetof(ZTKDataStream, m_hostOrder) == 2 * kWord);
  static_assert(offsetof(ZTKDataStream, m_networkOrder) == 2 * kWord + 4);
  static_assert(offsetof(ZTKDataStream, m_bSwap) == 2 * kWord + 8);
  static_assert(offsetof(ZTKDataStream, m_kind) == 2 * kWord + 12);
  static_assert(offsetof(ZTKDataStream, m_nMaxString) == 2 * kWord + 16);
};
