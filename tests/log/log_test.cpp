#include "ztk/log/log.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <regex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/log/log_support.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/native_path.h"
#include "tests/support/scoped_process.h"
#include "tests/support/temp_dir.h"

namespace {

namespace fs = std::filesystem;

// Keeps what it is given.
class RecordingLog : public ZTKLog {
 public:
  explicit RecordingLog(Texts& lines, int* pDeleted = nullptr)
      : m_lines(lines), m_pDeleted(pDeleted) {}
  ~RecordingLog() override {
    if (m_pDeleted != nullptr) ++*m_pDeleted;
  }
  void DoLogString(const char* pszText) override { m_lines.emplace_back(pszText); }

 private:
  Texts& m_lines;
  int* m_pDeleted;
};

TEST_F(ZTKLogTest, IsOffUntilItIsSwitchedOn) {
  EXPECT_EQ(ZTKLog::ms_doLog, 0);
  EXPECT_EQ(ZTKLog::ms_logLevel, 10000u);
  // The argument is no text: to look at it would end the program.
  const char* const nothing = reinterpret_cast<const char*>(1);
  ZTKLogError("%s", nothing);
  ZTKLogWarning("%s", nothing);
  ZTKLogInfo("%s", nothing);
  ZTKLog::OnLog(1, nothing);
  EXPECT_EQ(ZTKLog::ms_pLogger, nullptr);
  EXPECT_FALSE(HasTrace());
}

TEST_F(ZTKLogTest, FirstMessageCreatesTheTraceFile) {
  ZTKLog::ms_doLog = 1;
  ZTKLogWarning("%s %d", "message", 7);
  EXPECT_NE(ZTKLog::ms_pLogger, nullptr);
  EXPECT_EQ(Lines(Trace(), '\r'), Texts{"Warning: message 7"});
  EXPECT_EQ(Trace().back(), '\r');
}

TEST_F(ZTKLogTest, EveryLineIsInTheFileAtOnce) {
  ZTKLog::ms_doLog = -1;  // Anything but 0.
  for (const char* text : {"one", "two", "three"}) {
    ZTKLogInfo("%s", text);
    EXPECT_EQ(Lines(Trace(), '\r').back(), text);
  }
  EXPECT_EQ(Lines(Trace(), '\r'), (Texts{"one", "two", "three"}));
}

TEST_F(ZTKLogTest, PrefixesFollowTheLevel) {
  Texts lines;
  ZTKLog::ms_doLog = 1;
  ZTKLog::SetActiveTarget(new RecordingLog(lines));
  ZTKLogError("m%d", 1);
  ZTKLogWarning("m%d", 2);
  ZTKLogInfo("m%d", 3);
  for (const unsigned long level : {0ul, 1ul, 2ul, 3ul, 4ul, 5ul, 6ul, 7ul, 10000ul}) {
    ZTKLog::OnLog(level, "m");
  }
  EXPECT_EQ(lines, (Texts{"Error: m1", "Warning: m2", "m3", "m", "Error: m", "Warning: m", "m",
                          "Debug: m", "Trace: m", "m", "m", "m"}));
}

void LogAll(const char* pszFormat, ...) ZTK_PRINTF(1, 2);
void LogAll(const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  va_list copies[2];
  for (va_list& copy : copies) va_copy(copy, args);
  ZTKVLogError(pszFormat, args);
  ZTKVLogWarning(pszFormat, copies[0]);
  ZTKVLogInfo(pszFormat, copies[1]);
  for (va_list& copy : copies) va_end(copy);
  va_end(args);
}

TEST_F(ZTKLogTest, ArgumentListsAreFormattedToo) {
  Texts lines;
  ZTKLog::ms_doLog = 1;
  ZTKLog::SetActiveTarget(new RecordingLog(lines));
  LogAll("%s-%d", "a", 5);
  EXPECT_EQ(lines, (Texts{"Error: a-5", "Warning: a-5", "a-5"}));
}

TEST_F(ZTKLogTest, ThresholdLetsTheSevereOnesPass) {
  for (const unsigned long threshold : {0ul, 1ul, 2ul, 3ul, 4ul, 5ul, 9ul, 10000ul}) {
    SCOPED_TRACE(threshold);
    Texts lines;
    ZTKLog::ms_doLog = 1;
    ZTKLog::ms_logLevel = threshold;
    ZTKLog::SetActiveTarget(new RecordingLog(lines));
    Texts expected;
    const std::pair<unsigned long, const char*> all[] = {
        {0, "m"},        {1, "Error: m"}, {2, "Warning: m"}, {3, "m"},
        {4, "Debug: m"}, {5, "Trace: m"}, {10001, "m"}};
    for (const auto& [level, line] : all) {
      ZTKLog::OnLog(level, "m");
      if (threshold >= level) expected.emplace_back(line);
    }
    ZTKLogError("e");
    if (threshold >= 1) expected.emplace_back("Error: e");
    ZTKLogWarning("w");
    if (threshold >= 2) expected.emplace_back("Warning: w");
    ZTKLogInfo("i");
    if (threshold >= 3) expected.emplace_back("i");
    EXPECT_EQ(lines, expected);
  }
}

TEST_F(ZTKLogTest, MessageBelowTheThresholdStillCreatesTheTarget) {
  ZTKLog::ms_doLog = 1;
  ZTKLog::ms_logLevel = 1;
  ZTKLog::OnLog(2, "dropped before the target is needed");
  EXPECT_FALSE(HasTrace());
  ZTKLogInfo("dropped");
  EXPECT_TRUE(HasTrace());
  EXPECT_EQ(Trace(), "");
}

TEST_F(ZTKLogTest, LongMessagesAreCutTo4095Characters) {
  Texts lines;
  ZTKLog::ms_doLog = 1;
  ZTKLog::SetActiveTarget(new RecordingLog(lines));
  for (const size_t length : {0u, 1u, 4094u, 4095u, 4096u, 10000u}) {
    SCOPED_TRACE(length);
    ZTKLogInfo("%s", std::string(length, 'x').c_str());
    EXPECT_EQ(lines.back(), std::string(std::min<size_t>(length, 4095), 'x'));
  }
  ZTKLog::OnLog(3, std::string(10000, 'y').c_str());  // Formatted already: nothing to cut.
  EXPECT_EQ(lines.back(), std::string(10000, 'y'));
}

TEST_F(ZTKLogTest, MessageThatCannotBeFormattedIsEmpty) {
  Texts lines;
  ZTKLog::ms_doLog = 1;
  ZTKLog::SetActiveTarget(new RecordingLog(lines));
  ZTKLogInfo("before");
  ZTKLogError("%lc", static_cast<wint_t>(0x7FFFFFFF));  // No character of any encoding.
  EXPECT_EQ(lines, (Texts{"before", "Error: "}));
  ZTKLog::OnLog(1, nullptr);
  EXPECT_EQ(lines.back(), "Error: ");
}

// Targets.

TEST_F(ZTKLogTest, NewTargetReplacesAndDeletesTheOld) {
  Texts first;
  Texts second;
  int deleted = 0;
  auto* const one = new RecordingLog(first, &deleted);
  ZTKLog::SetActiveTarget(one);
  EXPECT_EQ(ZTKLog::GetActiveTarget(), one);
  ZTKLog::SetActiveTarget(one);  // The same again.
  EXPECT_EQ(deleted, 0);
  ZTKLog::ms_doLog = 1;
  ZTKLogInfo("a");
  ZTKLog::SetActiveTarget(new RecordingLog(second, &deleted));
  EXPECT_EQ(deleted, 1);
  ZTKLogInfo("b");
  ZTKLog::SetActiveTarget(nullptr);
  EXPECT_EQ(deleted, 2);
  EXPECT_EQ(ZTKLog::ms_pLogger, nullptr);
  EXPECT_EQ(first, Texts{"a"});
  EXPECT_EQ(second, Texts{"b"});
  EXPECT_FALSE(HasTrace());
}

TEST_F(ZTKLogTest, DefaultTargetEmptiesItsFileEachTimeItIsMade) {
  ZTKLog::ms_doLog = 1;
  ZTKLogInfo("first");
  ZTKLog::SetActiveTarget(nullptr);
  EXPECT_EQ(Lines(Trace(), '\r'), Texts{"first"});
  ZTKLogInfo("second");
  EXPECT_EQ(Lines(Trace(), '\r'), Texts{"second"});
}

TEST_F(ZTKLogTest, TargetExistsWithoutAnySwitch) {
  EXPECT_NE(ZTKLog::GetActiveTarget(), nullptr);
  EXPECT_EQ(ZTKLog::GetActiveTarget(), ZTKLog::ms_pLogger);
  EXPECT_TRUE(HasTrace());
}

TEST_F(ZTKLogTest, BaseTargetSwallowsEverything) {
  ZTKLog::ms_doLog = 1;
  ZTKLog::SetActiveTarget(new ZTKLog);
  ZTKLogError("nothing comes of it");
  ZTKLog::GetActiveTarget()->DoFlush();
  EXPECT_FALSE(HasTrace());
  EXPECT_TRUE(fs::is_empty(Work()));
}

TEST_F(ZTKLogTest, FileTargetThatCannotBeOpenedIsSilent) {
  ZTKLog::ms_doLog = 1;
  ZTKLog::SetActiveTarget(new ZTKLogFile((Dir() / "missing/file.log").c_str()));
  ZTKLogError("lost");
  ZTKLog::GetActiveTarget()->DoFlush();
  ZTKLog::SetActiveTarget(new ZTKLogFile(nullptr));
  ZTKLogError("lost");
  EXPECT_EQ(ZTKLog::ms_doLog, 1);
  ZTKLog::SetActiveTarget(new ZTKLogFile("/dev/full"));
  ZTKLogError("lost");
  ZTKLog::SetActiveTarget(new ZTKLogFile((Dir() / "good.log").c_str()));
  ZTKLogError("kept");
  EXPECT_EQ(Lines(ReadWholeFile(Dir() / "good.log"), '\r'), Texts{"Error: kept"});
}

TEST_F(ZTKLogTest, TraceFileFollowsTheWorkingDirectoryOfTheFirstMessage) {
  fs::create_directory(Dir() / "other");
  ZTKLog::ms_doLog = 1;
  ZTKLogInfo("a");
  fs::current_path(Dir() / "other");
  ZTKLogInfo("b");
  EXPECT_EQ(Lines(Trace(), '\r'), (Texts{"a", "b"}));
  EXPECT_FALSE(fs::exists(TraceFileIn(Dir() / "other")));
}

TEST_F(ZTKLogTest, OutOfMemoryMeansNoTarget) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the allocator is not ours";
  ZTKLog::ms_doLog = 1;
  const failing_allocator::Scope scope(0);
  ZTKLogInfo("lost");
  EXPECT_EQ(ZTKLog::GetActiveTarget(), nullptr);
}

