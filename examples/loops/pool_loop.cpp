// A loop that cannot wait for a handle, as libuv's on Windows, has a thread of the system's pool
// wait for it, which wakes the loop from there. Here the loop is a queue of this program's own;
// with libuv `Wake` is uv_async_send, and what runs then is the callback of the uv_async_t.

#include <windows.h>

#include <condition_variable>
#include <mutex>

#include "examples/loops/countdown.h"

namespace {

// What any thread may wake, and one waits for.
class Loop {
 public:
  void Wake() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isWoken = true;
    m_condition.notify_one();
  }
  void Wait() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_condition.wait(lock, [this] { return m_isWoken; });
    m_isWoken = false;
  }

 private:
  std::mutex m_mutex;
  std::condition_variable m_condition;
  bool m_isWoken = false;
};

// Waits once at a time: the handle is signalled until `Dispatch`.
class PoolWait {
 public:
  explicit PoolWait(Loop& loop) : m_loop(loop) {}
  ~PoolWait() { Stop(); }
  PoolWait(const PoolWait&) = delete;
  PoolWait& operator=(const PoolWait&) = delete;

  bool Start() {
    Stop();
    const auto handle = reinterpret_cast<HANDLE>(ZTKEventLoop::Main().GetWaitHandle());
    return RegisterWaitForSingleObject(&m_wait, handle, OnSignalled, &m_loop, INFINITE,
                                       WT_EXECUTEONLYONCE) != 0;
  }

 private:
  static void CALLBACK OnSignalled(void* pLoop, BOOLEAN /*bTimedOut*/) {
    static_cast<Loop*>(pLoop)->Wake();
  }
  // Waits for a call under way, too.
  void Stop() {
    if (m_wait != nullptr) UnregisterWaitEx(m_wait, INVALID_HANDLE_VALUE);
    m_wait = nullptr;
  }

  Loop& m_loop;
  HANDLE m_wait = nullptr;
};

}  // namespace

int main() {
  Loop loop;
  PoolWait wait(loop);
  bool isDone = false;
  Countdown countdown(3, [&isDone] { isDone = true; });
  if (!countdown.Start(50, 0)) return 1;
  while (!isDone) {
    if (!wait.Start()) return 1;
    loop.Wait();
    ZTKEventLoop::Main().Dispatch();
  }
  return 0;
}
