#pragma once

#include <string>
#include <vector>

/// Watches the calls of this program, the library included, that decide what a power cut or a
/// refusal leaves on the disk: fsync, remove and rename; and open, to put other descriptors in the
/// place of files. A test program that uses it compiles system_calls.cpp as a source of its own. On
/// Windows it is a part of what every test has, and can refuse, alone.
namespace system_calls {

/// While it lives, the calls of this thread are recorded, in order, and the chosen one fails.
class Scope {
 public:
  Scope();
  ~Scope();
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  /// Makes calls of this name ("fsync file", "fsync folder", "remove", "rename") fail.
  /// `nError` is a number of errno everywhere.
  void Refuse(const std::string& name, int nError);
#ifndef _WIN32
  /// Ends the process, without a trace, just before the call with this index.
  void DieBefore(size_t nCall);
  /// The next open of this path gives the descriptor instead.
  void Substitute(const std::string& path, int nDescriptor);

  const std::vector<std::string>& Calls() const;
#endif
};

}  // namespace system_calls
