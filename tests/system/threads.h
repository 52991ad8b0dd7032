#pragma once

#ifndef _WIN32
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

#ifndef _WIN32
/// Whether a thread of this process sleeps in the system.
inline bool IsAsleep(pid_t thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string line;
  std::getline(file, line);
  const size_t nameEnd = line.rfind(')');
  return nameEnd != std::string::npos && line.size() > nameEnd + 2 && line[nameEnd + 2] == 'S';
}
#endif

/// A thread that runs a function, and whose sleep can be waited for but on Windows.
class TestThread {
 public:
  template <class Function>
  explicit TestThread(Function function)
      : m_thread([this, function] {
          NoteId();
          function();
        }) {}
  ~TestThread() { Join(); }
  TestThread(const TestThread&) = delete;
  TestThread& operator=(const TestThread&) = delete;

#ifndef _WIN32
  void AwaitSleep() const {
    AwaitTrue([this] { return m_id != 0 && IsAsleep(m_id); });
  }
#endif
  void Join() {
    if (m_thread.joinable()) m_thread.join();
  }

 private:
#ifdef _WIN32
  void NoteId() {}
#else
  void NoteId() { m_id = gettid(); }

  std::atomic<pid_t> m_id{0};
#endif
  std::thread m_thread;
};
