// Every way of saving that promises something, with each call of the system interrupted, or the
// last one of the process.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "tests/file/safe_saving_support.h"
#include "tests/file/unnamed_support.h"

namespace {

TEST(SafeSaving, NoInterruptionOfACallIsAFailure) {
  for (const Way& way : kWays) {
    const Strict strict(way.strict);
    long calls = 1000;
    for (long n = 0; n < calls; ++n) {
      const Place place(way);
      ZTKCommitOutcome outcome;
      std::string failed;
      {
        faulty_calls::Scope scope;
        scope.FailAt(n, EINTR);
        outcome = place.Save();
        failed = scope.Failed();
        if (failed.empty()) calls = scope.Count();
      }
      SCOPED_TRACE(testing::Message() << way.name << ": call " << n << " " << failed);
      EXPECT_EQ(outcome, COMMIT_DONE);
      EXPECT_TRUE(place.IsNew());
      EXPECT_TRUE(place.KeepsLinks());
      EXPECT_EQ(place.Left(), 0);
    }
  }
}

TEST(SafeSaving, AProcessKilledAtAnyCallLeavesTheOldVersionOrTheNewOne) {
  for (const Way& way : kWays) {
    const Strict strict(way.strict);
    bool killed = true;
    long leftBehind = 0;
    for (long n = 0; killed; ++n) {
      ASSERT_LT(n, 1000);
      SCOPED_TRACE(testing::Message() << way.name << ": call " << n);
      const Place place(way);
      const pid_t child = fork();
      if (child == 0) {
        faulty_calls::Scope scope;
        scope.DieAt(n);
        _exit(place.Save() == COMMIT_DONE ? 0 : 1);
      }
      int status = 0;
      ASSERT_EQ(waitpid(child, &status, 0), child);
      killed = WIFSIGNALED(status);
      if (!killed) {
        EXPECT_EQ(status, 0);
      }
      if (way.isOneStep || !killed) {
        EXPECT_TRUE(place.IsNew() || place.IsAsItWas());
      } else {
        EXPECT_TRUE(place.IsNew() || place.IsAsItWas() || place.HasNewBeside());
      }
      EXPECT_LE(place.Left(), killed ? 1 : 0);
      leftBehind += place.Left();
    }
    // Only between the naming of the file and its renaming over the target.
    if (IsUnnamed(way) && CanBeUnnamed(TempDir().Path())) {
      EXPECT_EQ(leftBehind, way.targetExists ? 1 : 0) << way.name;
    }
  }
}

}  // namespace
