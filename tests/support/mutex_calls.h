#pragma once

/// Has the system's mutex refuse, for the codes that no mutex with default attributes ever gives.
/// A test program that uses it compiles mutex_calls.cpp as a source of its own. Not for programs
/// under a sanitizer, which stands in the same place.
namespace mutex_calls {

enum class Call { kInit, kLock, kUnlock };

/// While it lives, calls of this kind by this thread change nothing and give the error number.
class Refusal {
 public:
  Refusal(Call call, int nError);
  ~Refusal();
  Refusal(const Refusal&) = delete;
  Refusal& operator=(const Refusal&) = delete;
};

}  // namespace mutex_calls
