#include "ztk/system/internal/clock_xp.h"
#include "ztk/system/tick_count.h"

unsigned long ZTKGetTickCount() noexcept { return XPBootTicks(); }
