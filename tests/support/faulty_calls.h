#pragma once

#include <string>

/// Counts the calls that the library makes of the system about files, and has one of them fail or
/// be the last of the process: for tests that go through all of them. A test program that uses it
/// compiles faulty_calls.cpp as a source of its own, and not system_calls.cpp beside it.
namespace faulty_calls {

/// While it lives, the calls of this process are counted. One at a time.
class Scope {
 public:
  Scope();
  ~Scope();
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  /// Makes the call with this index fail. EINTR is given only by calls that a signal interrupts.
  void FailAt(long nCall, int nError);
  /// Makes the first call of this name fail.
  void FailAt(const std::string& name, int nError);
  /// Ends the process by SIGKILL in the place of the call with this index.
  void DieAt(long nCall);
  /// Makes every call of linkat fail.
  void RefuseNames(int nError);
  /// Makes every opening of a file without a name fail.
  void RefuseUnnamed(int nError);

  long Count() const;
  /// The name of the call that failed; "" for none.
  std::string Failed() const;
};

}  // namespace faulty_calls
