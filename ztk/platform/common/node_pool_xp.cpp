#include <pthread.h>

#include "ztk/foundation/internal/node_pool.h"

namespace {

// The destructor of a thread-local object would do as well, but the system ends the program when
// there is no memory to note it. A key needs none.
class ThreadKey {
 public:
  explicit ThreadKey(void (*pAtEnd)(void*)) noexcept
      : m_bValid(pthread_key_create(&m_key, pAtEnd) == 0) {}
  ~ThreadKey() {
    if (m_bValid) pthread_key_delete(m_key);
  }
  ThreadKey(const ThreadKey&) = delete;
  ThreadKey& operator=(const ThreadKey&) = delete;

  bool Set() noexcept { return m_bValid && pthread_setspecific(m_key, this) == 0; }

 private:
  pthread_key_t m_key{};
  bool m_bValid;
};

}  // namespace

bool ZTKNodePool::XPWatchThread() noexcept {
  static ThreadKey key([](void*) { EndThread(); });
  return key.Set();
}
