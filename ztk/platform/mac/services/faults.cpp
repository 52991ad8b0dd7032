#include "ztk/platform/mac/services/faults.h"

namespace ztk_mac_services {

namespace {

constinit thread_local unsigned long s_calls = 0;
constinit thread_local unsigned long s_failing = 0;

}  // namespace

void Faults::FailCall(unsigned long nCall) noexcept {
  s_calls = 0;
  s_failing = nCall;
}

unsigned long Faults::Calls() noexcept { return s_calls; }

bool Faults::Hit() noexcept { return ++s_calls == s_failing; }

}  // namespace ztk_mac_services
