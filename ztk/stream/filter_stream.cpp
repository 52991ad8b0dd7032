#include "ztk/stream/filter_stream.h"

ZTKFilterInputStream::~ZTKFilterInputStream() = default;

unsigned long ZTKFilterInputStream::GetSize() const {
  return m_pParent != nullptr ? m_pParent->GetSize() : 0;
}

char ZTKFilterInputStream::Peek() { return m_pParent != nullptr ? m_pParent->Peek() : '\0'; }

ZTKFilterOutputStream::~ZTKFilterOutputStream() { m_pParent = nullptr; }

unsigned long ZTKFilterOutputStream::GetSize() const {
  return m_pParent != nullptr ? m_pParent->GetSize() : 0;
}
