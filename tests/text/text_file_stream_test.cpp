// Text that comes from a pipe or a device, and saving on a small stack.
#include <fcntl.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/support/scoped_process.h"
#include "tests/text/text_file_support.h"

namespace {

using ZTKTextFileStream = ZTKTextFileTest;

class ScopedStreamLimit {
 public:
  explicit ScopedStreamLimit(std::int64_t nLimit) { ZTKTextFile::ms_nStreamLimit = nLimit; }
  ~ScopedStreamLimit() { ZTKTextFile::ms_nStreamLimit = m_old; }

 private:
  const std::int64_t m_old = ZTKTextFile::ms_nStreamLimit;
};

void WriteAll(int fd, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(fd, bytes.data(), bytes.size());
    if (written <= 0) return;  // The reader has gone.
    bytes.remove_prefix(static_cast<size_t>(written));
  }
}

/// A pipe under a path; a thread writes to it.
class Pipe {
 public:
  explicit Pipe(const std::string& path) : m_path(path) {
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
  }
  ~Pipe() {
    m_writer.join();
    unlink(m_path.c_str());
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  /// Writes the first `nSingly` bytes one by one, each when the one before has been read.
  void Write(const std::string& bytes, size_t nSingly = 0) {
    m_writer = std::thread([path = m_path, bytes, nSingly] {
      const int fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
      const size_t count = std::min(nSingly, bytes.size());
      for (size_t i = 0; i < count; ++i) {
        WriteAll(fd, {&bytes[i], 1});
        for (int left = 1; left > 0;) {
          if (ioctl(fd, FIONREAD, &left) != 0) break;
          std::this_thread::yield();
        }
      }
      WriteAll(fd, std::string_view(bytes).substr(count));
      close(fd);
    });
  }

 private:
  std::string m_path;
  std::thread m_writer;
};

struct IgnoreBrokenPipes {
  IgnoreBrokenPipes() { signal(SIGPIPE, SIG_IGN); }
  ~IgnoreBrokenPipes() { signal(SIGPIPE, SIG_DFL); }
};

TEST_F(ZTKTextFileStream, APipeLosesNoneOfItsFirstBytes) {
  const ScopedWatchdog watchdog(60);
  const std::vector<std::string> texts = {"",
                                          "a",
                                          "ab",
                                          "abc\n",
                                          "\r\n",
                                          "\xEF",
                                          "\xEF\xBB",
                                          "\xEF\xBB!\n",
                                          "\xEF\xBB\xBF",
                                          "\xEF\xBB\xBF\n\xC3\xA9",
                                          "\xFF",
                                          "\xFE",
                                          Utf16(u""),
                                          Utf16(u"a\r\n\u20AC"),
                                          Utf16(u"a") + "!",
                                          std::string(200000, 'x') + "\ny",
                                          "caf\xE9\n" + std::string(70000, '\n')};
  for (const std::string& text : texts) {
    for (const size_t singly : {size_t{0}, size_t{4}}) {
      SCOPED_TRACE(testing::Message() << Hex(text.substr(0, 8)) << ", singly: " << singly);
      Pipe pipe(Path("pipe"));
      pipe.Write(text, singly);
      ZTKTextFile file(Native("pipe").c_str());
      ZTKTextReport report;
      EXPECT_TRUE(file.Open(report));
      EXPECT_EQ(LinesOf(file), text_reference::Read(text));
      EXPECT_EQ(report.nBytes, static_cast<std::int64_t>(text.size()));
      EXPECT_EQ(report.bOddByte, text.size() == 5 && text[0] == '\xFF');
    }
  }
}

TEST_F(ZTKTextFileStream, TheReportOfAPipeCountsFromItsFirstByte) {
  const struct {
    std::string bytes;
    std::int64_t firstIllFormed;
  } rows[] = {{"ab\xE9\n", 2},
              {"\xEF\xBB\xBF"
               "ab\xE9\n",
               5},
              {Utf16(u"a\xD800z"), 4}};
  for (const auto& row : rows) {
    Pipe pipe(Path("pipe"));
    pipe.Write(row.bytes);
    ZTKTextFile file(Native("pipe").c_str());
    ZTKTextReport report;
    EXPECT_TRUE(file.Open(report));
    EXPECT_EQ(report.nFirstIllFormed, row.firstIllFormed);
  }
}

TEST_F(ZTKTextFileStream, APipeIsReadWholeOrNotAtAllWheneverMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  for (const std::string& text : {std::string("\xEF\xBB!\nb"), Utf16(u"a\nb")}) {
    bool failed = true;
    for (long passed = 0; failed; ++passed) {
      SCOPED_TRACE(passed);
      ASSERT_LT(passed, 200);
      int ends[2] = {};
      ASSERT_EQ(pipe(ends), 0);
      WriteAll(ends[1], text);
      close(ends[1]);
      ZTKTextFile file(NativePath("/proc/self/fd/" + std::to_string(ends[0])).c_str());
      bool opened = false;
      {
        const failing_allocator::Scope scope(passed, 1);
        opened = file.Open();
        failed = scope.Failed();
      }
      EXPECT_TRUE(opened || failed);
      EXPECT_TRUE(!opened || LinesOf(file) == text_reference::Read(text));
      close(ends[0]);
    }
  }
}

TEST_F(ZTKTextFileStream, ADeviceWithoutEndIsReadUpToTheLimitAndNoFurther) {
  const ScopedWatchdog watchdog(60);
  const ScopedStreamLimit limit(1 << 20);
  for (const char* device : {"/dev/zero", "/dev/full", "/dev/urandom"}) {
    SCOPED_TRACE(device);
    ZTKTextFile file(NativePath(device).c_str());
    ZTKTextReport report;
    EXPECT_FALSE(file.Open(report));
    EXPECT_TRUE(report.bPastLimit);
    EXPECT_FALSE(file.IsOpened());
    EXPECT_LE(report.nBytes, 1 << 20);
  }
  ZTKTextFile nothing(NativePath("/dev/null").c_str());
  ZTKTextReport report;
  EXPECT_TRUE(nothing.Open(report));
  EXPECT_FALSE(report.bPastLimit);
}

TEST_F(ZTKTextFileStream, TheLimitIsTheNumberOfBytesThatAreTaken) {
  const IgnoreBrokenPipes ignore;
  const std::string text = "\xEF\xBB\xBF" + std::string(99999, 'x') + "\n";
  for (const std::string& bytes : {text, text.substr(3), Utf16(std::u16string(50000, u'x'))}) {
    const auto marked = static_cast<std::int64_t>(bytes[0] == 'x' ? 0 : bytes[0] == '\xEF' ? 3 : 2);
    const std::int64_t size = static_cast<std::int64_t>(bytes.size()) - marked;
    for (const std::int64_t limit : {size - 1, size, size + 1}) {
      SCOPED_TRACE(limit);
      const ScopedStreamLimit scope(limit);
      Pipe pipe(Path("pipe"));
      pipe.Write(bytes);
      ZTKTextFile file(Native("pipe").c_str());
      ZTKTextReport report;
      EXPECT_EQ(file.Open(report), limit >= size);
      EXPECT_EQ(report.bPastLimit, limit < size);
      if (limit >= size) {
        EXPECT_EQ(LinesOf(file), text_reference::Read(bytes));
      }
    }
  }
}

TEST_F(ZTKTextFileStream, ARegularFileHasNoLimit) {
  const ScopedStreamLimit limit(3);
  EXPECT_EQ(Read("a long line\nb"), (Lines{{"a long line", EOL_UNIX}, {"b", EOL_NONE}}));
}

TEST_F(ZTKTextFileStream, AskingForAPipeThatNobodyWritesDoesNotWait) {
  const ScopedWatchdog watchdog(10);
  ASSERT_EQ(mkfifo(Path().c_str(), 0600), 0);
  for (const unsigned int options : {0u, unsigned{TEXT_ONE_STEP | TEXT_FOLLOW_LINKS}}) {
    ZTKTextFile file(Native().c_str(), options);
    EXPECT_TRUE(file.Exists());
    EXPECT_FALSE(file.Create()) << "it is there";
  }
}

// A small stack ---------------------------------------------------------------------------------

/// Runs something on a stack of this size, with a pattern in the memory below it.
class SmallStack {
 public:
  explicit SmallStack(size_t nSize) : m_size(nSize) {
    m_start = static_cast<char*>(
        mmap(nullptr, kBelow + m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    std::memset(m_start, 'p', kBelow);
  }
  ~SmallStack() { munmap(m_start, kBelow + m_size); }
  SmallStack(const SmallStack&) = delete;
  SmallStack& operator=(const SmallStack&) = delete;

  void Run(std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    ASSERT_EQ(pthread_attr_setstack(&attributes, m_start + kBelow, m_size), 0);
    pthread_t thread;
    const auto start = [](void* p) -> void* {
      (*static_cast<std::function<void()>*>(p))();
      return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, start, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
  }

  /// Whether the memory below the stack is as it was.
  bool IsIntactBelow() const {
    return std::all_of(m_start, m_start + kBelow, [](char ch) { return ch == 'p'; });
  }

 private:
  static constexpr size_t kBelow = size_t{256} * 1024;
  const size_t m_size;
  char* m_start;
};

TEST_F(ZTKTextFileStream, AStackOf64KiBIsEnoughForReadingAndSaving) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer needs more";
  std::string text;
  for (int i = 0; i < 5000; ++i) text += "line " + std::to_string(i) + "\r\n";
  const struct {
    std::string bytes;
    std::string saved;
  } rows[] = {{text, text},
              {"\xE9\n" + text, "\xE9\n" + text},
              {Utf16(std::u16string(text.begin(), text.end())),
               Utf16(std::u16string(text.begin(), text.end()))}};
  const unsigned int kSafe = TEXT_ONE_STEP | TEXT_FOLLOW_LINKS | TEXT_KEEP_IDENTITY;
  for (const auto& row : rows) {
    for (const unsigned int options : {0u, kSafe | TEXT_KEEP_ENCODING}) {
      SCOPED_TRACE(testing::Message() << Hex(row.bytes.substr(0, 4)) << ", options " << options);
      WriteWholeFile(Path(), row.bytes);
      SmallStack stack(65536);
      bool read = false;
      bool written = false;
      stack.Run([&, name = Native()] {
        ZTKTextFile file(name.c_str(), options);
        read = file.Open();
        written = file.Write(EOL_NONE);
      });
      EXPECT_TRUE(read);
      EXPECT_TRUE(written);
      EXPECT_TRUE(stack.IsIntactBelow());
      EXPECT_TRUE(options == 0 || ReadWholeFile(Path()) == row.saved);
    }
  }
}

}  // namespace
