#pragma once

#include "tests/support/temp_dir.h"

// Zones by their rules, so that none has to be installed.
inline constexpr const char* kUtc = "UTC0";
inline constexpr const char* kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";
inline constexpr const char* kNewYork = "EST5EDT,M3.2.0,M11.1.0";
inline constexpr const char* kSydney = "AEST-10AEDT,M10.1.0,M4.1.0/3";
inline constexpr const char* kKathmandu = "<+0545>-5:45";
// Daylight saving starts at midnight, which does not exist on that day.
inline constexpr const char* kSaoPaulo = "<-03>3<-02>,M10.3.0/0,M2.3.0/0";

/// Makes one of these the zone of the library, and the former one at the end. On Windows, where the
/// zone is a setting of the system's, the library is given another answer when it asks for that.
class ScopedZone {
 public:
  explicit ScopedZone(const char* pszRule);
#ifdef _WIN32
  ~ScopedZone();
#endif
  ScopedZone(const ScopedZone&) = delete;
  ScopedZone& operator=(const ScopedZone&) = delete;

 private:
#ifdef _WIN32
  const void* const m_pOld;
#else
  ScopedEnv m_variable;
#endif
};

#ifndef _WIN32
inline ScopedZone::ScopedZone(const char* pszRule) : m_variable("TZ", pszRule) {}
#endif
