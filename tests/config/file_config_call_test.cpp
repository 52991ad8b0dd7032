// Saving with each call of the system failing.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "tests/config/file_config_save_support.h"
#include "tests/config/file_config_support.h"
#include "tests/support/faulty_calls.h"
#include "tests/support/native_path.h"

namespace {

namespace fs = std::filesystem;

constexpr unsigned kOptions[] = {
    0, CONF_KEEP_TEXT, CONF_MERGE, CONF_ONE_STEP, CONF_REFUSE_UNREAD | CONF_FOLLOW_LINKS, CONF_ALL,
};

// True means that all of it is in the file, false that the file is as it was, and that saving again
// works. Only the steps without a promise may stop between the two versions: the new one is left.
// Without any option what could not be written is not told.
void FailCalls(unsigned options, int error, bool isForGood) {
  const std::string after = Saved(options);
  bool failed = true;
  for (long n = 0; failed; ++n) {
    ASSERT_LT(n, 1000);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), kBefore);
    OpenConfig config("", "App", options);
    MakeChanges(config);
    bool isSaved = false;
    std::string call;
    {
      faulty_calls::Scope scope;
      if (isForGood) {
        scope.FailFrom(n, error);
      } else {
        scope.FailAt(n, error);
      }
      isSaved = config.Flush();
      call = scope.Failed();
      failed = !call.empty();
    }
    SCOPED_TRACE(testing::Message()
                 << "options " << options << ", error " << error
                 << (isForGood ? ", from call " : ", call ") << n << " " << call);
    const bool isThere = fs::exists(prefs.ConfFile());
    const std::string text = isThere ? ReadWholeFile(prefs.ConfFile()) : std::string();
    if (isSaved) {
      EXPECT_EQ(text, after);
      EXPECT_FALSE(config.IsDirty());
    } else if (isThere) {
      EXPECT_TRUE(text == kBefore || (IsOneStep(options) && text == after)) << text;
    } else {
      EXPECT_FALSE(IsOneStep(options));
      EXPECT_EQ(ReadWholeFile(prefs.Dir() / "App000"), after) << "both versions are lost";
    }
    EXPECT_TRUE(isSaved || failed);
    if (options == 0) continue;  // A failed writing is not tried again.
    EXPECT_TRUE(config.Flush());
    EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), after);
    EXPECT_EQ(TreeOf(config), kTree) << "in memory";
  }
}

constexpr int kErrors[] = {faulty_calls::kErrors[0], faulty_calls::kErrors[2]};

TEST(ZTKFileConfigCalls, AFailedCallNeverSavesLessAndSaysTrue) {
  for (const unsigned options : kOptions) {
    for (const int error : kErrors) FailCalls(options, error, false);
  }
}

TEST(ZTKFileConfigCalls, ADiskThatGoesLosesNeitherVersion) {
  for (const unsigned options : kOptions) {
    for (const int error : kErrors) FailCalls(options, error, true);
  }
}

}  // namespace
