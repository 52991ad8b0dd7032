#include "ztk/text/text_buffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/failing_allocator.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Storage that only says what it is asked, and answers as told.
class FakeBuffer : public ZTKTextBuffer {
 public:
  using ZTKTextBuffer::ZTKTextBuffer;

  bool OnExists() const override { return Asked("exists", exists); }
  bool OnOpen(const ZTKString& name, ZTKTextBufferOpenMode mode) override {
    const char* const what = mode == OPEN_CREATE ? "create " : "open ";
    return Asked(what + std::string(name.view()), opens);
  }
  bool OnClose() override { return Asked("close", closes); }
  bool OnRead() override {
    AddLine("read", EOL_UNIX);
    return Asked("read", reads);
  }
  bool OnWrite(ZTKTextFileType type) override {
    return Asked("write " + std::to_string(type), writes);
  }

  using ZTKTextBuffer::AppendLine;

  bool exists = false;
  bool opens = true;
  bool closes = true;
  bool reads = true;
  bool writes = true;
  mutable std::vector<std::string> asked;

 private:
  bool Asked(std::string what, bool answer) const {
    asked.push_back(std::move(what));
    return answer;
  }
};

using Lines = std::vector<std::pair<std::string, int>>;

Lines LinesOf(const ZTKTextBuffer& buffer) {
  Lines lines;
  for (const ZTKString& line : buffer) {
    lines.emplace_back(line.view(), buffer.GetLineType(lines.size()));
  }
  EXPECT_EQ(lines.size(), buffer.GetLineCount());
  EXPECT_EQ(buffer.GetLineType(lines.size()), EOL_NONE) << "a type without a line";
  return lines;
}

std::string Translated(const std::string& text, ZTKTextFileType type) {
  return std::string(ZTKTextBuffer::Translate(text.c_str(), type).view());
}

// The rule said otherwise: each CR LF, CR or LF, the longest first, is one line end.
std::string ExpectedTranslation(const std::string& text, const std::string& lineEnd) {
  std::string result;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text.compare(i, 2, "\r\n") == 0) ++i;
    result += text[i] == '\r' || text[i] == '\n' ? lineEnd : std::string(1, text[i]);
  }
  return result;
}

}  // namespace

TEST(ZTKTextBuffer, IsEmptyAtFirst) {
  const FakeBuffer unnamed;
  EXPECT_EQ(unnamed.GetName(), "");
  EXPECT_FALSE(unnamed.IsOpened());
  EXPECT_EQ(unnamed.GetLineCount(), 0u);
  EXPECT_EQ(FakeBuffer("name").GetName(), "name");
  EXPECT_THAT(unnamed.asked, IsEmpty());
}

TEST(ZTKTextBuffer, ConstantsKeepTheirValues) {
  EXPECT_EQ(EOL_NONE, 0);
  EXPECT_EQ(EOL_UNIX, 1);
  EXPECT_EQ(EOL_DOS, 2);
  EXPECT_EQ(EOL_MAC, 3);
  EXPECT_EQ(OPEN_READ, 0);
  EXPECT_EQ(OPEN_CREATE, 1);
  EXPECT_EQ(sizeof(ZTKTextFileType), 4u);
  EXPECT_EQ(sizeof(ZTKTextBufferOpenMode), 4u);
  EXPECT_EQ(ZTKTextBuffer::typeDefault, EOL_DOS);
}

TEST(ZTKTextBuffer, ExistsAsksTheStorage) {
  FakeBuffer buffer;
  EXPECT_FALSE(buffer.Exists());
  buffer.exists = true;
  EXPECT_TRUE(buffer.Exists());
  EXPECT_THAT(buffer.asked, ElementsAre("exists", "exists"));
}

TEST(ZTKTextBuffer, CreatesStorageAndClosesIt) {
  FakeBuffer buffer;
  buffer.AddLine("kept", EOL_DOS);
  buffer.closes = false;  // Not looked at.
  EXPECT_TRUE(buffer.Create("n"));
  EXPECT_THAT(buffer.asked, ElementsAre("exists", "create n", "close"));
  EXPECT_EQ(LinesOf(buffer), (Lines{{"kept", EOL_DOS}}));
  EXPECT_FALSE(buffer.IsOpened());
}

