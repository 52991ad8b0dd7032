// Every way of saving that promises something, with each call of the system failing, interrupted,
// or the last one of the process.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/faulty_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

namespace {

namespace fs = std::filesystem;

const std::string kOld = "the old version";
const std::string kNew = "the new version, which is longer";
constexpr unsigned int kCopy = 1U << 16;     // A copy that overwrites.
constexpr unsigned int kCopyNew = 1U << 17;  // One that does not.

struct Way {
  const char* name;
  bool strict;
  unsigned int options;
  bool targetExists;
  bool hasOtherName;
  bool isLink;
  bool isOneStep;  // There is no moment without the old version or the new one under the target.
};

const Way kWays[] = {
    {"strict", true, 0, true, false, false, true},
    {"strict, new", true, 0, false, false, false, true},
    {"one step", false, TEMP_ONE_STEP, true, false, false, true},
    {"one step, new", false, TEMP_ONE_STEP, false, false, false, true},
    {"one step, exact", false, TEMP_ONE_STEP | TEMP_EXACT_PATH, true, false, false, true},
    {"one step, links", false, TEMP_ONE_STEP | TEMP_FOLLOW_LINKS, true, false, true, true},
    {"one step, identity", false, TEMP_ONE_STEP | TEMP_KEEP_IDENTITY, true, false, false, true},
    {"links", false, TEMP_FOLLOW_LINKS, true, false, true, false},
    {"identity", false, TEMP_KEEP_IDENTITY, true, true, false, false},
    {"identity, links, one step", false, TEMP_KEEP_IDENTITY | TEMP_FOLLOW_LINKS | TEMP_ONE_STEP,
     true, true, true, false},
    {"copy", true, kCopy, true, false, false, true},
    {"copy, new", true, kCopy, false, false, false, true},
    {"copy, only new", true, kCopyNew, false, false, false, true},
};

// A folder with a target, saved to in one of the ways.
class Place {
 public:
  explicit Place(const Way& way) : m_way(way) {
    if (way.targetExists) WriteWholeFile(m_dir / "x", kOld);
    if (way.hasOtherName) fs::create_hard_link(m_dir / "x", m_dir / "other");
    if (way.isLink) fs::create_symlink("x", m_dir / "link");
    WriteWholeFile(m_dir / "from", kNew);
    m_names = CountNames(m_dir.Path());
    // Links are known on one layer only.
    const bool named = way.isLink && !HasColonPaths();
    m_target = NativePath(m_dir / (named ? "link" : "x"));
    m_from = NativePath(m_dir / "from");
  }

  ZTKString TargetPath() const { return ZTKString(m_target); }

  ZTKCommitOutcome Save() const {
    if ((m_way.options & (kCopy | kCopyNew)) != 0) {
      ZTKCommitOutcome outcome = COMMIT_NONE;
      ZTKCopyFile(ZTKString(m_from), ZTKString(m_target), m_way.options == kCopy ? 1 : 0, 0666,
                  outcome);
      return outcome;
    }
    ZTKTempFile temp(ZTKString(m_target), m_way.options);
    if (!temp.GetFile().IsOpen()) return COMMIT_NONE;
    if (temp.GetFile().Write(kNew.data(), kNew.size()) != kNew.size()) return COMMIT_NONE;
    const bool done = temp.Commit();
    EXPECT_EQ(done, temp.GetOutcome() == COMMIT_DONE);
    return temp.GetOutcome();
  }

  bool IsTargetThere() const { return fs::exists(m_dir / "x"); }
  std::string Target() const { return ReadWholeFile(m_dir / "x"); }
  bool IsAsItWas() const {
    return m_way.targetExists ? IsTargetThere() && Target() == kOld : !IsTargetThere();
  }
  bool IsNew() const { return IsTargetThere() && Target() == kNew; }
  bool HasNewBeside() const {
    return fs::exists(m_dir / "x000") && ReadWholeFile(m_dir / "x000") == kNew;
  }
  bool KeepsLinks() const {
    return (!m_way.isLink || fs::is_symlink(m_dir / "link")) &&
           (!m_way.hasOtherName || ReadWholeFile(m_dir / "other") == Target());
  }
  /// Names that were not there before.
  long Left() const {
    return CountNames(m_dir.Path()) - m_names - (IsTargetThere() && !m_way.targetExists ? 1 : 0) +
           (!IsTargetThere() && m_way.targetExists ? 1 : 0);
  }

 private:
  const Way& m_way;
  const TempDir m_dir;
  std::string m_target;
  std::string m_from;
  long m_names = 0;
};

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
  const Way& way = kWays[8];
  ASSERT_TRUE(way.hasOtherName);
  bool failedAgain = true;
  for (long n = 0; failedAgain; ++n) {
    ASSERT_LT(n, 1000);
    const Place place(way);
    std::string failed;
    {
      ZTKTempFile temp(place.TargetPath(), way.options);
      Put(temp, kNew);
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
    SCOPED_TRACE(testing::Message() << "call " << n << " " << failed);
    EXPECT_TRUE(place.IsNew() || place.HasNewBeside());
    failedAgain = !failed.empty();
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
    }
  }
}

}  // namespace