// Logs one message from inside each of its operations.
class TalkativeLog : public ZTKLog {
 public:
  explicit TalkativeLog(Texts& lines) : m_lines(lines) {}
  void DoLogString(const char* pszText) override {
    ZTKLogError("from inside, by %s", "format");
    ZTKLog::OnLog(1, "from inside");
    m_lines.emplace_back(pszText);
  }

 private:
  Texts& m_lines;
};

TEST_F(ZTKLogTest, MessageFromInsideATargetIsDropped) {
  Texts lines;
  ZTKLog::ms_doLog = 1;
  ZTKLog::SetActiveTarget(new TalkativeLog(lines));
  ZTKLogInfo("one %d", 1);
  ZTKLog::OnLog(2, "two");
  ZTKLogWarning("three");
  EXPECT_EQ(lines, (Texts{"one 1", "Warning: two", "Warning: three"}));
}

class ThrowingLog : public ZTKLog {
 public:
  void DoLogString(const char*) override { throw 1; }
};

TEST_F(ZTKLogTest, TargetThatThrowsDoesNotSilenceTheNextOne) {
  ZTKLog::ms_doLog = 1;
  ZTKLog::SetActiveTarget(new ThrowingLog);
  EXPECT_THROW(ZTKLogInfo("x"), int);
  Texts lines;
  ZTKLog::SetActiveTarget(new RecordingLog(lines));
  ZTKLogInfo("y");
  EXPECT_EQ(lines, Texts{"y"});
}

