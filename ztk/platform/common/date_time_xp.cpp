// Seconds have 64 bits on 32-bit systems too, so that dates do not end in 2038.
#define _FILE_OFFSET_BITS 64
#define _TIME_BITS 64

#include "ztk/system/date_time.h"

#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>

namespace {

// A value is its seconds times the milliseconds of a day.
constexpr double kFactor = 86'400'000.0;
constexpr std::int64_t kDivisor = 86'400'000;

constexpr int kFirstYear = 1900;  // The runtime's year 0.
constexpr int kCurrentYear = -1;

// Where TZ was found, and in which environment. Looking for it means a look at each variable, which
// takes half as long as a conversion.
std::atomic<char**> s_environment{nullptr};
std::atomic<char**> s_place{nullptr};

constexpr size_t kPrefix = sizeof("TZ=") - 1;

bool NamesZone(const char* pVariable) noexcept {
  return pVariable && pVariable[0] == 'T' && pVariable[1] == 'Z' && pVariable[2] == '=';
}

// What TZ is set to, or null.
const char* ZoneName() noexcept {
  // Of the same environment, the place can be read even where variables are gone since then.
  if (environ && environ[0] && s_environment.load(std::memory_order_acquire) == environ) {
    const char* const variable = *s_place.load(std::memory_order_relaxed);
    if (NamesZone(variable)) return variable + kPrefix;
  }
  if (!environ) return nullptr;
  for (char** place = environ; *place; ++place) {
    if (!NamesZone(*place)) continue;
    s_place.store(place, std::memory_order_relaxed);
    s_environment.store(environ, std::memory_order_release);
    return *place + kPrefix;
  }
  return nullptr;
}

// A number for the zone that the environment names; zones that differ have different ones. It is
// asked for at every conversion, so it takes the name eight bytes at a time.
std::uint64_t NamedZone() noexcept {
  const char* const name = ZoneName();
  if (!name) return 1;
  std::uint64_t hash = 14695981039346656037u;
  const auto mix = [&hash](std::uint64_t word) {
    hash = (hash ^ word) * 1099511628211u;
    hash ^= hash >> 32;
  };
  const auto wordAt = [](const char* p) {
    std::uint64_t word;
    std::memcpy(&word, p, sizeof word);
    return word;
  };
  constexpr size_t kWord = sizeof(std::uint64_t);
  const size_t size = std::strlen(name);
  mix(size);
  if (size < kWord) {
    std::uint64_t word = 0;
    for (size_t i = 0; i < size; ++i) word = word << 8 | static_cast<unsigned char>(name[i]);
    mix(word);
  } else {
    for (size_t i = 0; i + kWord < size; i += kWord) mix(wordAt(name + i));
    mix(wordAt(name + size - kWord));  // It may overlap the one before.
  }
  return hash;
}

// What NamedZone said when the runtime's zone was last set here; 0 when something else set it.
std::atomic<std::uint64_t> s_zone{0};

// The reentrant conversion, unlike the others, does not look at TZ again. Setting the zone each
// time would cost several conversions, so it is set when TZ has changed.
void FollowZone() noexcept {
  const std::uint64_t zone = NamedZone();
  if (s_zone.load(std::memory_order_acquire) == zone) return;
  tzset();
  s_zone.store(zone, std::memory_order_release);
}

bool CurrentTime(std::tm& now) noexcept {
  const std::time_t seconds = std::time(nullptr);
  return localtime_r(&seconds, &now) != nullptr;
}

void TakeFields(const std::tm& from, ZTKDateTime::Tm& to) noexcept {
  to.second = static_cast<std::uint16_t>(from.tm_sec);
  to.minute = static_cast<std::uint16_t>(from.tm_min);
  to.hour = static_cast<std::uint16_t>(from.tm_hour);
  to.day = static_cast<std::uint16_t>(from.tm_mday);
  to.month = static_cast<ZTKDateTime::Month>(from.tm_mon);
  to.year = kFirstYear + from.tm_year;
}

}  // namespace

ZTKDateTime::Tm ZTKDateTime::XPGetTmNow() noexcept {
  tzset();
  Tm tm;
  std::tm now;
  if (CurrentTime(now)) TakeFields(now, tm);
  return tm;
}

ZTKDateTime::Tm ZTKDateTime::XPGetTm(const TimeZone&) const noexcept {
  FollowZone();
  Tm tm;
  std::tm fields;
  const std::time_t seconds = m_nValue / kDivisor;
  if (!localtime_r(&seconds, &fields)) return tm;
  TakeFields(fields, tm);
  tm.millisecond = static_cast<std::uint16_t>(m_nValue % kDivisor % TIME_T_FACTOR);
  return tm;
}

ZTKDateTime& ZTKDateTime::XPSet(unsigned short nDay, Month month, int nYear, unsigned short nHour,
                                unsigned short nMinute, unsigned short nSecond,
                                unsigned short nMillisecond) noexcept {
  std::tm fields{};
  fields.tm_sec = nSecond;
  fields.tm_min = nMinute;
  fields.tm_hour = nHour;
  fields.tm_mday = nDay;
  fields.tm_mon = month;
  fields.tm_isdst = -1;

  std::int64_t year = nYear;
  if (month == MONTH_CURRENT || nYear == kCurrentYear) {
    std::tm now;
    if (CurrentTime(now)) {
      if (month == MONTH_CURRENT) fields.tm_mon = now.tm_mon;
      if (nYear == kCurrentYear) year = std::int64_t{kFirstYear} + now.tm_year;
    }
  }

  // The runtime says -1 for what it cannot convert, and so do we for a year it cannot be asked.
  std::time_t seconds = -1;
  if (year - kFirstYear >= std::numeric_limits<int>::min()) {
    fields.tm_year = static_cast<int>(year - kFirstYear);
    seconds = std::mktime(&fields);
    s_zone.store(0, std::memory_order_release);  // It has set the zone that TZ names now.
  }
  Set(static_cast<double>(seconds) * kFactor);
  return SetMillisecond(nMillisecond);
}

int ZTKDateTime::XPGetTimeZone() noexcept { return 0; }
