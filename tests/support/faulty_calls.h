#pragma once

#include <cerrno>
#include <string>
#include <vector>

/// Counts the calls that the library makes of the system about files, and has one of them fail or
/// be the last of the process: for tests that go through all of them. A test program that uses it
/// compiles faulty_calls.cpp as a source of its own, and not system_calls.cpp beside it. On Windows
/// it is a part of what every test has.
namespace faulty_calls {

/// The status of a process of Windows that a call ended.
constexpr int kKilled = 73;

/// Errors that a call about a file may end with, as numbers of errno, on Windows of the system: no
/// access, (of Windows: somebody else has the file open,) no room, no device, broken device.
#ifdef _WIN32
constexpr int kErrors[] = {5, 32, 112, 21, 29};
#else
constexpr int kErrors[] = {EIO, ENOSPC, EMFILE, EACCES};
#endif

/// While it lives, the calls of this process are counted. One at a time.
class Scope {
 public:
  Scope();
  ~Scope();
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  /// Makes the call with this index fail, with a number of errno, on Windows with one of the
  /// system's. EINTR is given only by calls that a signal interrupts.
  void FailAt(long nCall, int nError);
  /// Makes the first call of this name fail.
  void FailAt(const std::string& name, int nError);
  /// Makes the call with this index fail, and all behind it.
  void FailFrom(long nCall, int nError);
  /// Ends the process by SIGKILL, on Windows with the status kKilled and nothing written out, in
  /// the place of the call with this index.
  void DieAt(long nCall);
#ifdef _WIN32
  /// The names of all calls.
  const std::vector<std::string>& Calls() const;
#else
  /// Makes every call of linkat fail.
  void RefuseNames(int nError);
  /// Makes every opening of a file without a name fail.
  void RefuseUnnamed(int nError);
#endif

  long Count() const;
  /// The name of the last call that failed; "" for none.
  std::string Failed() const;
};

}  // namespace faulty_calls
