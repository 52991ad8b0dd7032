// Signals that interrupt a transfer.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <string>
#include <thread>

#include "tests/support/sanitizer.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file.h"

namespace {

std::atomic<int> g_signals = 0;

class InterruptingSignal {
 public:
  InterruptingSignal() {
    g_signals = 0;
    struct sigaction action {};
    action.sa_handler = [](int) { ++g_signals; };  // Without SA_RESTART.
    sigaction(SIGUSR1, &action, &m_old);
  }
  ~InterruptingSignal() { sigaction(SIGUSR1, &m_old, nullptr); }

  // Interrupts a thread of this process `nTimes` while it waits in a system call.
  static void Interrupt(pthread_t thread, pid_t id, int nTimes) {
    for (int n = 0; n < nTimes; ++n) {
      while (StateOf(id) != 'S') std::this_thread::yield();
      pthread_kill(thread, SIGUSR1);
      while (g_signals <= n) std::this_thread::yield();
    }
  }

 private:
  static char StateOf(pid_t id) {
    std::ifstream in("/proc/self/task/" + std::to_string(id) + "/stat");
    std::string text;
    std::getline(in, text);
    const size_t name = text.rfind(')');
    return name + 2 < text.size() ? text[name + 2] : '?';
  }

  struct sigaction m_old {};
};

TEST(ZTKFile, InterruptedReadGoesOn) {
  if (kThreadSanitizer) GTEST_SKIP() << "signals do not interrupt a watched call";
  const InterruptingSignal handler;
  TempDir dir;
  const std::string path = dir / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  ZTKFile file(path.c_str(), ZTKFile::read_write);
  const int writer = open(path.c_str(), O_WRONLY | O_CLOEXEC);

  std::thread other([&, reader = pthread_self(), id = gettid()] {
    InterruptingSignal::Interrupt(reader, id, 2);
    EXPECT_EQ(write(writer, "ab", 2), 2);
    InterruptingSignal::Interrupt(reader, id, 0);
    EXPECT_EQ(write(writer, "cd", 2), 2);
  });
  char four[4];
  EXPECT_EQ(file.Read(four, 4), 4u);
  other.join();
  close(writer);

  EXPECT_EQ(std::string(four, 4), "abcd");
  EXPECT_EQ(g_signals, 2);
  EXPECT_FALSE(file.HasReadError());
}

TEST(ZTKFile, InterruptedWriteGoesOn) {
  if (kThreadSanitizer) GTEST_SKIP() << "signals do not interrupt a watched call";
  const InterruptingSignal handler;
  TempDir dir;
  const std::string path = dir / "pipe";
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const int reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  fcntl(reader, F_SETFL, 0);
  ZTKFile file(path.c_str(), ZTKFile::write);
  ASSERT_TRUE(file.IsOpen());
  std::string text(1 << 20, '\0');
  for (size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>('a' + i * i % 23);

  std::string got;
  std::thread other([&, writer = pthread_self(), id = gettid()] {
    InterruptingSignal::Interrupt(writer, id, 3);
    char block[4096];
    for (ssize_t n; (n = read(reader, block, sizeof block)) > 0;) {
      got.append(block, static_cast<size_t>(n));
    }
  });
  EXPECT_EQ(file.Write(text.data(), text.size()), text.size());
  EXPECT_TRUE(file.Close());
  other.join();
  close(reader);
  EXPECT_EQ(g_signals, 3);
  EXPECT_TRUE(got == text);
}

}  // namespace
