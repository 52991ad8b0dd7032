// Programs that end at each call by which they change something on the disk: what is there then,
// and that the next saving works.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/file/strict_mode.h"
#include "tests/support/child_process_win32.h"
#include "tests/support/faulty_calls.h"
#include "tests/support/scoped_preferences.h"
#include "tests/support/temp_dir.h"
#include "ztk/config/file_config.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"
#include "ztk/text/text_file.h"

namespace {

namespace fs = std::filesystem;

const std::string kOld = "[g]\nk=1\n";
const std::string kNew(100000, 'n');  // More than one block of any kind.

bool SaveByTempFile(const fs::path& path, unsigned int options) {
  ZTKTempFile file(ZTKString(path.string().c_str()), options);
  return file.GetFile().Write(kNew.data(), kNew.size()) == kNew.size() && file.Commit();
}

bool SaveText(const fs::path& path, unsigned int options) {
  ZTKTextFile file(path.string().c_str(), options);
  file.Open();
  file.Clear();
  file.AddLine(kNew.c_str(), EOL_UNIX);
  return file.Write(EOL_NONE);
}

bool SaveConfig(const fs::path& path, unsigned int options) {
  const ScopedPreferences preferences(path.parent_path());
  ZTKFileConfig config("", path.stem().string().c_str(), options);
  config.SetPath("/g");
  return config.Write("k", kNew.c_str()) && config.Flush();
}

bool CopyStrictly(const fs::path& path, unsigned int /*options*/) {
  const Strict mode;
  const std::string from = (path.parent_path() / "from").string();
  return ZTKCopyFile(from.c_str(), path.string().c_str(), 1);
}

struct Way {
  const char* name;
  bool (*save)(const fs::path& path, unsigned int options);
  unsigned int options;
  bool hasOtherName;
  // What may be there: the content of "x.conf" and of others beside it. "temp" is the file that is
  // written, "aside" the target while it is removed, where the system cannot remove it at once.
  std::set<std::string> states;
};

const std::set<std::string> kInOneStep = {"old", "old, temp empty", "old, temp part",
                                          "old, temp new", "new"};
const std::set<std::string> kInSteps = {
    "old", "old, temp empty", "old, temp part", "old, temp new", "aside old, temp new", "temp new",
    "new"};
// The target is overwritten: for a moment the new version is whole only beside it.
const std::set<std::string> kInPlace = {"old",
                                        "old, temp empty",
                                        "old, temp part",
                                        "old, temp new",
                                        "part, temp new",
                                        "new, temp new",
                                        "new, aside new",
                                        "new"};

const Way kWays[] = {
    {"in steps", &SaveByTempFile, 0, false, kInSteps},
    {"one step", &SaveByTempFile, TEMP_ONE_STEP, false, kInOneStep},
    {"unnamed", &SaveByTempFile, TEMP_UNNAMED, false, kInOneStep},
    {"in place", &SaveByTempFile, TEMP_KEEP_IDENTITY | TEMP_ONE_STEP, true, kInPlace},
    {"strict copy", &CopyStrictly, 0, false, kInOneStep},
    {"text in steps", &SaveText, 0, false, kInSteps},
    {"text in one step", &SaveText, TEXT_ONE_STEP, false, kInOneStep},
    {"configuration in steps", &SaveConfig, 0, false, kInSteps},
    {"configuration", &SaveConfig, CONF_ALL, false, kInOneStep},
};

// A folder with an old version, and what becomes of it.
class Place {
 public:
  explicit Place(const Way& way) : m_way(way) {
    WriteWholeFile(Target().string(), kOld);
    WriteWholeFile(m_dir / "from", kNew);
    if (way.hasOtherName) fs::create_hard_link(Target(), m_dir / "other");
  }

  fs::path Target() const { return m_dir.Path() / "x.conf"; }
  bool Save() const { return m_way.save(Target(), m_way.options); }
  std::string Content() const { return ReadWholeFile(Target().string()); }

