#pragma once

/// Makes chosen allocations of this process fail: malloc, calloc, realloc, aligned_alloc and what
/// is built on them, `new (std::nothrow)` included, in the test program and in the library alike.
///
/// Sanitizers bring their own allocator; there `Available()` is false and such tests skip.
namespace failing_allocator {

bool Available();

/// Windows alone: puts what asks `MustFailNow` in the place of the allocator, once for the process.
void Install();
/// Counts an allocation, and tells whether it fails.
bool MustFailNow();

/// While it lives, allocations of this thread are counted, and the chosen ones fail.
class Scope {
 public:
  /// Lets `nBefore` allocations pass and fails the next `nFailures` (all of the rest by default).
  explicit Scope(long nBefore, long nFailures = -1);
  ~Scope();
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;

  /// Allocations asked for so far, the failed ones included.
  long Asked() const;
  /// Whether an allocation was made to fail.
  bool Failed() const;
};

}  // namespace failing_allocator
