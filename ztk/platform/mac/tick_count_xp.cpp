#include "ztk/system/tick_count.h"

#include "ztk/platform/mac/services/event_timers.h"

unsigned long ZTKGetTickCount() noexcept { return ztk_mac_services::TickCount(); }