TEST(ZTKTextBuffer, CreateRefusesStorageThatExists) {
  FakeBuffer buffer;
  buffer.exists = true;
  EXPECT_FALSE(buffer.Create("n"));
  EXPECT_EQ(buffer.GetName(), "n");
  EXPECT_THAT(buffer.asked, ElementsAre("exists"));
}

TEST(ZTKTextBuffer, CreateStopsWhenTheStorageDoesNotOpen) {
  FakeBuffer buffer("n");
  buffer.opens = false;
  EXPECT_FALSE(buffer.Create());
  EXPECT_THAT(buffer.asked, ElementsAre("exists", "create n"));
}

TEST(ZTKTextBuffer, OpensReadsAndCloses) {
  FakeBuffer buffer;
  EXPECT_TRUE(buffer.Open("n"));
  EXPECT_TRUE(buffer.IsOpened());
  EXPECT_EQ(buffer.GetName(), "n");
  EXPECT_THAT(buffer.asked, ElementsAre("open n", "read", "close"));
}

TEST(ZTKTextBuffer, OpenAppendsToTheLinesThereAre) {
  FakeBuffer buffer("n");
  EXPECT_TRUE(buffer.Open());
  EXPECT_TRUE(buffer.Open());
  EXPECT_EQ(LinesOf(buffer), (Lines{{"read", EOL_UNIX}, {"read", EOL_UNIX}}));
}

TEST(ZTKTextBuffer, OpenAFailureOfReadingIsTheResultAndTheStorageIsClosed) {
  FakeBuffer buffer("n");
  buffer.reads = false;
  EXPECT_FALSE(buffer.Open());
  EXPECT_FALSE(buffer.IsOpened());
  EXPECT_THAT(buffer.asked, ElementsAre("open n", "read", "close"));
  EXPECT_EQ(buffer.GetLineCount(), 1u) << "what was read stays";
}

TEST(ZTKTextBuffer, OpenOfStorageThatDoesNotOpenLeavesTheOldResult) {
  FakeBuffer buffer("n");
  EXPECT_TRUE(buffer.Open());
  buffer.opens = false;
  buffer.asked.clear();
  EXPECT_FALSE(buffer.Open("other"));
  EXPECT_TRUE(buffer.IsOpened());
  EXPECT_THAT(buffer.asked, ElementsAre("open other"));
}

TEST(ZTKTextBuffer, WriteHandsOverTheTypeAndTheResult) {
  FakeBuffer buffer;
  EXPECT_TRUE(buffer.Write(EOL_NONE));
  buffer.writes = false;
  EXPECT_FALSE(buffer.Write(EOL_MAC));
  EXPECT_THAT(buffer.asked, ElementsAre("write 0", "write 3"));
}

TEST(ZTKTextBuffer, CloseForgetsLinesAndResultWithoutAHook) {
  FakeBuffer buffer("n");
  EXPECT_TRUE(buffer.Open());
  buffer.asked.clear();
  EXPECT_TRUE(buffer.Close());
  EXPECT_FALSE(buffer.IsOpened());
  EXPECT_THAT(LinesOf(buffer), IsEmpty());
  EXPECT_THAT(buffer.asked, IsEmpty());
  EXPECT_EQ(buffer.GetName(), "n");
}

TEST(ZTKTextBuffer, ClearForgetsLinesAndKeepsTheResult) {
  FakeBuffer buffer("n");
  EXPECT_TRUE(buffer.Open());
  buffer.asked.clear();
  buffer.Clear();
  EXPECT_TRUE(buffer.IsOpened());
  EXPECT_THAT(LinesOf(buffer), IsEmpty());
  EXPECT_THAT(buffer.asked, IsEmpty());
}

