// Every way of saving that promises something, with each call of the system failing.

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "tests/file/safe_saving_support.h"

namespace {

// Where the removal of the temporary file failed, that stays; and where a colon path leads to no
// volume for a moment, nothing is known of the file. On Windows what is in the way of a removal for
// a moment does not keep it, and a failed commit removes with other calls than it failed by; the
// end of a copy over the target removes by one call or another.
bool MayKeepTemporaryFile(const Way& way, ZTKCommitOutcome outcome, const std::string& failed) {
  if (!HasDosPaths()) return failed == "remove" || failed == "unlink" || HasColonPaths();
  return way.hasOtherName && outcome == COMMIT_DONE &&
         (failed == "GetFileAttributesW" || failed == "CreateFileW" ||
          failed == "SetFileInformationByHandle" || failed == "DeleteFileW");
}

TEST(SafeSaving, EachFailedCallLeavesTheOldVersionOrTheNewOneAndSaysWhich) {
  for (const Way& way : kWays) {
    const Strict strict(way.strict);
    long calls = 1000;
    for (const int error : faulty_calls::kErrors) {
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
        const long left = MayKeepTemporaryFile(way, outcome, failed) ? 1 : 0;
        switch (outcome) {
          case COMMIT_DONE:
          case COMMIT_NOT_DURABLE:
            EXPECT_TRUE(place.IsNew());
            EXPECT_TRUE(place.KeepsLinks());
            EXPECT_LE(place.Left(), left);
            break;
          case COMMIT_NONE:
          case COMMIT_FAILED:
            EXPECT_TRUE(place.IsAsItWas());
            EXPECT_LE(place.Left(), left);
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

// A disk that is pulled out in the middle: nothing works from then on.
TEST(SafeSaving, CallsThatFailFromAnyOnLoseNeitherVersionAndTheNextSavingWorks) {
  for (const Way& way : kWays) {
    const Strict strict(way.strict);
    for (const int error : {faulty_calls::kErrors[0], faulty_calls::kErrors[3]}) {
      bool hasFailed = true;
      for (long n = 0; hasFailed; ++n) {
        ASSERT_LT(n, 1000);
        const Place place(way);
        ZTKCommitOutcome outcome;
        {
          faulty_calls::Scope scope;
          scope.FailFrom(n, error);
          outcome = place.Save();
          hasFailed = !scope.Failed().empty();
        }
        SCOPED_TRACE(testing::Message() << way.name << ": from call " << n << " on " << error
                                        << " outcome " << outcome);
        if (outcome == COMMIT_DONE || outcome == COMMIT_NOT_DURABLE) {
          EXPECT_TRUE(place.IsNew());
          EXPECT_TRUE(place.KeepsLinks());
        } else if (outcome == COMMIT_TARGET_GONE) {
          EXPECT_FALSE(way.isOneStep);
          EXPECT_TRUE(place.HasNewBeside());
        } else {
          EXPECT_TRUE(place.IsAsItWas());
        }
        // On Windows what a removal renamed on its way may stay, too.
        EXPECT_LE(place.Left(), HasDosPaths() && outcome == COMMIT_TARGET_GONE ? 2 : 1);
        const bool isRefused = (way.options & kCopyNew) != 0 && place.IsTargetThere();
        if (!isRefused) {
          EXPECT_EQ(place.Save(), COMMIT_DONE);
        }
        EXPECT_TRUE(place.IsNew());
      }
    }
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
          scope.FailAt(HasDosPaths() ? "WriteFile" : "write", faulty_calls::kErrors[0]);
          EXPECT_FALSE(temp.Commit());
          EXPECT_EQ(temp.GetOutcome(), COMMIT_TARGET_GONE);
        }
        faulty_calls::Scope scope;
        scope.FailAt(n, faulty_calls::kErrors[0]);
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

}  // namespace
