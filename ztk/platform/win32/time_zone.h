#pragma once

#include <windows.h>

#include "ztk/platform/win32/calendar.h"

/// A zone by the system's rules, which know the years 1601 to 30827; the years before and behind
/// have those of the first and the last.
class SystemZone final : public Zone {
 public:
  /// Null is the zone that is set now. Borrowed.
  explicit SystemZone(const DYNAMIC_TIME_ZONE_INFORMATION* pZone = nullptr) noexcept
      : m_pZone(pZone) {}
  std::int64_t OffsetAt(std::int64_t nSeconds) const noexcept override;

 private:
  const DYNAMIC_TIME_ZONE_INFORMATION* m_pZone;
};
