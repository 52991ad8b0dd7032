#pragma once

#ifdef _WIN32
#include "tests/support/library_waits_win32.h"
#else
#include <sched.h>
#include <sys/types.h>
#include <unistd.h>
#endif

#include <atomic>
#include <fstream>
#include <string>
#include <thread>

#include "tests/support/sanitizer.h"

// What the tests of threads share. They wait for what they expect, never for some time.

/// Waits until something holds; the time limit of the test program is that of the wait.
template <class Condition>
void AwaitTrue(Condition condition) {
  while (!condition()) std::this_thread::yield();
}

#ifdef _WIN32
using ThreadId = DWORD;
inline ThreadId OwnThreadId() { return GetCurrentThreadId(); }

/// Whether a thread of this process sleeps in the library.
inline bool IsAsleep(ThreadId thread) { return library_waits::IsWaiting(thread); }
#else
using ThreadId = pid_t;
inline ThreadId OwnThreadId() { return gettid(); }

/// Whether a thread of this process sleeps in the system.
inline bool IsAsleep(ThreadId thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string line;
  std::getline(file, line);
  const size_t nameEnd = line.rfind(')');
  return nameEnd != std::string::npos && line.size() > nameEnd + 2 && line[nameEnd + 2] == 'S';
}
#endif

/// A thread that runs a function, and whose sleep can be waited for.
class TestThread {
 public:
  template <class Function>
  explicit TestThread(Function function)
      : m_thread([this, function] {
          m_id = OwnThreadId();
          function();
        }) {}
  ~TestThread() { Join(); }
  TestThread(const TestThread&) = delete;
  TestThread& operator=(const TestThread&) = delete;

  void AwaitSleep() const {
    AwaitTrue([this] { return m_id != 0 && IsAsleep(m_id); });
  }
  void Join() {
    if (m_thread.joinable()) m_thread.join();
  }

 private:
#ifdef _WIN32
  const bool m_isWatched = (library_waits::Watch(), true);  // Before the thread runs.
#endif
  std::atomic<ThreadId> m_id{0};
  std::thread m_thread;
};
