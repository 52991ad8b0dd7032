// One warning written as a line with its time of day and flushed, so that a crash loses nothing.

#include "ztk/log/log.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>

#ifdef ZTK_BENCH_SPDLOG
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif
#ifdef ZTK_BENCH_POCO
#include <Poco/AutoPtr.h>
#include <Poco/FileChannel.h>
#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/PatternFormatter.h>
#endif

namespace {

// A log file that goes away with the benchmark.
class LogPath {
 public:
  explicit LogPath(const char* who)
      : m_path(std::filesystem::temp_directory_path() /
               (std::string("ztk-bench-") + who + ".log")) {}
  ~LogPath() { std::filesystem::remove(m_path); }
  LogPath(const LogPath&) = delete;
  LogPath& operator=(const LogPath&) = delete;

  std::string Text() const { return m_path.string(); }

 private:
  std::filesystem::path m_path;
};

constexpr const char* kConfiguration = "/home/user/.config/Application.conf";

void LogLineZtk(benchmark::State& state) {
  const LogPath path("ztk");
  ZTKLog::SetActiveTarget(new ZTKLogFile(path.Text().c_str()));
  ZTKLog::ms_doLog = 1;
  int line = 0;
  for (auto _ : state) ZTKLogWarning("%s: line %d is not understood", kConfiguration, ++line);
  ZTKLog::ms_doLog = 0;
  ZTKLog::SetActiveTarget(nullptr);
}
BENCHMARK(LogLineZtk)->Name("BM_LogLineFlushed/ztk");

// What cannot be left out: the formatting and the write of the system.
void LogLineByHand(benchmark::State& state) {
  const LogPath path("hand");
  std::FILE* const file = std::fopen(path.Text().c_str(), "w");
  int line = 0;
  for (auto _ : state) {
    std::fprintf(file, "12:34:56 Warning: %s: line %d is not understood\r", kConfiguration, ++line);
    std::fflush(file);
  }
  std::fclose(file);
}
BENCHMARK(LogLineByHand)->Name("BM_LogLineFlushed/limit");

// The same with the time looked up for each line.
void LogLineStd(benchmark::State& state) {
  const LogPath path("std");
  std::FILE* const file = std::fopen(path.Text().c_str(), "w");
  int line = 0;
  for (auto _ : state) {
    const std::time_t now = std::time(nullptr);
    char stamp[64];
    std::strftime(stamp, sizeof stamp, "%X ", std::localtime(&now));
    std::fprintf(file, "%sWarning: %s: line %d is not understood\r", stamp, kConfiguration, ++line);
    std::fflush(file);
  }
  std::fclose(file);
}
BENCHMARK(LogLineStd)->Name("BM_LogLineFlushed/std");

#ifdef ZTK_BENCH_SPDLOG
void LogLineSpdlog(benchmark::State& state) {
  const LogPath path("spdlog");
  spdlog::logger logger("bench",
                        std::make_shared<spdlog::sinks::basic_file_sink_st>(path.Text(), true));
  logger.set_pattern("%X Warning: %v");
  logger.flush_on(spdlog::level::trace);
  int line = 0;
  for (auto _ : state) logger.warn("{}: line {} is not understood", kConfiguration, ++line);
}
BENCHMARK(LogLineSpdlog)->Name("BM_LogLineFlushed/spdlog");
#endif

#ifdef ZTK_BENCH_POCO
void LogLinePoco(benchmark::State& state) {
  const LogPath path("poco");
  {
    Poco::AutoPtr<Poco::FileChannel> file(new Poco::FileChannel(path.Text()));
    file->setProperty("flush", "true");
    Poco::AutoPtr<Poco::PatternFormatter> formatter(
        new Poco::PatternFormatter("%H:%M:%S Warning: %t"));
    formatter->setProperty("times", "local");
    Poco::AutoPtr<Poco::FormattingChannel> channel(new Poco::FormattingChannel(formatter, file));
    Poco::Logger& logger = Poco::Logger::create("bench", channel, Poco::Message::PRIO_TRACE);
    int line = 0;
    for (auto _ : state) logger.warning("%s: line %d is not understood", kConfiguration, ++line);
    Poco::Logger::destroy("bench");
  }
}
BENCHMARK(LogLinePoco)->Name("BM_LogLineFlushed/poco");
#endif

// Logging that is switched off must cost next to nothing.
void LogOffZtk(benchmark::State& state) {
  ZTKLog::ms_doLog = 0;
  int line = 0;
  for (auto _ : state) ZTKLogWarning("%s: line %d is not understood", kConfiguration, ++line);
}
BENCHMARK(LogOffZtk)->Name("BM_LogSwitchedOff/ztk");

#ifdef ZTK_BENCH_SPDLOG
void LogOffSpdlog(benchmark::State& state) {
  const LogPath path("spdlog-off");
  spdlog::logger logger("off",
                        std::make_shared<spdlog::sinks::basic_file_sink_st>(path.Text(), true));
  logger.set_level(spdlog::level::off);
  int line = 0;
  for (auto _ : state) logger.warn("{}: line {} is not understood", kConfiguration, ++line);
}
BENCHMARK(LogOffSpdlog)->Name("BM_LogSwitchedOff/spdlog");
#endif

}  // namespace
