// Programs outside the library depend on where the fields of these classes lie.
#include <cstddef>

#include "ztk/system/sync.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
struct ZTKSyncLayout {
  static constexpr size_t kWord = sizeof(void*);
  static constexpr size_t kMutex = 2 * kWord;

  static_assert(sizeof(std::atomic<int>) == 4 && std::atomic<int>::is_always_lock_free);
  static_assert(offsetof(ZTKMutex, m_bLocked) == 0);
  static_assert(offsetof(ZTKMutex, m_pSystem) == kWord);
  static_assert(sizeof(ZTKMutex) == kMutex);
  static_assert(sizeof(ZTKCriticalSection) == kMutex);

  static_assert(sizeof(ZTKSemaphore) == kWord);
  static_assert(sizeof(CZTKMsgEvent) == kWord);

  static_assert(offsetof(ZTKCondition, m_nWaiters) == 0);
  static_assert(offsetof(ZTKCondition, m_guard) == kWord);
  static_assert(offsetof(ZTKCondition, m_pMutex) == kWord + kMutex);
  static_assert(offsetof(ZTKCondition, m_semaphore) == 2 * kWord + kMutex);
  static_assert(sizeof(ZTKCondition) == 3 * kWord + kMutex);

  static_assert(offsetof(ZTKEvent, m_field) == kWord);
  static_assert(sizeof(ZTKEvent) == (kWord == 4 ? 32 : 40));

  static_assert(offsetof(ZTKThread, m_section) == kWord);
  static_assert(offsetof(ZTKThread, m_state) == kWord + kMutex);
  static_assert(offsetof(ZTKThread, m_nPriority) == kWord + kMutex + 4);
  static_assert(offsetof(ZTKThread, m_nId) == kWord + kMutex + 8);
};
#pragma GCC diagnostic pop
