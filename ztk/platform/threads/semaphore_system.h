#pragma once

#include "ztk/system/internal/wait_queue.h"
#include "ztk/system/semaphore.h"

/// The system side of a semaphore.
struct ZTKSemaphore::System : ZTKWaitQueue {
  using ZTKWaitQueue::ZTKWaitQueue;
};
