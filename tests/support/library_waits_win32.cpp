#include "tests/support/library_waits_win32.h"

#include <array>
#include <atomic>
#include <iterator>

#include "tests/support/imports_win32.h"

namespace {

std::array<std::atomic<DWORD>, 64> s_threads;  // Those that wait; 0 for none.

/// Notes the calling thread. One that finds no place is not seen.
class Note {
 public:
  Note() {
    for (std::atomic<DWORD>& thread : s_threads) {
      DWORD none = 0;
      if (!thread.compare_exchange_strong(none, GetCurrentThreadId())) continue;
      m_pOwn = &thread;
      return;
    }
  }
  ~Note() {
    if (m_pOwn != nullptr) *m_pOwn = 0;
  }
  Note(const Note&) = delete;
  Note& operator=(const Note&) = delete;

 private:
  std::atomic<DWORD>* m_pOwn = nullptr;
};

// The system's.
DWORD(WINAPI* s_waitForSingleObject)(HANDLE, DWORD);
BOOL(WINAPI* s_sleepCondition)(PCONDITION_VARIABLE, PSRWLOCK, DWORD, ULONG);

DWORD WINAPI Wait(HANDLE handle, DWORD timeout) {
  const Note note;
  return s_waitForSingleObject(handle, timeout);
}

BOOL WINAPI SleepCondition(PCONDITION_VARIABLE condition, PSRWLOCK lock, DWORD timeout,
                           ULONG flags) {
  const Note note;
  return s_sleepCondition(condition, lock, timeout, flags);
}

}  // namespace

void library_waits::Watch() {
  static const imports::Replacement kReplacements[] = {
      imports::Replace("WaitForSingleObject", &Wait, &s_waitForSingleObject),
      imports::Replace("SleepConditionVariableSRW", &SleepCondition, &s_sleepCondition),
  };
  imports::ReplaceIn(imports::LibraryModule(), kReplacements, std::size(kReplacements));
}

bool library_waits::IsWaiting(DWORD nThread) {
  for (const std::atomic<DWORD>& thread : s_threads) {
    if (thread == nThread) return true;
  }
  return false;
}
