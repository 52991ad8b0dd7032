#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/file/strict_mode.h"
#include "tests/file/temp_file_support.h"
#include "tests/support/faulty_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"

inline const std::string kOld = "the old version";
inline const std::string kNew = "the new version, which is longer";
inline constexpr unsigned int kCopy = 1U << 16;     // A copy that overwrites.
inline constexpr unsigned int kCopyNew = 1U << 17;  // One that does not.

struct Way {
  const char* name;
  bool strict;
  unsigned int options;
  bool targetExists;
  bool hasOtherName;
  bool isLink;
  bool isOneStep;  // There is no moment without the old version or the new one under the target.
};

inline const Way kWays[] = {
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
    {"unnamed", false, TEMP_UNNAMED, true, false, false, true},
    {"unnamed, new", false, TEMP_UNNAMED, false, false, false, true},
    {"unnamed, links", false, TEMP_UNNAMED | TEMP_FOLLOW_LINKS, true, false, true, true},
    {"unnamed, identity", false, TEMP_UNNAMED | TEMP_KEEP_IDENTITY, true, false, false, true},
    {"unnamed, exact", false, TEMP_UNNAMED | TEMP_EXACT_PATH, true, false, false, true},
    {"unnamed, identity, links", false, TEMP_UNNAMED | TEMP_KEEP_IDENTITY | TEMP_FOLLOW_LINKS, true,
     true, true, false},
    {"copy", true, kCopy, true, false, false, true},
    {"copy, new", true, kCopy, false, false, false, true},
    {"copy, only new", true, kCopyNew, false, false, false, true},
};

inline bool IsUnnamed(const Way& way) {
  return (way.options & (TEMP_UNNAMED | kCopy | kCopyNew)) != 0 && !way.hasOtherName;
}

// A folder with a target, saved to in one of the ways.
class Place {
 public:
  explicit Place(const Way& way) : m_way(way) {
    if (way.targetExists) WriteWholeFile(m_dir / "x", kOld);
    if (way.hasOtherName) std::filesystem::create_hard_link(m_dir / "x", m_dir / "other");
    if (way.isLink && HasLinks()) std::filesystem::create_symlink("x", m_dir / "link");
    WriteWholeFile(m_dir / "from", kNew);
    m_names = CountNames(m_dir.Path());
    const bool named = way.isLink && HasLinks() && !HasColonPaths();
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

  bool IsTargetThere() const { return std::filesystem::exists(m_dir / "x"); }
  std::string Target() const { return ReadWholeFile(m_dir / "x"); }
  bool IsAsItWas() const {
    return m_way.targetExists ? IsTargetThere() && Target() == kOld : !IsTargetThere();
  }
  bool IsNew() const { return IsTargetThere() && Target() == kNew; }
  bool HasNewBeside() const {
    return std::filesystem::exists(m_dir / "x000") && ReadWholeFile(m_dir / "x000") == kNew;
  }
  bool KeepsLinks() const {
    return (!m_way.isLink || !HasLinks() || std::filesystem::is_symlink(m_dir / "link")) &&
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
