// Every way of saving that promises something, with each call of the system failing, interrupted,
// or the last one of the process.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "tests/file/safe_saving_support.h"

namespace {

TEST(SafeSaving, EachFailedCallLeavesTheOldVersionOrTheNewOneAndSaysWhich) {
  for (const Way& way : kWays) {
    const Strict strict(way.strict);
    long calls = 1000;
    for (const int error : {EIO, ENOSPC, EMFILE, EACCES}) {
      for (long n = 0; n < calls; ++n) {
        const Place place(way);
        std::string failed;
        ZTKCommitOutcome outcome;
        {
          faulty_calls::Scope scope;
          scope.FailAt(n, error);
          outcome = place.Save();
          failed = scope.Failed();
          calls = failed.empty() ? scope.Count() : calls;
        }
        SCOPED_TRACE(testing::Message() << way.name << ": call " << n << " " << failed << " "
                                        << error << " outcome " << outcome);
        // Where the removal of the temporary file failed, that stays; and where a colon path leads
        // to no volume for a moment, nothing is known of the file.
        const bool mayStay = failed == "remove" || failed == "unlink" || HasColonPaths();
        switch (outcome) {
          case COMMIT_DONE:
          case COMMIT_NOT_DURABLE:
            EXPECT_TRUE(place.IsNew());
            EXPECT_TRUE(place.KeepsLinks());
            EXPECT_LE(place.Left(), mayStay ? 1 : 0);
            break;
          case COMMIT_NONE:
          case COMMIT_FAILED:
            EXPECT_TRUE(place.IsAsItWas());
            EXPECT_LE(place.Left(), mayStay ? 1 : 0);
            break;
          case COMMIT_TARGET_GONE:
            EXPECT_FALSE(way.isOneStep);
            EXPECT_TRUE(place.HasNewBeside());
            break;
        }
      }
    }
    EXPECT_GT(calls, 10);
    EXPECT_LT(calls, 1000);
  }
}

// The first commit breaks off while it overwrites the target, the second one at any call.
TEST(SafeSaving, TheOnlyVersionThatIsLeftOutlivesEveryFurtherCommit) {
  for (const Way& way : kWays) {
    if (!way.hasOtherName) continue;
    bool failedAgain = true;
    for (long n = 0; failedAgain; ++n) {
      ASSERT_LT(n, 1000);
      const Place place(way);
      std::string failed;
      {
        ZTKTempFile temp(place.TargetPath(), way.options);
        Put(temp, kNew);
        temp.GetFile().Flush();
        {
          faulty_calls::Scope scope;
          scope.FailAt("write", EIO);
          EXPECT_FALSE(temp.Commit());
          EXPECT_EQ(temp.GetOutcome(), COMMIT_TARGET_GONE);
        }
        faulty_calls::Scope scope;
        scope.FailAt(n, EIO);
        const bool done = temp.Commit();
        failed = scope.Failed();
        EXPECT_TRUE(done || !failed.empty());
      }
      SCOPED_TRACE(testing::Message() << way.name << ": call " << n << " " << failed);
      EXPECT_TRUE(place.IsNew() || place.HasNewBeside());
      failedAgain = !failed.empty();
    }
  }
}

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
