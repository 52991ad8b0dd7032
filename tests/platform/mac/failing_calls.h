#pragma once

#include <gtest/gtest.h>

#include "ztk/platform/mac/services/faults.h"

/// Runs an operation again and again, with one more call of a service passing before one fails,
/// until none does; `operation` is told whether one will. Gives the number of calls.
template <class Operation>
unsigned long WithEachCallFailing(Operation operation) {
  using ztk_mac_services::Faults;
  Faults::FailCall(0);
  operation(false);
  const unsigned long calls = Faults::Calls();
  for (unsigned long n = 1; n <= calls; ++n) {
    SCOPED_TRACE(testing::Message() << "call " << n << " of " << calls << " fails");
    Faults::FailCall(n);
    operation(true);
    EXPECT_GE(Faults::Calls(), n);
  }
  Faults::FailCall(0);
  return calls;
}
