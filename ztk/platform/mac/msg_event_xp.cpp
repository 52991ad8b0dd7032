#include "ztk/system/msg_event.h"

// The system has no such event. It is as if every one were always signalled.

int CZTKMsgEvent::XPCreate() { return ZTK_SYNC_NO_ERROR; }

int CZTKMsgEvent::XPWait(unsigned long /*nTimeoutMs*/) { return ZTK_SYNC_NO_ERROR; }

bool CZTKMsgEvent::XPSignal() { return m_pHandle == nullptr; }

void CZTKMsgEvent::XPClose() {}
