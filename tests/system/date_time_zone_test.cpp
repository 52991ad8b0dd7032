// Which zone the fields are of: the one that is set at the time of the call, whoever looked before.

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>

#include "tests/support/temp_dir.h"
#include "ztk/log/log.h"
#include "ztk/system/date_time.h"

namespace {

using DateTime = ZTKDateTime;
using Tm = DateTime::Tm;

constexpr std::int64_t kFactor = 86'400'000;
constexpr std::time_t kNoon = 1719835200;  // 2024-07-01 12:00 UTC.

constexpr const char* kUtc = "UTC0";
constexpr const char* kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr const char* kKathmandu = "<+0545>-5:45";

std::time_t s_time = 0;  // What `time` says, if it is not 0.

Tm Split(std::time_t seconds) {
  const DateTime time = DateTime().Set(static_cast<double>(seconds * kFactor));
  return time.XPGetTm(DateTime::TimeZone(DateTime::TZ_LOCAL));
}

int HourOfNoon() { return Split(kNoon).hour; }

// A file of a zone that is `nHours` east of Greenwich, always.
void WriteZone(const std::string& path, int nHours) {
  const auto number = [](std::int32_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift & 0xFF);
    return bytes;
  };
  std::string zone = std::string("TZif") + std::string(16, '\0');
  zone += number(0) + number(0) + number(0) + number(0) + number(1) + number(4);
  zone += number(nHours * 3600) + std::string(2, '\0') + std::string("ABC\0", 4);
  // Under another name first: whoever has read the zone before knows it by its file.
  WriteWholeFile(path + ".new", zone);
  std::filesystem::rename(path + ".new", path);
}

}  // namespace

// The clock of the runtime, as the library asks it.
extern "C" std::time_t time(std::time_t* pSeconds) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const std::time_t seconds = s_time != 0 ? s_time : now.tv_sec;
  if (pSeconds != nullptr) *pSeconds = seconds;
  return seconds;
}

TEST(ZTKDateTimeZone, ZonesThatDifferInOneDigitAreToldApart) {
  for (const char* const zone : {"UTC-1", "UTC-2", "UTC-1", "UTC-3", "UTC-4", "UTC-04"}) {
    SCOPED_TRACE(zone);
    const ScopedEnv scope("TZ", zone);
    EXPECT_EQ(HourOfNoon(), 12 + std::atoi(zone + 4));
  }
}

TEST(ZTKDateTimeZone, IsFollowedAlthoughTheProgramLookedAtAnotherOneMeanwhile) {
  const ScopedEnv scope("TZ", kUtc);
  ASSERT_EQ(HourOfNoon(), 12);
  {
    const ScopedEnv other("TZ", kKathmandu);
    tzset();
  }
  EXPECT_EQ(HourOfNoon(), 12);
  {
    const ScopedEnv other("TZ", kBerlin);
    localtime(&kNoon);
  }
  EXPECT_EQ(HourOfNoon(), 12);
}

TEST(ZTKDateTimeZone, IsFollowedAlthoughTheCurrentTimeWasAskedForInAnotherOne) {
  const ScopedEnv scope("TZ", kUtc);
  ASSERT_EQ(HourOfNoon(), 12);
  {
    const ScopedEnv other("TZ", kKathmandu);
    DateTime::XPGetTmNow();
  }
  EXPECT_EQ(HourOfNoon(), 12);
}

TEST(ZTKDateTimeZone, IsFollowedAlthoughTheLogStampedALineInAnotherOne) {
  const ScopedEnv scope("TZ", kUtc);
  ASSERT_EQ(HourOfNoon(), 12);
  {
    const ScopedEnv other("TZ", kKathmandu);
    ZTKString line;
    s_time = kNoon;  // A second that the log has not seen.
    FormatLogBuf(line, "text");
    s_time = 0;
  }
  EXPECT_EQ(HourOfNoon(), 12);
}

TEST(ZTKDateTimeZone, SettersStoreTheValueOfTheZoneThatIsSet) {
  const ScopedEnv scope("TZ", kBerlin);
  DateTime time = DateTime().Set(static_cast<double>(kNoon * kFactor));
  ASSERT_EQ(HourOfNoon(), 14);
  {
    const ScopedEnv other("TZ", kKathmandu);
    DateTime::XPGetTmNow();
  }
  EXPECT_EQ(time.SetMinute(2).GetValue(), (kNoon + 120) * kFactor);
}

