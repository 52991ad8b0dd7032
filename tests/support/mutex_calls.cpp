#include "tests/support/mutex_calls.h"

#include <dlfcn.h>
#include <pthread.h>

namespace {

using mutex_calls::Call;

thread_local int t_errors[3] = {};

template <class Function>
Function* Real(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int ErrorOf(Call call) { return t_errors[static_cast<int>(call)]; }

}  // namespace

extern "C" {

int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) noexcept {
  if (const int error = ErrorOf(Call::kInit); error != 0) return error;
  static const auto s_real = Real(&pthread_mutex_init, "pthread_mutex_init");
  return s_real(mutex, attributes);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept {
  if (const int error = ErrorOf(Call::kLock); error != 0) return error;
  static const auto s_real = Real(&pthread_mutex_lock, "pthread_mutex_lock");
  return s_real(mutex);
}

int pthread_mutex_unlock(pthread_mutex_t* mutex) noexcept {
  if (const int error = ErrorOf(Call::kUnlock); error != 0) return error;
  static const auto s_real = Real(&pthread_mutex_unlock, "pthread_mutex_unlock");
  return s_real(mutex);
}

}  // extern "C"

namespace mutex_calls {

Refusal::Refusal(Call call, int nError) { t_errors[static_cast<int>(call)] = nError; }

Refusal::~Refusal() {
  for (int& error : t_errors) error = 0;
}

}  // namespace mutex_calls
