#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "tests/support/native_path.h"
#include "tests/support/temp_dir.h"
#include "ztk/log/log.h"

/// Puts the whole log back to what it is when a program starts, in a folder of its own.
class ZTKLogTest : public testing::Test {
 protected:
  ZTKLogTest() : m_cwd(MakeWork()) { Reset(); }
  ~ZTKLogTest() override { Reset(); }

  const TempDir& Dir() const { return m_dir; }
  /// The working directory.
  std::string Work() const { return m_dir / "work"; }
  std::string Trace() const { return ReadWholeFile(TraceFileIn(Work())); }
  bool HasTrace() const { return std::filesystem::exists(TraceFileIn(Work())); }

 private:
  std::string MakeWork() const {
    std::filesystem::create_directory(Work());
    return Work();
  }
  static void Reset() {
    ZTKLog::SetActiveTarget(nullptr);
    ZTKLog::ms_doLog = 0;
    ZTKLog::ms_logLevel = 10000;
  }

  TempDir m_dir;
  ScopedWorkingDirectory m_cwd;
};

/// The lines without their times, each "<text>" as it stands after a time of day and a blank.
inline std::vector<std::string> Lines(const std::string& text, char end) {
  std::vector<std::string> lines;
  size_t start = 0;
  for (size_t at; (at = text.find(end, start)) != std::string::npos; start = at + 1) {
    const std::string line = text.substr(start, at - start);
    EXPECT_TRUE(std::regex_match(line.substr(0, 9), std::regex("[0-2]\\d:[0-5]\\d:[0-6]\\d ")))
        << line.substr(0, 20);
    lines.push_back(line.substr(std::min<size_t>(9, line.size())));
  }
  EXPECT_EQ(start, text.size()) << "the last line has no end";
  return lines;
}

using Texts = std::vector<std::string>;
