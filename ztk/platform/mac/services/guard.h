#pragma once

#include <new>
#include <utility>

#include "ztk/foundation/internal/allocation_watch.h"

namespace ztk_mac_services {

/// What `call` gives, or `failure` when memory runs out in it: no service throws.
template <class Result, class Call>
Result Guarded(Result failure, Call call) noexcept {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    ZTKAllocationWatch::NoteFailure();
    return failure;
  }
}

/// `new` inside of `Guarded`, whose handler clang-tidy does not see around a lambda.
template <class Object, class... Arguments>
Object* CreateObject(Arguments&&... arguments) {
  return new Object(std::forward<Arguments>(arguments)...);
}

}  // namespace ztk_mac_services
