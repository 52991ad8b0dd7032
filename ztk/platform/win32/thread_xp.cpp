#include <process.h>
#include <windows.h>

#include <algorithm>
#include <limits>
#include <new>

#include "ztk/platform/threads/thread_system.h"
#include "ztk/platform/win32/system_function.h"
#include "ztk/platform/win32/wide_text.h"

namespace {

// A thread, and the event that it sets when it has run. It is joined by that event and not by its
// handle: a thread ends under the loader's lock, so that whoever waited for its end with that lock,
// as every static destructor of a DLL has it, would wait for ever.
struct Thread {
  NativeThreadMain* main;
  HANDLE hasRun;
  DWORD id = 0;
  bool isDetached = false;
};

Thread* From(NativeThread thread) noexcept {
  return reinterpret_cast<Thread*>(thread);  // NOLINT(performance-no-int-to-ptr): it was one.
}

void Free(Thread* thread) noexcept {
  CloseHandle(thread->hasRun);
  delete thread;
}

unsigned __stdcall Main(void* pThread) {
  auto* const thread = static_cast<Thread*>(pThread);
  const HANDLE hasRun = thread->hasRun;
  thread->main->Run();
  if (thread->isDetached) {
    Free(thread);
  } else {
    SetEvent(hasRun);  // Then it is of whoever joins.
  }
  return 0;
}

// A thread that was joined still has to return through this code: what contains it stays loaded.
void StayLoaded() noexcept {
  static const bool s_stays = [] {
    HMODULE self = nullptr;
    constexpr DWORD kFlags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN;
    return GetModuleHandleExW(kFlags, reinterpret_cast<LPCWSTR>(&Main), &self) != 0;
  }();
  static_cast<void>(s_stays);
}

}  // namespace

bool XPCreateThread(NativeThread& thread, NativeThreadMain& main, size_t nStackSize) noexcept {
  StayLoaded();
  const HANDLE hasRun = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  if (hasRun == nullptr) return false;
  auto* const created = new (std::nothrow) Thread{&main, hasRun};
  if (created == nullptr) {
    CloseHandle(hasRun);
    return false;
  }
  const auto stack =
      static_cast<unsigned>(std::min<size_t>(nStackSize, std::numeric_limits<unsigned>::max()));
  // Suspended until its id is known, which others read once it runs.
  const std::uintptr_t handle = _beginthreadex(
      nullptr, stack, Main, created, CREATE_SUSPENDED | STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  if (handle == 0) {
    Free(created);
    return false;
  }
  thread = reinterpret_cast<NativeThread>(created);
  const auto started = reinterpret_cast<HANDLE>(handle);  // NOLINT(performance-no-int-to-ptr)
  created->id = GetThreadId(started);
  ResumeThread(started);
  CloseHandle(started);
  return true;
}

bool XPIsCaller(NativeThread thread) noexcept { return From(thread)->id == GetCurrentThreadId(); }

void XPJoinThread(NativeThread thread) noexcept {
  WaitForSingleObject(From(thread)->hasRun, INFINITE);
  Free(From(thread));
}

void XPDetachThread(NativeThread thread) noexcept { From(thread)->isDetached = true; }

// There are no forks to remember threads for.
void ZTKThread::System::XPRemember() noexcept {}
void ZTKThread::System::XPForget() noexcept {}

// The static destructors of DLLs run when the process has only one thread left.
bool ZTKThread::System::XPAreOthersGone() noexcept {
  using IsEnding = BOOLEAN(NTAPI*)();
  static const auto s_isEnding = SystemFunction<IsEnding>(L"ntdll", "RtlDllShutdownInProgress");
  return s_isEnding != nullptr && s_isEnding() != 0;
}

unsigned long ZTKThread::XPGetCurrentId() noexcept { return GetCurrentThreadId(); }

// Since Windows 10.
bool ZTKThread::XPSetCurrentName(const char* pszName) noexcept {
  using SetDescription = HRESULT(WINAPI*)(HANDLE, PCWSTR);
  static const auto s_setDescription =
      SystemFunction<SetDescription>(L"kernel32", "SetThreadDescription");
  if (s_setDescription == nullptr || pszName == nullptr) return false;
  const WideText name = ToWide(pszName);
  return name != nullptr && SUCCEEDED(s_setDescription(GetCurrentThread(), name.get()));
}
