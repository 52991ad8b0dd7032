// The calls of faulty_calls.h on Windows: those about files that the library imports. Its pauses
// between two tries are left out meanwhile.
#include <windows.h>
// Behind it.
#include <aclapi.h>

#include <iterator>

#include "tests/support/faulty_calls.h"
#include "tests/support/imports_win32.h"

namespace {

struct State {
  bool isActive = false;
  std::vector<std::string> calls;
  long failAt = -1;
  long failFrom = -1;
  long dieAt = -1;
  int error = 0;
  std::string failName;
  const char* failed = "";
};
State s_state;

// Counts a call; true when it has to fail, with the last error set.
bool MustFail(const char* pszName) {
  if (!s_state.isActive) return false;
  const auto index = static_cast<long>(s_state.calls.size());
  s_state.calls.emplace_back(pszName);
  if (index == s_state.dieAt) TerminateProcess(GetCurrentProcess(), faulty_calls::kKilled);
  const bool isLater = s_state.failFrom >= 0 && index >= s_state.failFrom;
  if (index != s_state.failAt && !isLater && s_state.failName != pszName) return false;
  s_state.failName.clear();
  s_state.failed = pszName;
  SetLastError(static_cast<DWORD>(s_state.error));
  return true;
}

// One call of the system: what the library calls in its place. `Tag` makes each a type of its own.
template <class Function, class Tag>
struct Call;

template <class Result, class... Args, class Tag>
struct Call<Result(WINAPI*)(Args...), Tag> {
  static inline const char* s_name = nullptr;
  static inline Result (*s_failure)() = nullptr;
  static inline Result(WINAPI* s_before)(Args...) = nullptr;
  static Result WINAPI Instead(Args... args) {
    return MustFail(s_name) ? s_failure() : s_before(args...);
  }
};

// `failure` gives what the call answers when it fails.
template <class Function, class Tag>
imports::Replacement Replace(const char* pszName, Tag failure) {
  using ThisCall = Call<Function, Tag>;
  ThisCall::s_name = pszName;
  ThisCall::s_failure = failure;
  return imports::Replace(pszName, &ThisCall::Instead, &ThisCall::s_before);
}

VOID(WINAPI* s_sleep)(DWORD) = nullptr;

void WINAPI Pause(DWORD nMs) { s_sleep(s_state.isActive ? 0 : nMs); }

bool Install() {
  const imports::Replacement calls[] = {
      Replace<decltype(&CreateDirectoryW)>("CreateDirectoryW", [] { return FALSE; }),
      Replace<decltype(&CreateFileW)>("CreateFileW", [] { return INVALID_HANDLE_VALUE; }),
      Replace<decltype(&DeleteFileW)>("DeleteFileW", [] { return FALSE; }),
      Replace<decltype(&DeviceIoControl)>("DeviceIoControl", [] { return FALSE; }),
      Replace<decltype(&FindFirstFileW)>("FindFirstFileW", [] { return INVALID_HANDLE_VALUE; }),
      Replace<decltype(&FlushFileBuffers)>("FlushFileBuffers", [] { return FALSE; }),
      Replace<decltype(&GetFileAttributesW)>("GetFileAttributesW",
                                             [] { return INVALID_FILE_ATTRIBUTES; }),
      Replace<decltype(&GetFileInformationByHandle)>("GetFileInformationByHandle",
                                                     [] { return FALSE; }),
      Replace<decltype(&GetFileInformationByHandleEx)>("GetFileInformationByHandleEx",
                                                       [] { return FALSE; }),
      Replace<decltype(&GetFileSizeEx)>("GetFileSizeEx", [] { return FALSE; }),
      Replace<decltype(&GetFileType)>("GetFileType", [] { return DWORD{FILE_TYPE_UNKNOWN}; }),
      Replace<decltype(&GetFinalPathNameByHandleW)>("GetFinalPathNameByHandleW",
                                                    [] { return DWORD{0}; }),
      Replace<decltype(&GetSecurityInfo)>("GetSecurityInfo", [] { return GetLastError(); }),
      Replace<decltype(&LockFileEx)>("LockFileEx", [] { return FALSE; }),
      Replace<decltype(&MoveFileExW)>("MoveFileExW", [] { return FALSE; }),
      Replace<decltype(&ReOpenFile)>("ReOpenFile", [] { return INVALID_HANDLE_VALUE; }),
      Replace<decltype(&ReadFile)>("ReadFile", [] { return FALSE; }),
      Replace<decltype(&RemoveDirectoryW)>("RemoveDirectoryW", [] { return FALSE; }),
      Replace<decltype(&SetEndOfFile)>("SetEndOfFile", [] { return FALSE; }),
      Replace<decltype(&SetFileAttributesW)>("SetFileAttributesW", [] { return FALSE; }),
      Replace<decltype(&SetFileInformationByHandle)>("SetFileInformationByHandle",
                                                     [] { return FALSE; }),
      Replace<decltype(&SetFilePointerEx)>("SetFilePointerEx", [] { return FALSE; }),
      Replace<decltype(&SetSecurityInfo)>("SetSecurityInfo", [] { return GetLastError(); }),
      Replace<decltype(&UnlockFileEx)>("UnlockFileEx", [] { return FALSE; }),
      Replace<decltype(&WriteFile)>("WriteFile", [] { return FALSE; }),
      imports::Replace("Sleep", &Pause, &s_sleep),
  };
  imports::ReplaceIn(imports::LibraryModule(), calls, std::size(calls));
  return true;
}

}  // namespace

namespace faulty_calls {

Scope::Scope() {
  static const bool s_isInstalled = Install();
  s_state = State();
  s_state.isActive = s_isInstalled;
}

Scope::~Scope() { s_state.isActive = false; }

void Scope::FailAt(long nCall, int nError) {
  s_state.failAt = nCall;
  s_state.error = nError;
}

void Scope::FailAt(const std::string& name, int nError) {
  s_state.failName = name;
  s_state.error = nError;
}

void Scope::FailFrom(long nCall, int nError) {
  s_state.failFrom = nCall;
  s_state.error = nError;
}

void Scope::DieAt(long nCall) { s_state.dieAt = nCall; }

long Scope::Count() const { return static_cast<long>(s_state.calls.size()); }

const std::vector<std::string>& Scope::Calls() const { return s_state.calls; }

std::string Scope::Failed() const { return s_state.failed; }

}  // namespace faulty_calls
