#pragma once

namespace ztk_mac_services {

/// Makes a call of a service fail, so that tests see what an operation does then.
///
/// Every service that can fail begins with `if (Faults::Hit()) return <its failure>;` and does
/// nothing else in that case. Counting is per thread; nothing fails unless a test asks for it.
class Faults {
 public:
  /// Counts from here on, and makes the call with this number fail: 1 is the next one, 0 none.
  static void FailCall(unsigned long nCall) noexcept;
  /// How many calls have asked since then.
  static unsigned long Calls() noexcept;

  /// Counts a call, and tells whether it is the one that fails.
  static bool Hit() noexcept;
};

}  // namespace ztk_mac_services