// Lines.

TEST_F(ZTKLogTest, LineIsAppendedWithItsTimeAndACarriageReturn) {
  ZTKString out("kept ");
  FormatLogBuf(out, "message");
  const std::string text = out.c_str();
  EXPECT_EQ(text.substr(0, 5), "kept ");
  EXPECT_EQ(Lines(text.substr(5), '\r'), Texts{"message"});
  ZTKString none;
  FormatLogBuf(none, nullptr);
  EXPECT_EQ(Lines(none.c_str(), '\r'), Texts{""});
}

TEST_F(ZTKLogTest, FileTargetWritesLinesOfEveryLength) {
  ZTKLog::SetActiveTarget(new ZTKLogFile((Dir() / "my.log").c_str()));
  Texts expected;
  for (size_t length = 490; length < 520; ++length) expected.emplace_back(length, 'x');
  for (const size_t length : {0u, 1u, 4000u, 4096u, 5000u, 100000u}) {
    expected.emplace_back(length, 'y');
  }
  for (const std::string& text : expected) ZTKLog::GetActiveTarget()->DoLogString(text.c_str());
  ZTKLog::GetActiveTarget()->DoLogString(nullptr);
  expected.emplace_back();
  EXPECT_EQ(Lines(ReadWholeFile(Dir() / "my.log"), '\r'), expected);
}

