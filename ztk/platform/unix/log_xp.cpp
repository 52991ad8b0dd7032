#include <time.h>

#include "ztk/log/internal/log_xp.h"

// The reentrant conversion alone would use the zone that the runtime looked at last. There is no
// asking it which that is, and everybody may set it, so it is set anew each time; in an unchanged
// zone that is a comparison of two names.
bool XPLocalTime(std::time_t seconds, std::tm& fields) noexcept {
  tzset();
  return localtime_r(&seconds, &fields) != nullptr;
}
