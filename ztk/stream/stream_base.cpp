#include "ztk/stream/stream_base.h"

#include <cstddef>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // Polymorphic, but laid out plainly.
struct ZTKStreamBaseLayout {
  static_assert(offsetof(ZTKStreamBase, m_nLastCount) == sizeof(void*));
  static_assert(offsetof(ZTKStreamBase, m_lastError) == sizeof(void*) + 4);
  static_assert(sizeof(ZTKStreamBase) == sizeof(void*) + 8);
};
#pragma GCC diagnostic pop

ZTKStreamBase::~ZTKStreamBase() {
  m_nLastCount = 0;
  m_lastError = ZTK_STREAM_NO_ERROR;
}

unsigned long ZTKStreamBase::GetSize() const { return 0; }

long ZTKStreamBase::OnSysSeek(long, ZTKSeekMode) { return -1; }

long ZTKStreamBase::OnSysTell() const { return -1; }
