// Programs outside the library depend on where the fields of these classes lie.
#include <cstddef>

#include "ztk/system/date_time.h"
#include "ztk/system/file_dialog.h"
#include "ztk/system/module.h"
#include "ztk/system/sync.h"
#include "ztk/system/timer.h"

// Some of the classes are polymorphic, but laid out plainly.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

struct ZTKSystemLayout {
  static constexpr size_t kWord = sizeof(void*);
  static constexpr size_t kString = sizeof(ZTKString);
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

  static_assert(offsetof(ZTKTimer, m_nMilliseconds) == kWord);
  static_assert(offsetof(ZTKTimer, m_nId) == kWord + 4);
  static_assert(offsetof(ZTKTimer, m_bOneShot) == kWord + 8);
  static_assert(offsetof(ZTKTimer, m_pRecord) == (kWord == 4 ? 16 : 24));
  static_assert(sizeof(ZTKTimer) == (kWord == 4 ? 20 : 32));

  static_assert(offsetof(ZTKDateTime, m_nValue) == 0);
  static_assert(sizeof(ZTKDateTime) == 8);
  static_assert(offsetof(ZTKDateTime::TimeZone, m_nOffset) == 0);
  static_assert(sizeof(ZTKDateTime::TimeZone) == 4);
  static_assert(offsetof(ZTKDateTime::Tm, millisecond) == 0);
  static_assert(offsetof(ZTKDateTime::Tm, second) == 2);
  static_assert(offsetof(ZTKDateTime::Tm, minute) == 4);
  static_assert(offsetof(ZTKDateTime::Tm, hour) == 6);
  static_assert(offsetof(ZTKDateTime::Tm, day) == 8);
  static_assert(offsetof(ZTKDateTime::Tm, month) == 12);
  static_assert(offsetof(ZTKDateTime::Tm, year) == 16);
  static_assert(sizeof(ZTKDateTime::Tm) == 20);

  static_assert(offsetof(ZTKModule, m_initName) == 0);
  static_assert(offsetof(ZTKModule, m_cleanupName) == kString);
  static_assert(offsetof(ZTKModule, m_pHandle) == 2 * kString);
  static_assert(offsetof(ZTKModule, m_bAttached) == 2 * kString + kWord);
  static_assert(sizeof(ZTKModule) == (kWord == 4 ? 32 : 48));

  static_assert(offsetof(ZTKFileDLG, m_title) == kWord);
  static_assert(offsetof(ZTKFileDLG, m_nStyle) == kWord + kString);  // Padded to a word.
  static_assert(offsetof(ZTKFileDLG, m_pParent) == 2 * kWord + kString);
  static_assert(offsetof(ZTKFileDLG, m_directory) == 3 * kWord + kString);
  static_assert(offsetof(ZTKFileDLG, m_path) == 3 * kWord + 2 * kString);
  static_assert(offsetof(ZTKFileDLG, m_fileName) == 3 * kWord + 3 * kString);
  static_assert(offsetof(ZTKFileDLG, m_wildcard) == 3 * kWord + 4 * kString);
  static_assert(offsetof(ZTKFileDLG, m_nFilterIndex) == 3 * kWord + 5 * kString);
  static_assert(sizeof(ZTKFileDLG) == (kWord == 4 ? 76 : 112));

  static_assert(offsetof(OpenUserDataRec, bSave) == 0);
  static_assert(offsetof(OpenUserDataRec, nFilter) == 4);
  static_assert(offsetof(OpenUserDataRec, description) == 8);
  static_assert(offsetof(OpenUserDataRec, directory) == 8 + kString);
  static_assert(offsetof(OpenUserDataRec, patterns) == 8 + 2 * kString);
};
