#include "ztk/system/semaphore.h"

// The system has no semaphores. These count nothing and never block: every wait fails at once.

int ZTKSemaphore::XPCreate(int /*nInitial*/, int /*nMax*/) { return ZTK_SYNC_NO_ERROR; }

bool ZTKSemaphore::XPIsOk() const noexcept { return true; }

int ZTKSemaphore::XPWaitTimeout(unsigned long /*nTimeoutMs*/) { return ZTK_SYNC_MISC_ERROR; }

int ZTKSemaphore::XPPost() { return ZTK_SYNC_NO_ERROR; }

void ZTKSemaphore::XPClose() {}
