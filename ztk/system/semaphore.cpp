#include "ztk/system/semaphore.h"

ZTKSemaphore::ZTKSemaphore(int nInitial, int nMax) { XPCreate(nInitial, nMax); }

int ZTKSemaphore::Wait() { return XPWaitTimeout(ZTK_WAIT_FOREVER); }

int ZTKSemaphore::TryWait() {
  const int result = XPWaitTimeout(0);
  return result == ZTK_SYNC_TIMEOUT ? ZTK_SYNC_BUSY : result;
}
