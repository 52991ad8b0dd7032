#include "ztk/stream/filter_stream.h"

#include <cstddef>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // Polymorphic, but laid out plainly.
struct ZTKFilterStreamLayout {
  static_assert(offsetof(ZTKFilterInputStream, m_pParent) == sizeof(ZTKInputStream));
  static_assert(sizeof(ZTKFilterInputStream) == sizeof(ZTKInputStream) + sizeof(void*));
  static_assert(offsetof(ZTKFilterOutputStream, m_pParent) == sizeof(ZTKOutputStream));
  static_assert(sizeof(ZTKFilterOutputStream) == sizeof(ZTKOutputStream) + sizeof(void*));
};
#pragma GCC diagnostic pop

ZTKFilterInputStream::~ZTKFilterInputStream() = default;

unsigned long ZTKFilterInputStream::GetSize() const {
  return m_pParent != nullptr ? m_pParent->GetSize() : 0;
}

char ZTKFilterInputStream::Peek() { return m_pParent != nullptr ? m_pParent->Peek() : '\0'; }

ZTKFilterOutputStream::~ZTKFilterOutputStream() { m_pParent = nullptr; }

unsigned long ZTKFilterOutputStream::GetSize() const {
  return m_pParent != nullptr ? m_pParent->GetSize() : 0;
}
