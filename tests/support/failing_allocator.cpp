#include "tests/support/failing_allocator.h"

#include <cerrno>
#include <cstddef>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZTK_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
#define ZTK_TEST_SANITIZED 1
#endif
#endif

namespace {

thread_local bool t_active = false;
thread_local bool t_failed = false;
thread_local long t_asked = 0;
thread_local long t_before = 0;
thread_local long t_failures = 0;

[[maybe_unused]] bool MustFail() {
  if (!t_active) return false;
  const long index = t_asked++;
  if (index < t_before) return false;
  if (t_failures >= 0 && index - t_before >= t_failures) return false;
  t_failed = true;
  errno = ENOMEM;  // As the allocator does: what calls it may tell failures apart by that.
  return true;
}

}  // namespace

#ifdef _WIN32

bool failing_allocator::MustFailNow() { return MustFail(); }

#elif !defined(ZTK_TEST_SANITIZED)

extern "C" {
// The allocator's own entry points, under the names that stay reachable behind ours.
void* __libc_malloc(size_t size);                      // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(size_t count, size_t size);        // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* block, size_t size);        // NOLINT(bugprone-reserved-identifier)
void* __libc_memalign(size_t alignment, size_t size);  // NOLINT(bugprone-reserved-identifier)

void* malloc(size_t size) { return MustFail() ? nullptr : __libc_malloc(size); }
void* calloc(size_t count, size_t size) {
  return MustFail() ? nullptr : __libc_calloc(count, size);
}
void* realloc(void* block, size_t size) {
  return MustFail() ? nullptr : __libc_realloc(block, size);
}
void* aligned_alloc(size_t alignment, size_t size) {
  return MustFail() ? nullptr : __libc_memalign(alignment, size);
}
int posix_memalign(void** block, size_t alignment, size_t size) {
  void* const memory = MustFail() ? nullptr : __libc_memalign(alignment, size);
  if (memory == nullptr) return ENOMEM;
  *block = memory;
  return 0;
}
}

#endif

namespace failing_allocator {

bool Available() {
#ifdef ZTK_TEST_SANITIZED
  return false;
#else
  return true;
#endif
}

Scope::Scope(long nBefore, long nFailures) {
#ifdef _WIN32
  static const bool s_isInstalled = (Install(), true);
  static_cast<void>(s_isInstalled);
#endif
  t_failed = false;
  t_asked = 0;
  t_before = nBefore;
  t_failures = nFailures;
  t_active = true;
}

Scope::~Scope() { t_active = false; }

long Scope::Asked() const { return t_asked; }

bool Scope::Failed() const { return t_failed; }

}  // namespace failing_allocator
