// Configuration files whose saving the system refuses.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>

#include "tests/config/file_config_save_support.h"
#include "tests/config/file_config_support.h"
#include "tests/support/system_calls.h"

namespace {

namespace fs = std::filesystem;

TEST(ZTKFileConfigOneStep, AFailedSavingLeavesTheFileAndIsTriedAgain) {
  for (const char* call : {"fsync file", "rename"}) {
    SCOPED_TRACE(call);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), "[g]\nk=1\n");
    ZTKFileConfig config("", "App", CONF_ONE_STEP | CONF_MERGE);
    Put(config, "/g", "k", "2");
    {
      system_calls::Scope scope;
      scope.Refuse(call, EIO);
      EXPECT_FALSE(config.Flush());
    }
    EXPECT_TRUE(config.IsDirty());
    EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "[g]\nk=1\n");
    EXPECT_FALSE(fs::exists(prefs.Dir() / "App000"));
    EXPECT_TRUE(config.Flush());
    EXPECT_EQ(OnDisk("/g", "k"), "2");
  }
}

TEST(ZTKFileConfigSave, AFailedSavingLeavesNoTemporaryFileWhereTheFileStands) {
  for (unsigned options = 1; options <= CONF_ALL; ++options) {
    SCOPED_TRACE(options);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), kBefore);
    OpenConfig config("", "App", options);
    MakeChanges(config);
    {
      system_calls::Scope scope;
      scope.Refuse(IsOneStep(options) ? "rename" : "remove", EACCES);
      EXPECT_FALSE(config.Flush());
    }
    EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), kBefore);
    // What refuses "remove" keeps the temporary file, too.
    if (IsOneStep(options)) {
      EXPECT_EQ(Leftovers(prefs), std::set<std::string>());
    }
    EXPECT_TRUE(config.Flush());
  }
}

}  // namespace
