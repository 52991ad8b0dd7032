#include "ztk/platform/unix/boot_ticks.h"
#include "ztk/system/tick_count.h"

unsigned long ZTKGetTickCount() noexcept { return XPBootTicks(); }
