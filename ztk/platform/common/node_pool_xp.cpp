#include <pthread.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstdint>

#include "ztk/foundation/internal/node_pool.h"

namespace {

// The destructor of a thread-local object would do as well, but the system ends the program when
// there is no memory to note it, and keeps the library loaded. A key does neither.
enum class KeyState { kNotMade, kMade, kNone };
constinit KeyState s_keyState = KeyState::kNotMade;
constinit pthread_key_t s_key{};

char* Map(std::size_t nSize) {
  void* const memory =
      mmap(nullptr, nSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return memory != MAP_FAILED ? static_cast<char*>(memory) : nullptr;
}

}  // namespace

void* ZTKNodePool::XPMap(std::size_t nSize) noexcept {
  // Next to one that is aligned, as systems place it, it is aligned too.
  char* const memory = Map(nSize);
  if (!memory || reinterpret_cast<std::uintptr_t>(memory) % nSize == 0) return memory;
  munmap(memory, nSize);
  char* const twice = Map(2 * nSize);
  if (!twice) return nullptr;
  const std::size_t before = (0 - reinterpret_cast<std::uintptr_t>(twice)) % nSize;
  if (before > 0) munmap(twice, before);
  munmap(twice + before + nSize, nSize - before);
  return twice + before;
}

bool ZTKNodePool::XPUnmap(void* p, std::size_t nSize) noexcept {
  const int error = errno;  // Deleting a node is no operation of the system to its caller.
  const bool unmapped = munmap(p, nSize) == 0;
  errno = error;
  return unmapped;
}

bool ZTKNodePool::XPWatchThread() noexcept {
  if (s_keyState == KeyState::kNotMade) {
    const bool made = pthread_key_create(&s_key, [](void*) { EndThread(); }) == 0;
    // Asked for once: where every key of the process is taken, asking again takes long.
    s_keyState = made ? KeyState::kMade : KeyState::kNone;
    // A child of a process with threads must not find the lock held by one that it does not have.
    pthread_atfork([] { Lock(); }, [] { Unlock(); }, [] { Unlock(); });
  }
  return s_keyState == KeyState::kMade && pthread_setspecific(s_key, &s_key) == 0;
}

void ZTKNodePool::XPForgetThreads() noexcept {
  if (s_keyState == KeyState::kMade) pthread_key_delete(s_key);
  s_keyState = KeyState::kNone;
}
