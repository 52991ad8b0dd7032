#pragma once

#include <sched.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>

// What the tests of threads share. They wait for what they expect, never for some time.

#if defined(__SANITIZE_THREAD__)
inline constexpr bool kThreadSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
inline constexpr bool kThreadSanitizer = true;
#else
inline constexpr bool kThreadSanitizer = false;
#endif
#else
inline constexpr bool kThreadSanitizer = false;
#endif

/// Waits until something holds; the time limit of the test program is that of the wait.
template <class Condition>
void AwaitTrue(Condition condition) {
  while (!condition()) sched_yield();
}

/// Whether a thread of this process sleeps in the system.
inline bool IsAsleep(pid_t thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string line;
  std::getline(file, line);
  const size_t nameEnd = line.rfind(')');
  return nameEnd != std::string::npos && line.size() > nameEnd + 2 && line[nameEnd + 2] == 'S';
}

/// A thread that runs a function, and whose sleep can be waited for.
class TestThread {
 public:
  template <class Function>
  explicit TestThread(Function function)
      : m_thread([this, function] {
          m_id = gettid();
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
  std::atomic<pid_t> m_id{0};
  std::thread m_thread;
};