TEST(ZTKTextBuffer, AddsInsertsAndRemovesLinesWithTheirTypes) {
  FakeBuffer buffer;
  buffer.AddLine("b", EOL_DOS);
  buffer.InsertLine("a", 0, EOL_MAC);
  buffer.InsertLine("d", 99, EOL_UNIX);
  buffer.InsertLine("c", 2, EOL_NONE);
  EXPECT_EQ(LinesOf(buffer),
            (Lines{{"a", EOL_MAC}, {"b", EOL_DOS}, {"c", EOL_NONE}, {"d", EOL_UNIX}}));
  buffer.RemoveLine(1);
  buffer.RemoveLine(3);
  buffer.RemoveLine(ULONG_MAX);
  EXPECT_EQ(LinesOf(buffer), (Lines{{"a", EOL_MAC}, {"c", EOL_NONE}, {"d", EOL_UNIX}}));
}

TEST(ZTKTextBuffer, HoldsCopiesOfLines) {
  FakeBuffer buffer;
  ZTKString text("a");
  buffer.AddLine(text, EOL_DOS);
  text += "b";
  buffer.AddLine(buffer.GetLine(0), EOL_DOS);
  buffer.InsertLine(buffer.GetLine(1), 0, EOL_DOS);
  EXPECT_EQ(LinesOf(buffer), (Lines{{"a", EOL_DOS}, {"a", EOL_DOS}, {"a", EOL_DOS}}));
}

TEST(ZTKTextBuffer, AppendsLinesOfAnyLength) {
  FakeBuffer buffer;
  const std::string text(100000, 'x');
  for (unsigned long length : {0ul, 1ul, 15ul, 16ul, 8191ul, 8192ul, 100000ul}) {
    SCOPED_TRACE(length);
    ASSERT_TRUE(buffer.AppendLine(text.data(), length, EOL_MAC));
    const ZTKString& line = buffer.GetLine(buffer.GetLineCount() - 1);
    EXPECT_EQ(line.Len(), length);
    EXPECT_EQ(line.AllocatedSize(), ZTKString(text.data(), text.data() + length).AllocatedSize());
    EXPECT_EQ(buffer.GetLineType(buffer.GetLineCount() - 1), EOL_MAC);
  }
}

TEST(ZTKTextBuffer, ALinePastTheEndIsOneSharedEmptyString) {
  FakeBuffer empty;
  FakeBuffer buffer;
  buffer.AddLine("a", EOL_NONE);
  const ZTKString& line = empty.GetLine(0);
  EXPECT_EQ(line, "");
  EXPECT_EQ(&empty.GetLine(7), &line);
  EXPECT_EQ(&buffer.GetLine(1), &line);
  EXPECT_EQ(&buffer.GetLine(ULONG_MAX), &line);
}

TEST(ZTKTextBuffer, ALinePastTheEndReadsEmptyInStaticDestructors) {
  // The flusher is static and made before the empty line is: whatever ended it at exit would do so
  // before the flusher's destructor reads it.
  struct Flusher {
    ~Flusher() {
      if (FakeBuffer().GetLine(3).view() != "") std::_Exit(1);
      std::_Exit(42);
    }
  };
  EXPECT_EXIT(
      {
        static const Flusher flusher;
        (void)FakeBuffer().GetLine(0);
        std::exit(0);
      },
      testing::ExitedWithCode(42), "");
}

TEST(ZTKTextBuffer, GetEOLGivesTheCharactersOfALineEnd) {
  EXPECT_EQ(ZTKTextBuffer::GetEOL(EOL_NONE), "");
  EXPECT_EQ(ZTKTextBuffer::GetEOL(EOL_UNIX), "\n");
  EXPECT_EQ(ZTKTextBuffer::GetEOL(EOL_DOS), "\r\n");
  EXPECT_EQ(ZTKTextBuffer::GetEOL(EOL_MAC), "\r");
  for (int value : {4, 5, 1000, INT_MAX, -1, INT_MIN}) {
    EXPECT_EQ(ZTKTextBuffer::GetEOL(static_cast<ZTKTextFileType>(value)), "") << value;
  }
}