TEST_F(ZTKLogTest, StderrTargetEndsLinesWithALineFeed) {
  ZTKLog::ms_doLog = 1;
  ZTKLog::SetActiveTarget(new ZTKLogStderr);
  StderrCapture capture;
  ZTKLogInfo("m");
  ZTKLogError("%d", 2);
  EXPECT_EQ(Lines(capture.Stop(), '\n'), (Texts{"m", "Error: 2"}));
  EXPECT_FALSE(HasTrace());
}

TEST_F(ZTKLogTest, StderrTargetCutsLinesTo1023Characters) {
  ZTKLog::ms_doLog = 1;
  ZTKLog::SetActiveTarget(new ZTKLogStderr);
  for (const size_t length : {1013u, 1014u, 1015u, 3000u}) {  // The time and its blank take nine.
    SCOPED_TRACE(length);
    StderrCapture capture;
    ZTKLogInfo("%s", std::string(length, 'x').c_str());
    const std::string text = capture.Stop();
    EXPECT_EQ(text.size(), std::min<size_t>(length + 9, 1023) + 1);
    EXPECT_EQ(text.back(), '\n');
    EXPECT_EQ(text.find('\r'), std::string::npos);
  }
}

// Debug output.

std::string DebugOutput(const char* pszText) {
  StderrCapture capture;
  XPOutputDebugString(pszText);
  return capture.Stop();
}

TEST(ZTKDebugOutput, FormatsWhateverTheSwitchSays) {
  ASSERT_EQ(ZTKLog::ms_doLog, 0);
  StderrCapture capture;
  ZTKOutputDebugString("a%d", 1);
  ZTKOutputDebugString("%s", "");
  ZTKOutputDebugString("line\n");
  EXPECT_EQ(capture.Stop(), "a1\n\nline\n\n");
}

TEST(ZTKDebugOutput, LineEndsBecomeOneLineFeed) {
  const std::pair<const char*, const char*> rows[] = {
      {"a", "a\n"},       {"a\n", "a\n"},     {"a\r", "a\n"},
      {"a\r\n", "a\r\n"}, {"a\n\r", "a\n\n"}, {"a\rb\nc", "a\rb\nc\n"},
      {"\r", "\n"},       {"\n", "\n"},       {"", ""}};
  for (const auto& [text, expected] : rows) {
    SCOPED_TRACE(Hex(text));
    EXPECT_EQ(DebugOutput(text), expected);
  }
  EXPECT_EQ(DebugOutput(nullptr), "");
}

