#include <unistd.h>

#include "ztk/system/thread.h"

unsigned long ZTKThread::XPGetCurrentId() noexcept { return static_cast<unsigned long>(gettid()); }
