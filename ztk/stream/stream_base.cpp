#include "ztk/stream/stream_base.h"

ZTKStreamBase::~ZTKStreamBase() {
  m_nLastCount = 0;
  m_lastError = ZTK_STREAM_NO_ERROR;
}

unsigned long ZTKStreamBase::GetSize() const { return 0; }

long ZTKStreamBase::OnSysSeek(long, ZTKSeekMode) { return -1; }

long ZTKStreamBase::OnSysTell() const { return -1; }