TEST(ZTKDateTimeZone, CurrentMonthAndYearAreThoseOfTheZoneThatIsSet) {
  s_time = 1704065400;  // 2023-12-31 23:30 UTC; further east it is next year.
  for (const char* const zone : {kUtc, kBerlin, kUtc}) {
    SCOPED_TRACE(zone);
    const bool isNextYear = zone == kBerlin;
    const ScopedEnv scope("TZ", zone);
    const DateTime month(15, DateTime::MONTH_CURRENT, 2020, 12, 0, 0, 0);
    {
      const ScopedEnv other("TZ", isNextYear ? kUtc : kBerlin);
      DateTime::XPGetTmNow();
    }
    const DateTime year(15, DateTime::MONTH_MAR, -1, 12, 0, 0, 0);
    const auto fields = [](const DateTime& time) {
      return time.XPGetTm(DateTime::TimeZone(DateTime::TZ_LOCAL));
    };
    EXPECT_EQ(fields(month).month, isNextYear ? DateTime::MONTH_JAN : DateTime::MONTH_DEC);
    EXPECT_EQ(fields(year).year, isNextYear ? 2024 : 2023);
  }
  s_time = 0;
}

TEST(ZTKDateTimeZone, MayBeAFile) {
  const TempDir dir;
  WriteZone(dir / "three", 3);
  WriteZone(dir / "five", 5);
  for (int round = 0; round < 2; ++round) {
    const ScopedEnv three("TZ", (":" + dir / "three").c_str());
    EXPECT_EQ(HourOfNoon(), 15);
    const ScopedEnv five("TZ", (dir / "five").c_str());
    EXPECT_EQ(HourOfNoon(), 17);
  }
}

TEST(ZTKDateTimeZone, AgreesWithLocaltimeWhateverCameBefore) {
  const TempDir dir;
  const std::string file = dir / "zone";
  const std::string named = ":" + file;
  WriteZone(file, 3);
  const char* const zones[] = {kUtc,    kBerlin, kKathmandu, "UTC-1",      "UTC-2",
                               nullptr, "",      ":none",    named.c_str()};
  const ScopedEnv restored("TZ", kUtc);
  std::mt19937 random(7);
  const auto next = [&random](unsigned limit) { return random() % limit; };
  for (int step = 0; step < 20'000; ++step) {
    SCOPED_TRACE(step);
    switch (next(7)) {
      case 0:
      case 1:
        if (const char* const zone = zones[next(std::size(zones))]; zone != nullptr) {
          setenv("TZ", zone, 1);
        } else {
          unsetenv("TZ");
        }
        break;
      case 2:
        tzset();
        break;
      case 3:
        DateTime::Now();
        break;
      case 4:
        localtime(&kNoon);
        break;
      case 5:
        if (next(20) == 0) WriteZone(file, static_cast<int>(next(12)));
        break;
      default:
        break;
    }
    if (next(2) == 0) continue;
    const auto seconds = static_cast<std::time_t>(random());
    const Tm ours = Split(seconds);
    const std::tm theirs = *localtime(&seconds);
    ASSERT_EQ(ours.hour, theirs.tm_hour);
    ASSERT_EQ(ours.minute, theirs.tm_min);
    ASSERT_EQ(ours.day, theirs.tm_mday);
  }
}

namespace {

constexpr int kNotAllowed = 77;

void WriteLine(const char* pszPath, const std::string& line) { std::ofstream(pszPath) << line; }

// Puts a folder in the place of /etc, for this process alone.
bool ReplaceSystemSettings(const std::string& folder) {
  const uid_t user = getuid();
  if (unshare(CLONE_NEWNS) != 0) {
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    WriteLine("/proc/self/uid_map", std::to_string(user) + " " + std::to_string(user) + " 1");
  }
  return mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount(folder.c_str(), "/etc", nullptr, MS_BIND, nullptr) == 0;
}

int FollowTheSystemsZone(const TempDir& dir) {
  const std::string folder = dir / "etc";
  std::filesystem::create_directory(folder);
  WriteZone(folder + "/localtime", 3);
  if (!ReplaceSystemSettings(folder)) return kNotAllowed;
  unsetenv("TZ");
  if (HourOfNoon() != 15) return 1;
  WriteZone(folder + "/localtime", 5);
  if (HourOfNoon() != 17) return 2;
  WriteZone(folder + "/localtime", 8);
  DateTime time(1, DateTime::MONTH_JUL, 2024, 20, 0, 0, 0);
  if (time.GetValue() != kNoon * kFactor) return 3;
  WriteZone(folder + "/localtime", 3);
  // With the hour of another zone, this would be another point in time.
  return time.SetMinute(1).GetValue() == (kNoon + 60) * kFactor ? 0 : 4;
}

}  // namespace

TEST(ZTKDateTimeZone, IsThatOfTheSystemAsItIsNowWhereNoneIsNamed) {
  const TempDir dir;
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) _exit(FollowTheSystemsZone(dir));
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == kNotAllowed) GTEST_SKIP() << "this user may not mount, even alone";
  EXPECT_EQ(WEXITSTATUS(status), 0);
}
