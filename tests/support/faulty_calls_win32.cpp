// The calls of faulty_calls.h and system_calls.h on Windows: those about files that the library
// imports. Its pauses between two tries are left out meanwhile.
#include <windows.h>
// Behind it.
#include <aclapi.h>

#include <cerrno>
#include <iterator>
#include <map>

#include "tests/support/faulty_calls.h"
#include "tests/support/imports_win32.h"
#include "tests/support/system_calls.h"

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

// What system_calls refuses, by the names that it has for them; null for nothing.
std::map<std::string, int>* s_refused = nullptr;

DWORD ErrorOf(int nErrno) {
  switch (nErrno) {
    case EACCES:
      return ERROR_ACCESS_DENIED;
    case EXDEV:
      return ERROR_NOT_SAME_DEVICE;
    case EINVAL:
      return ERROR_INVALID_FUNCTION;
    case ENOSPC:
      return ERROR_DISK_FULL;
    default:
      return ERROR_WRITE_FAULT;
  }
}

// Whether system_calls refuses a call of this name; with the last error set.
bool IsRefused(const char* pszName) {
  if (s_refused == nullptr) return false;
  const auto found = s_refused->find(pszName);
  if (found == s_refused->end()) return false;
  SetLastError(ErrorOf(found->second));
  return true;
}

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

// The calls that system_calls has names for, in front of the others.

decltype(&SetFileInformationByHandle) s_setInformation = nullptr;
decltype(&DeleteFileW) s_delete = nullptr;
decltype(&MoveFileExW) s_move = nullptr;
decltype(&FlushFileBuffers) s_flush = nullptr;
decltype(&Sleep) s_sleep = nullptr;

// The headers know these in parts only.
const char* NameOf(FILE_INFO_BY_HANDLE_CLASS what) {
  switch (static_cast<int>(what)) {
    case 3:
    case 22:
      return "rename";
    case 4:
    case 21:
      return "remove";
    default:
      return "";
  }
}

BOOL WINAPI SetInformation(HANDLE hFile, FILE_INFO_BY_HANDLE_CLASS what, LPVOID pInfo,
                           DWORD nSize) {
  if (IsRefused(NameOf(what)) || MustFail("SetFileInformationByHandle")) return FALSE;
  return s_setInformation(hFile, what, pInfo, nSize);
}

BOOL WINAPI Delete(LPCWSTR pszPath) {
  return IsRefused("remove") || MustFail("DeleteFileW") ? FALSE : s_delete(pszPath);
}

BOOL WINAPI Move(LPCWSTR pszFrom, LPCWSTR pszTo, DWORD nFlags) {
  return IsRefused("rename") || MustFail("MoveFileExW") ? FALSE : s_move(pszFrom, pszTo, nFlags);
}

BOOL WINAPI Flush(HANDLE hFile) {
  return IsRefused("fsync file") || MustFail("FlushFileBuffers") ? FALSE : s_flush(hFile);
}

void WINAPI Pause(DWORD nMs) { s_sleep(s_state.isActive || s_refused != nullptr ? 0 : nMs); }

void Install() {
  const imports::Replacement calls[] = {
      Replace<decltype(&CreateDirectoryW)>("CreateDirectoryW", [] { return FALSE; }),
      Replace<decltype(&CreateFileW)>("CreateFileW", [] { return INVALID_HANDLE_VALUE; }),
      Replace<decltype(&DeviceIoControl)>("DeviceIoControl", [] { return FALSE; }),
      Replace<decltype(&FindFirstFileW)>("FindFirstFileW", [] { return INVALID_HANDLE_VALUE; }),
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
      Replace<decltype(&ReOpenFile)>("ReOpenFile", [] { return INVALID_HANDLE_VALUE; }),
      Replace<decltype(&ReadFile)>("ReadFile", [] { return FALSE; }),
      Replace<decltype(&RemoveDirectoryW)>("RemoveDirectoryW", [] { return FALSE; }),
      Replace<decltype(&SetEndOfFile)>("SetEndOfFile", [] { return FALSE; }),
      Replace<decltype(&SetFileAttributesW)>("SetFileAttributesW", [] { return FALSE; }),
      Replace<decltype(&SetFilePointerEx)>("SetFilePointerEx", [] { return FALSE; }),
      Replace<decltype(&SetSecurityInfo)>("SetSecurityInfo", [] { return GetLastError(); }),
      Replace<decltype(&UnlockFileEx)>("UnlockFileEx", [] { return FALSE; }),
      Replace<decltype(&WriteFile)>("WriteFile", [] { return FALSE; }),
      imports::Replace("DeleteFileW", &Delete, &s_delete),
      imports::Replace("FlushFileBuffers", &Flush, &s_flush),
      imports::Replace("MoveFileExW", &Move, &s_move),
      imports::Replace("SetFileInformationByHandle", &SetInformation, &s_setInformation),
      imports::Replace("Sleep", &Pause, &s_sleep),
  };
  imports::ReplaceIn(imports::LibraryModule(), calls, std::size(calls));
}

void InstallOnce() {
  static const bool s_isInstalled = (Install(), true);
  static_cast<void>(s_isInstalled);
}

}  // namespace

namespace faulty_calls {

Scope::Scope() {
  s_state = State();
  InstallOnce();
  s_state.isActive = true;
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

namespace system_calls {

Scope::Scope() {
  InstallOnce();
  s_refused = new std::map<std::string, int>;
}

Scope::~Scope() {
  delete s_refused;
  s_refused = nullptr;
}

void Scope::Refuse(const std::string& name, int nError) { (*s_refused)[name] = nError; }

}  // namespace system_calls
