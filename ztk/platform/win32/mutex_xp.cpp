#include "ztk/system/mutex.h"

#include <windows.h>

#include <atomic>
#include <cerrno>
#include <new>

// Any thread may unlock it, which none of the system's locks for a process allows: a word that says
// whether it is locked, and an event for those who wait. After U. Drepper, "Futexes are tricky".
struct ZTKMutex::System {
  enum Word : int { kFree, kLocked, kAwaited };

  std::atomic<int> word{kFree};
  HANDLE freed = nullptr;  // Resets itself for one thread.
};

int ZTKMutex::XPCreate(const char* /*pszName*/) {
  XPClose();
  auto* const system = new (std::nothrow) System;
  if (!system) return ENOMEM;
  system->freed = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  if (!system->freed) {
    delete system;
    return EAGAIN;
  }
  m_pSystem = system;
  return 0;
}

void ZTKMutex::XPClose() {
  if (!m_pSystem) return;
  if (IsLocked()) UnLock();
  CloseHandle(m_pSystem->freed);
  delete m_pSystem;
  m_pSystem = nullptr;
  m_bLocked = 0;
}

int ZTKMutex::XPLock() noexcept {
  std::atomic<int>& word = m_pSystem->word;
  int seen = System::kFree;
  if (word.compare_exchange_strong(seen, System::kLocked, std::memory_order_acquire)) return 0;
  // Who has waited cannot know whether others still do, so it locks for them too. The event may be
  // left set by an unlocking that nobody slept through; that costs one more round.
  while (word.exchange(System::kAwaited, std::memory_order_acquire) != System::kFree) {
    if (WaitForSingleObject(m_pSystem->freed, INFINITE) != WAIT_OBJECT_0) return EINVAL;
  }
  return 0;
}

int ZTKMutex::XPUnLock() noexcept {
  switch (m_pSystem->word.exchange(System::kFree, std::memory_order_release)) {
    case System::kFree:
      return EPERM;
    case System::kLocked:
      return 0;
    default:
      return SetEvent(m_pSystem->freed) != 0 ? 0 : EINVAL;
  }
}