TEST(ZTKTextBuffer, TranslateReplacesLineEnds) {
  struct {
    std::string text;
    ZTKTextFileType type;
    std::string result;
  } const rows[] = {
      {"a\r\rb", EOL_UNIX, "a\n\nb"},
      {"a\r\n", EOL_DOS, "a\r\n"},
      {"a\n", EOL_NONE, "a\n"},
      {"x\r", EOL_UNIX, "x\n"},
      {"", EOL_DOS, ""},
      {"\r\r\n", EOL_UNIX, "\n\n"},
      {"\n\r", EOL_UNIX, "\n\n"},
      {"a", EOL_MAC, "a"},
      {"a\rb\nc\r\nd", EOL_MAC, "a\rb\rc\rd"},
      {"a\r\nb\n", static_cast<ZTKTextFileType>(9), "ab"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.text) + " as " + std::to_string(row.type));
    EXPECT_EQ(Translated(row.text, row.type), row.result);
  }
}

TEST(ZTKTextBuffer, TranslateStopsAtANul) {
  const char text[] = "a\n\0b\n";
  EXPECT_EQ(ZTKTextBuffer::Translate(ZTKString(text, text + 5), EOL_DOS), "a\r\n");
}

TEST(ZTKTextBuffer, TranslateTreatsEveryShortTextByTheRule) {
  // All texts over {a, CR, LF} of up to eight characters, to all four types.
  const std::string lineEnds[] = {"", "\n", "\r\n", "\r"};
  size_t tried = 0;
  for (size_t length = 0; length <= 8; ++length) {
    size_t texts = 1;
    for (size_t i = 0; i < length; ++i) texts *= 3;
    for (size_t number = 0; number < texts; ++number, ++tried) {
      std::string text;
      for (size_t i = 0, rest = number; i < length; ++i, rest /= 3) text += "a\r\n"[rest % 3];
      ASSERT_EQ(Translated(text, EOL_NONE), text);
      for (int type = EOL_UNIX; type <= EOL_MAC; ++type) {
        ASSERT_EQ(Translated(text, static_cast<ZTKTextFileType>(type)),
                  ExpectedTranslation(text, lineEnds[type]))
            << testing::PrintToString(text);
      }
    }
  }
  EXPECT_EQ(tried, 9841u);
}

TEST(ZTKTextBuffer, TranslateOfALongTextTakesLinearTime) {
  std::string text;
  for (int i = 0; i < 200000; ++i) text += "line\n";
  EXPECT_EQ(Translated(text, EOL_DOS), ExpectedTranslation(text, "\r\n"));
}

TEST(ZTKTextBuffer, LinesAndTypesStayEqualWhenMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const ZTKString text("a line that needs a block");
  for (long passed = 0;; ++passed) {
    SCOPED_TRACE(passed);
    FakeBuffer buffer;
    bool failed = false;
    {
      failing_allocator::Scope scope(passed, 1);
      for (int i = 0; i < 20; ++i) {
        buffer.AddLine(text, EOL_DOS);
        buffer.InsertLine(text, 1, EOL_MAC);
        buffer.AppendLine(text.c_str(), text.Len(), EOL_UNIX);
      }
      failed = scope.Failed();
    }
    for (unsigned long i = 0; i < buffer.GetLineCount(); ++i) {
      EXPECT_EQ(buffer.GetLine(i), text);
      EXPECT_NE(buffer.GetLineType(i), EOL_NONE);
    }
    EXPECT_EQ(buffer.GetLineType(buffer.GetLineCount()), EOL_NONE);
    if (!failed) {
      EXPECT_EQ(buffer.GetLineCount(), 60u);
      break;
    }
    EXPECT_GE(buffer.GetLineCount(), 57u);
    ASSERT_LT(passed, 1000);
  }
}

TEST(ZTKTextBuffer, TranslateGivesNothingWhenMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  const ZTKString text(
      "a line\nand another one\nand one more, so that the result must "
      "grow\n\n\n\n\n\n\n\n\n\n\n\n");
  for (long passed = 0; passed < 3; ++passed) {
    failing_allocator::Scope scope(passed, 1);
    const ZTKString result = ZTKTextBuffer::Translate(text, EOL_DOS);
    if (scope.Failed()) {
      EXPECT_EQ(result, "");
    } else {
      EXPECT_GT(result.Len(), text.Len());
    }
    EXPECT_TRUE(scope.Failed() || passed > 0);
  }
}
