#include "ztk/foundation/internal/allocation_watch.h"

namespace {

constinit thread_local unsigned long t_nFailures = 0;

}  // namespace

void ZTKAllocationWatch::NoteFailure() noexcept { ++t_nFailures; }

unsigned long ZTKAllocationWatch::Failures() noexcept { return t_nFailures; }
