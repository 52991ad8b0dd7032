#include <windows.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <stdexcept>

#include "tests/support/imports_win32.h"
#include "tests/support/scoped_zone.h"

namespace {

struct KnownZone {
  const char* rule;
  LONG bias;  // Minutes from local time to UTC.
  LONG daylightBias;
  // Month, week of the month (5 is the last) and hour; all of them on a Sunday.
  WORD standard[3];
  WORD daylight[3];
};

constexpr KnownZone kZones[] = {
    {kUtc, 0, 0, {}, {}},
    {kBerlin, -60, -60, {10, 5, 3}, {3, 5, 2}},
    {kNewYork, 300, -60, {11, 1, 2}, {3, 2, 2}},
    {kSydney, -600, -60, {4, 1, 3}, {10, 1, 2}},
    {kKathmandu, -345, 0, {}, {}},
    {kSaoPaulo, 180, -60, {2, 3, 0}, {10, 3, 0}},
};

const KnownZone* s_pZone = nullptr;  // Null for that of the system.

DWORD(WINAPI* s_getZone)(LPTIME_ZONE_INFORMATION);
BOOL(WINAPI* s_getZoneForYear)(USHORT, PDYNAMIC_TIME_ZONE_INFORMATION, LPTIME_ZONE_INFORMATION);

void Fill(TIME_ZONE_INFORMATION& zone) {
  const auto date = [](const WORD(&rule)[3]) {
    SYSTEMTIME time = {};
    time.wMonth = rule[0];
    time.wDay = rule[1];
    time.wHour = rule[2];
    return time;
  };
  zone = {};
  zone.Bias = s_pZone->bias;
  zone.DaylightBias = s_pZone->daylightBias;
  zone.StandardDate = date(s_pZone->standard);
  zone.DaylightDate = date(s_pZone->daylight);
}

DWORD WINAPI GetZone(LPTIME_ZONE_INFORMATION zone) {
  if (s_pZone == nullptr) return s_getZone(zone);
  Fill(*zone);
  return TIME_ZONE_ID_UNKNOWN;
}

BOOL WINAPI GetZoneForYear(USHORT year, PDYNAMIC_TIME_ZONE_INFORMATION from,
                           LPTIME_ZONE_INFORMATION zone) {
  if (s_pZone == nullptr) return s_getZoneForYear(year, from, zone);
  Fill(*zone);
  return TRUE;
}

}  // namespace

ScopedZone::ScopedZone(const char* pszRule) : m_pOld(s_pZone) {
  static const imports::Replacement kReplacements[] = {
      imports::Replace("GetTimeZoneInformation", &GetZone, &s_getZone),
      imports::Replace("GetTimeZoneInformationForYear", &GetZoneForYear, &s_getZoneForYear),
  };
  imports::ReplaceIn(imports::LibraryModule(), kReplacements, std::size(kReplacements));
  const auto* const found =
      std::find_if(std::begin(kZones), std::end(kZones),
                   [=](const KnownZone& zone) { return std::strcmp(zone.rule, pszRule) == 0; });
  if (found == std::end(kZones) || s_getZoneForYear == nullptr) {
    throw std::runtime_error("no such zone");
  }
  s_pZone = found;
}

ScopedZone::~ScopedZone() { s_pZone = static_cast<const KnownZone*>(m_pOld); }