TEST(ZTKDebugOutput, TextsAreCutTo1023CharactersAndKeepTheirLineFeed) {
  for (size_t length = 1020; length <= 1026; ++length) {
    for (const char* end : {"", "\r", "\n"}) {
      SCOPED_TRACE(testing::Message() << length << ' ' << Hex(end));
      const std::string text = std::string(length, 'x') + end;
      std::string expected = text.substr(0, 1023);
      if (expected.back() == '\r' || expected.back() == '\n') expected.pop_back();
      expected += '\n';
      EXPECT_EQ(DebugOutput(text.c_str()), expected);
    }
    StderrCapture capture;
    ZTKOutputDebugString("%s", std::string(length, 'y').c_str());
    EXPECT_EQ(capture.Stop(), std::string(std::min<size_t>(length, 1023), 'y') + '\n');
  }
}

TEST(ZTKDebugOutput, TextIsAFormatThatHasNoArguments) {
  const std::pair<const char*, const char*> rows[] = {
      {"100%%", "100%"},
      {"%%%%", "%%"},
      {"%%%", "%%"},
      {"%", "%"},
      {"50% done", "50% done"},
      {"a%", "a%"},
      {"%n", "%n"},
      {"%s%s%s%s%s%s%s%s", "%s%s%s%s%s%s%s%s"},
      {"%*d %1$s %999999999d %.999999999f", "%*d %1$s %999999999d %.999999999f"},
      {"%hhn%lln%jn%zn%tn%Ln%qn%m%p%C%S", "%hhn%lln%jn%zn%tn%Ln%qn%m%p%C%S"},
      {"%5%%", "%5%%"},
      {"%-5%%%", "%-5%%"},
      {"%y%%", "%y%"},
      {"%12345", "%12345"},
      {"%\xC3\xA4%%", "%\xC3\xA4%"},
  };
  for (const auto& [text, expected] : rows) {
    SCOPED_TRACE(text);
    EXPECT_EQ(DebugOutput(text), std::string(expected) + '\n');
  }
  StderrCapture capture;
  ZTKOutputDebugString("100%%%%");
  ZTKOutputDebugString("%s", "%n%s");
  EXPECT_EQ(capture.Stop(), "100%\n%n%s\n");
}

TEST(ZTKDebugOutput, LongFormatsStayWithinTheirBounds) {
  EXPECT_EQ(DebugOutput(std::string(3000, '%').c_str()), std::string(512, '%') + '\n');
  const std::string text = std::string(1021, 'x') + "%%%%";
  EXPECT_EQ(DebugOutput(text.c_str()), std::string(1021, 'x') + "%\n");
}

TEST(ZTKDebugOutput, TextThatCannotBeFormattedIsAnEmptyLine) {
  StderrCapture capture;
  ZTKOutputDebugString("%lc", static_cast<wint_t>(0x7FFFFFFF));
  EXPECT_EQ(capture.Stop(), "\n");
}

TEST(ZTKSnprintf, NeverWritesPastTheGivenSize) {
  for (size_t size = 0; size <= 12; ++size) {
    SCOPED_TRACE(size);
    std::array<char, 20> buffer;
    buffer.fill('#');
    EXPECT_EQ(ZTKSnprintf(buffer.data(), size, "%s-%d", "seven", 42), 8);
    const std::string expected = std::string("seven-42").substr(0, size > 0 ? size - 1 : 0);
    if (size > 0) {
      EXPECT_EQ(std::string(buffer.data()), expected);
    }
    for (size_t i = size; i < buffer.size(); ++i) EXPECT_EQ(buffer[i], '#');
  }
  char buffer[8];
  if (sizeof(wint_t) < 4) return;  // Every wide character there can be written.
  EXPECT_LT(ZTKSnprintf(buffer, sizeof buffer, "%lc", static_cast<wint_t>(0x7FFFFFFF)), 0);
}

}  // namespace