  /// "old, temp part": what is there, in words; `saved` is a whole new version.
  std::string State(const std::string& saved) const {
    std::vector<std::string> found;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_dir.Path())) {
      const std::string name = entry.path().filename().string();
      if (name == "from" || name == "other" || name == "x.conf.lock") continue;
      const std::string role = name == "x.conf"                        ? ""
                               : name == "x000" || name == "x.conf000" ? "temp "
                               : name.rfind("~ztk", 0) == 0            ? "aside "
                                                                       : name + " ";
      found.push_back(role + Version(ReadWholeFile(entry.path().string()), saved));
    }
    std::sort(found.begin(), found.end());
    // The target first.
    std::stable_partition(found.begin(), found.end(), [](const std::string& text) {
      return text.find(' ') == std::string::npos;
    });
    std::string all;
    for (const std::string& text : found) all += (all.empty() ? "" : ", ") + text;
    return all;
  }

 private:
  static std::string Version(const std::string& content, const std::string& saved) {
    return content == kOld ? "old" : content == saved ? "new" : content.empty() ? "empty" : "part";
  }

  const Way& m_way;
  const TempDir m_dir;
};

// The program that ends.
TEST(Win32KillAtCalls, DISABLED_Child) {
  const char* const path = std::getenv("ZTK_KILL_PATH");
  const char* const way = std::getenv("ZTK_KILL_WAY");
  const char* const call = std::getenv("ZTK_KILL_CALL");
  ASSERT_TRUE(path != nullptr && way != nullptr && call != nullptr);
  const Way& chosen = kWays[std::atoi(way)];
  faulty_calls::Scope scope;
  scope.DieAt(std::atol(call));
  EXPECT_TRUE(chosen.save(path, chosen.options));
}

int RunChild(const Place& place, size_t way, size_t call) {
  const ScopedEnv path("ZTK_KILL_PATH", place.Target().string().c_str());
  const ScopedEnv number("ZTK_KILL_WAY", std::to_string(way).c_str());
  const ScopedEnv at("ZTK_KILL_CALL", std::to_string(call).c_str());
  return ChildProcess("Win32KillAtCalls.DISABLED_Child").Wait();
}

// Before a call that only asks, the disk is as before the next one that does not.
bool Changes(const std::string& call) {
  static const std::set<std::string> s_calls = {
      "CreateFileW",  "DeleteFileW",        "FlushFileBuffers",           "MoveFileExW",
      "SetEndOfFile", "SetFileAttributesW", "SetFileInformationByHandle", "SetSecurityInfo",
      "WriteFile"};
  return s_calls.count(call) != 0;
}

TEST(Win32KillAtCalls, AWholeVersionIsThereWhateverCallWasTheLast) {
  for (size_t n = 0; n < std::size(kWays); ++n) {
    const Way& way = kWays[n];
    std::vector<std::string> calls;
    std::string saved;
    {
      const Place place(way);
      const faulty_calls::Scope scope;
      ASSERT_TRUE(place.Save()) << way.name;
      calls = scope.Calls();
      saved = place.Content();
    }
    std::set<std::string> seen = {"new"};
    for (size_t call = 0; call < calls.size(); ++call) {
      if (!Changes(calls[call])) continue;
      SCOPED_TRACE(testing::Message() << way.name << ": call " << call << " " << calls[call]);
      const Place place(way);
      ASSERT_EQ(RunChild(place, n, call), faulty_calls::kKilled);
      const std::string state = place.State(saved);
      EXPECT_EQ(way.states.count(state), 1u) << state;
      seen.insert(state);
      EXPECT_TRUE(place.Save());
      EXPECT_EQ(place.Content(), saved);
    }
    EXPECT_EQ(seen.count("old, temp new"), 1u) << way.name;
    EXPECT_EQ(seen.count("temp new"), way.states.count("temp new")) << way.name;
  }
}

}  // namespace
