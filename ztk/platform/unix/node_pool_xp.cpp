#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "ztk/foundation/internal/node_pool.h"

namespace {

// The destructor of a thread-local object would do as well, but the system ends the program when
// there is no memory to note it, and keeps the library loaded. A key does neither.
enum class KeyState { kNotMade, kMade, kNone };
constinit KeyState s_keyState = KeyState::kNotMade;
constinit pthread_key_t s_key{};

}  // namespace

void* ZTKNodePool::XPAllocate(std::size_t nAlignment, std::size_t nSize) noexcept {
  void* block = nullptr;  // std::aligned_alloc asks for a multiple of the alignment.
  return posix_memalign(&block, nAlignment, nSize) == 0 ? block : nullptr;
}

void ZTKNodePool::XPFree(void* pBlock, std::size_t nSize) noexcept {
  const int error = errno;  // Deleting a node is no call of the system to its caller.
  static const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  madvise(pBlock, nSize / page * page, MADV_DONTNEED);
  errno = error;
  std::free(pBlock);
}

// A child of a process with threads must not find the lock held by one that it does not have.
bool ZTKNodePool::XPWatchForks() noexcept {
  return pthread_atfork([] { Lock(); }, [] { Unlock(); }, [] { Unlock(); }) == 0;
}

bool ZTKNodePool::XPWatchThread() noexcept {
  if (s_keyState == KeyState::kNotMade) {
    const bool made = pthread_key_create(&s_key, [](void*) { EndThread(); }) == 0;
    // Tried once: where every key of the process is in use, trying again is slow.
    s_keyState = made ? KeyState::kMade : KeyState::kNone;
  }
  return s_keyState == KeyState::kMade && pthread_setspecific(s_key, &s_key) == 0;
}

void ZTKNodePool::XPForgetThreads() noexcept {
  if (s_keyState == KeyState::kMade) pthread_key_delete(s_key);
  s_keyState = KeyState::kNone;
}
