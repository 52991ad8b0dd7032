#pragma once

#include <windows.h>

#include "ztk/platform/win32/calendar.h"

/// A zone by the system's rules, which know the years 1601 to 30827; the years before and behind
/// have those of the first and the last.
class SystemZone final : public Zone {
 public:
  /// The zone that is set now, which may have rules of its own for each year.
  SystemZone() noexcept = default;
  /// A zone with the same rules in every year. Borrowed.
  explicit SystemZone(const TIME_ZONE_INFORMATION& rules) noexcept : m_pRules(&rules) {}
  std::int64_t OffsetAt(std::int64_t nSeconds) const noexcept override;

 private:
  const TIME_ZONE_INFORMATION* m_pRules = nullptr;
};
