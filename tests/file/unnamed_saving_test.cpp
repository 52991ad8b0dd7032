// Saving through a file that has no name before it is committed.

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "tests/file/safe_saving_support.h"
#include "tests/file/unnamed_support.h"

namespace {

namespace fs = std::filesystem;

TEST(SafeSaving, WhereAFileCannotBeUnnamedItHasAName) {
  for (const Way& way : kWays) {
    if ((way.options & (TEMP_UNNAMED | kCopy | kCopyNew)) == 0) continue;
    const Strict strict(way.strict);
    for (const int error : {EOPNOTSUPP, EISDIR, ENOENT, EINVAL, EACCES}) {
      SCOPED_TRACE(testing::Message() << way.name << ", error " << error);
      const Place place(way);
      faulty_calls::Scope scope;
      scope.RefuseUnnamed(error);
      EXPECT_EQ(place.Save(), COMMIT_DONE);
      EXPECT_TRUE(place.IsNew());
      EXPECT_TRUE(place.KeepsLinks());
      EXPECT_EQ(place.Left(), 0);
    }
  }
}

TEST(SafeSaving, WhereANameIsRefusedANamedCopyIsCommittedOrNothingChanges) {
  for (const Way& way : kWays) {
    if ((way.options & (TEMP_UNNAMED | kCopy | kCopyNew)) == 0) continue;
    const Strict strict(way.strict);
    bool failed = true;
    for (long n = -1; failed || n < 1; ++n) {
      ASSERT_LT(n, 1000);
      const Place place(way);
      ZTKCommitOutcome outcome;
      std::string call;
      {
        faulty_calls::Scope scope;
        scope.RefuseNames(EPERM);
        scope.FailAt(n, EIO);
        outcome = place.Save();
        call = scope.Failed();
      }
      failed = !call.empty();
      SCOPED_TRACE(testing::Message() << way.name << ": call " << n << " " << call);
      if (!failed) {
        EXPECT_EQ(outcome, COMMIT_DONE);
      }
      const bool isNew = outcome == COMMIT_DONE || outcome == COMMIT_NOT_DURABLE;
      if (outcome == COMMIT_TARGET_GONE) {
        EXPECT_FALSE(way.isOneStep);
        EXPECT_TRUE(place.HasNewBeside());
      } else {
        EXPECT_TRUE(isNew ? place.IsNew() : place.IsAsItWas());
        EXPECT_LE(place.Left(), call == "remove" || call == "unlink" || HasColonPaths() ? 1 : 0);
      }
    }
  }
}

TEST(SafeSaving, AFailedCommitOfAnUnnamedFileCanBeRepeatedOrDiscarded) {
  for (const char* const call : {"fsync", "open", "lstat", "linkat", "rename"}) {
    for (const bool again : {true, false}) {
      const Way way = {"unnamed", false, TEMP_UNNAMED, true, false, false, true};
      const Place place(way);
      SCOPED_TRACE(call);
      {
        ZTKTempFile temp(place.TargetPath(), way.options);
        Put(temp, kNew);
        bool done;
        {
          faulty_calls::Scope scope;
          scope.FailAt(call, EIO);
          done = temp.Commit();
        }
        if (std::string(call) == "linkat") {
          EXPECT_TRUE(done);  // A copy serves.
        }
        // What a sync could not write is lost.
        const bool isLost = std::string(call) == "fsync";
        if (again && !done) {
          EXPECT_EQ(temp.Commit(), !isLost);
        }
        EXPECT_EQ(place.IsNew(), done || (again && !isLost));
        EXPECT_EQ(place.IsAsItWas(), !place.IsNew());
      }
      EXPECT_EQ(place.Left(), 0);
    }
  }
}

// Saves with one call failing, whose name `call` tells; "" when there were fewer.
ZTKCommitOutcome SaveWithFailure(const Place& place, long n, std::string& call) {
  faulty_calls::Scope scope;
  scope.FailAt(n, EIO);
  const ZTKCommitOutcome outcome = place.Save();
  call = scope.Failed();
  return outcome;
}

// Fails each call of a save in turn, until there are none left, and has `see` look at the outcome.
template <typename See>
void FailEveryCall(const Way& way, See see) {
  bool failed = true;
  for (long n = 0; failed; ++n) {
    ASSERT_LT(n, 1000);
    const Place place(way);
    std::string call;
    const ZTKCommitOutcome outcome = SaveWithFailure(place, n, call);
    failed = !call.empty();
    see(place, outcome, call == "fsync");
  }
}

// Some file systems log nothing of a file without a name when it is synced.
TEST(SafeSaving, AnUnnamedFileIsSyncedBeforeAndAfterItGetsItsName) {
  if (!CanBeUnnamed(TempDir().Path())) GTEST_SKIP() << "no files without a name here";
  for (const bool isThere : {true, false}) {
    const Way way = {"unnamed", false, TEMP_UNNAMED, isThere, false, false, true};
    std::string outcomes;
    FailEveryCall(way, [&](const Place& place, ZTKCommitOutcome outcome, bool isSync) {
      const bool isNew = outcome == COMMIT_DONE || outcome == COMMIT_NOT_DURABLE;
      EXPECT_EQ(place.IsNew(), isNew);
      if (isSync) outcomes += isNew ? "in place " : "as it was ";
    });
    // The file; the file under its name; the folder.
    EXPECT_EQ(outcomes, "as it was in place in place ");
  }
}

// What is overwritten in place is for that time in the temporary file only.
TEST(SafeSaving, ATemporaryNameIsOnTheDiskBeforeATargetIsOverwritten) {
  for (const unsigned int options : {0U + TEMP_KEEP_IDENTITY, TEMP_KEEP_IDENTITY | TEMP_UNNAMED}) {
    const Way way = {"identity", false, options, true, true, false, false};
    if (options != TEMP_KEEP_IDENTITY && !CanBeUnnamed(TempDir().Path())) continue;
    std::string outcomes;
    FailEveryCall(way, [&](const Place& place, ZTKCommitOutcome outcome, bool isSync) {
      if (!isSync) return;
      EXPECT_TRUE(outcome == COMMIT_TARGET_GONE ? place.HasNewBeside() : place.IsAsItWas());
      outcomes += outcome == COMMIT_TARGET_GONE ? "gone " : "as it was ";
    });
    // The file; the unnamed one again under its name; the folder; the overwritten target.
    const std::string again = options == TEMP_KEEP_IDENTITY ? "" : "as it was ";
    EXPECT_EQ(outcomes, "as it was " + again + "as it was gone ");
  }
}

TEST(SafeSaving, AnUnnamedFileHasNoPathAndOutlivesBeingClosed) {
  const Way way = {"unnamed", false, TEMP_UNNAMED, true, false, false, true};
  const Place place(way);
  if (!CanBeUnnamed(TempDir().Path())) GTEST_SKIP() << "no files without a name here";
  ZTKTempFile temp(place.TargetPath(), way.options);
  Put(temp, kNew);
  EXPECT_STREQ(temp.GetTempPath().c_str(), "");
  EXPECT_EQ(place.Left(), 0);
  EXPECT_TRUE(temp.GetFile().Close());
  EXPECT_TRUE(temp.Commit());
  EXPECT_TRUE(place.IsNew());
  EXPECT_FALSE(temp.Commit());
  EXPECT_EQ(temp.GetOutcome(), COMMIT_NONE);

  ASSERT_TRUE(temp.Open(place.TargetPath()));
  EXPECT_TRUE(temp.Discard());
  EXPECT_FALSE(temp.Discard());
  EXPECT_EQ(place.Left(), 0);
}

TEST(SafeSaving, AnUnnamedFileHasThePermissionsOfItsTarget) {
  if (HasColonPaths()) GTEST_SKIP() << "that layer knows no permissions";
  const Way way = {"unnamed", false, TEMP_UNNAMED, true, false, false, true};
  for (const bool named : {false, true}) {
    const Place place(way);
    const std::string target = Host(place.TargetPath());
    fs::permissions(target, static_cast<fs::perms>(0640));
    faulty_calls::Scope scope;
    if (named) scope.RefuseNames(EPERM);
    EXPECT_EQ(place.Save(), COMMIT_DONE);
    EXPECT_TRUE(place.IsNew());
    EXPECT_EQ(ModeOf(target), 0640);
  }
}

}  // namespace
