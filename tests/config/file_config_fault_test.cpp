// Files, folders and memory that fail, and sizes that nobody meant.
#include <gtest/gtest.h>
#include <pthread.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/config/file_config_support.h"
#include "tests/support/failing_allocator.h"
#include "tests/support/temp_dir.h"

namespace {

namespace fs = std::filesystem;

void MakeChange(ZTKFileConfig& config) {
  config.SetPath("/");
  EXPECT_TRUE(config.Write("k", "v"));
}

// Files -----------------------------------------------------------------------------------------

TEST(ZTKFileConfigFaults, AFolderInPlaceOfTheFileLeavesAnEmptyTree) {
  const PreferencesFolder prefs;
  fs::create_directory(prefs.ConfFile());
  ZTKFileConfig config("App", "App");
  MakeChange(config);
  EXPECT_FALSE(config.Flush());
  EXPECT_TRUE(config.IsDirty()) << "the change is still to be saved";
  EXPECT_TRUE(fs::is_directory(prefs.ConfFile()));

  fs::remove(prefs.ConfFile());
  EXPECT_TRUE(config.Flush());
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), std::string(kMark) + "[App]\r\nk=v\r\n");
}

TEST(ZTKFileConfigFaults, AnUnwritableFolderKeepsTheOldFile) {
  if (RunsAsRoot()) GTEST_SKIP() << "root may write everywhere";
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[App]\nk=old\n");
  ZTKFileConfig config("App", "App");
  MakeChange(config);
  fs::permissions(prefs.Dir().Path(), fs::perms(0500));
  EXPECT_FALSE(config.Flush());
  fs::permissions(prefs.Dir().Path(), fs::perms(0700));
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "[App]\nk=old\n");
}

TEST(ZTKFileConfigFaults, AnUnreadableFileIsAnEmptyTreeAndStays) {
  if (RunsAsRoot()) GTEST_SKIP() << "root may read everything";
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[App]\nk=old\n");
  fs::permissions(prefs.ConfFile(), fs::perms(0));
  ZTKFileConfig config("App", "App");
  config.SetPath("/");
  EXPECT_EQ(ValueOf(config, "k"), "<none>");
}

TEST(ZTKFileConfigFaults, AFailedWritingIsNotTriedAgain) {
  const PreferencesFolder prefs;
  WriteWholeFile(prefs.ConfFile(), "[App]\nk=old\n");
  for (int i = 0; i < 1000; ++i) {
    char name[16];
    ASSERT_LT(snprintf(name, sizeof name, "App%.03x", static_cast<unsigned>(i)), 16);
    WriteWholeFile(prefs.Dir() / name, "");
  }
  {
    ZTKFileConfig config("App", "App");
    MakeChange(config);
    EXPECT_FALSE(config.Flush());
    EXPECT_FALSE(config.IsDirty());
    EXPECT_TRUE(config.Flush());
    fs::remove(prefs.Dir() / "App000");
  }
  EXPECT_EQ(ReadWholeFile(prefs.ConfFile()), "[App]\nk=old\n");
}

TEST(ZTKFileConfigFaults, OddFilesAreRead) {
  const std::string contents[] = {
      std::string(1, 'x'),
      std::string(1, '['),
      std::string(1, ']'),
      std::string(1, '='),
      std::string(1, '\0'),
      std::string(5000, '\0'),
      std::string("[g]\0x\nk=\0v\n", 11),
      "\xEF\xBB\xBF",
      "\xFF\xFE",
      "\xFE\xFF",
      std::string("\xFF\xFE[", 3),
      "[" + std::string(100000, 'g') + "]\n" + std::string(100000, 'k') + "=" +
          std::string(100000, 'v'),
      "[g]\n" + std::string(100000, '='),
      "[" + std::string(100000, '/') + "]\nk=v\n",
      std::string(100000, '[') + "]\nk=v\n",
      "[g]\nk=\xC3\x28\xFF\n",
  };
  for (const std::string& content : contents) {
    SCOPED_TRACE(content.substr(0, 20));
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), content);
    ZTKFileConfig config("App", "App");
    MakeChange(config);
    EXPECT_TRUE(config.Flush());
    EXPECT_NE(ReadWholeFile(prefs.ConfFile()).find("[App]\r\nk=v\r\n"), std::string::npos);
  }
}

// Sizes -----------------------------------------------------------------------------------------

// Runs `task` on a thread with a small stack.
template <typename Task>
void OnSmallStack(Task task) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256 * 1024), 0);
  pthread_t thread;
  const auto entry = [](void* pTask) -> void* {
    (*static_cast<Task*>(pTask))();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, entry, &task), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

TEST(ZTKFileConfigFaults, GroupsNestedAMillionDeepAreReadAndDestroyed) {
  std::string header = "[";
  for (int i = 0; i < 1000000; ++i) header += "g/";
  header += "]";
  OnSmallStack([&] {
    const PreferencesFolder prefs;
    OpenConfig config("", "App");
    Lines text({header, "k=v"});
    config.Parse(text);
    ZTKString name;
    EXPECT_TRUE(config.GetGroup(name, 0));
    EXPECT_TRUE(config.DeleteGroup("g"));
    config.Parse(text);
    config.Init();
  });
}

TEST(ZTKFileConfigFaults, DeepGroupsAreWrittenOnASmallStack) {
  constexpr int kDepth = 2000;
  std::string path;
  for (int i = 0; i < kDepth; ++i) path += i == 0 ? "g" : "/g";
  OnSmallStack([&] {
    const PreferencesFolder prefs;
    {
      ZTKFileConfig config("", "App");
      config.SetPath(path.c_str());
      config.Write("k", "v");
      EXPECT_TRUE(config.Flush());
    }
    const std::string written = ReadWholeFile(prefs.ConfFile());
    EXPECT_TRUE(written.ends_with("[" + path + "]\r\nk=v\r\n"));
    ZTKFileConfig config("", "App");
    config.SetPath(path.c_str());
    EXPECT_EQ(ValueOf(config, "k"), "v");
  });
}

// A file's order must not cost more than sorting it: in a quadratic reading these take minutes.
TEST(ZTKFileConfigFaults, EveryOrderOfManyEntriesOrGroupsIsReadQuickly) {
  constexpr int kCount = 200000;
  for (const char* pattern : {"k%d=%d", "[g%d]"}) {
    std::vector<std::string> lines = {"[g]"};
    for (int i = kCount; i > 0; --i) {
      char line[40];
      snprintf(line, sizeof line, pattern[0] == 'k' ? "k%07d=%d" : "[g%07d]", i, i);
      lines.push_back(line);
    }
    const PreferencesFolder prefs;
    OpenConfig config("", "App");
    Lines text(lines);
    config.Parse(text);
    if (pattern[0] == 'k') config.AddGroup("g");
    ZTKString name;
    const unsigned long nFirst = pattern[0] == 'k' ? 0 : 1;
    EXPECT_TRUE(pattern[0] == 'k' ? config.GetEntry(name, nFirst) : config.GetGroup(name, nFirst));
    EXPECT_STREQ(name.c_str(), pattern[0] == 'k' ? "k0000001" : "g0000001");
    EXPECT_TRUE(pattern[0] == 'k' ? config.GetEntry(name, kCount - 1)
                                  : config.GetGroup(name, kCount));
    EXPECT_STREQ(name.c_str(), pattern[0] == 'k' ? "k0200000" : "g0200000");
  }
}

// Memory ----------------------------------------------------------------------------------------

TEST(ZTKFileConfigFaults, RunningOutOfMemoryAnywhereIsSurvived) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  const std::vector<std::string> lines = {"[b/./c]", "z=1", "a=2", "a=3", "[a]", "k=v", "[b/../d]"};
  for (long nBefore = 0;; ++nBefore) {
    SCOPED_TRACE(nBefore);
    const PreferencesFolder prefs;
    WriteWholeFile(prefs.ConfFile(), "[old]\nk=v\n");
    Lines text(lines);
    bool failed = false;
    bool flushed = false;
    bool wrote = false;
    {
      const failing_allocator::Scope scope(nBefore, 1);
      OpenConfig config("", "App");
      config.Parse(text);
      config.SetPath("/x/y");
      wrote = config.Write("key", "value");
      config.Write("key", std::string_view("a longer value").data());
      ZTKString value;
      config.Read("key", value);
      config.DeleteEntry("key");
      config.DeleteGroup("x");
      flushed = config.Flush();
      failed = scope.Failed();
    }
    const std::string written = ReadWholeFile(prefs.ConfFile());
    EXPECT_TRUE(written.empty() || written == "[old]\nk=v\n" || written.starts_with(kMark))
        << written;
    EXPECT_TRUE(fs::is_empty(prefs.Work().Path()));
    if (!failed) {
      EXPECT_TRUE(wrote);
      EXPECT_TRUE(flushed);
      break;
    }
    ASSERT_LT(nBefore, 5000);
  }
}

TEST(ZTKFileConfigFaults, AWriteWithoutMemorySaysSoAndAddsNothing) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  const PreferencesFolder prefs;
  OpenConfig config("", "App");
  config.SetPath("/g");
  const ZTKString key = "key";
  const ZTKString value = "value";
  {
    const failing_allocator::Scope scope(0);
    EXPECT_FALSE(config.Write(key, value));
  }
  EXPECT_EQ(TreeOf(config), "{g{}}");
  config.AddGroup("g");
  EXPECT_TRUE(config.Write(key, value));
}

// Many look-ups build an index, for which there may be no memory.
TEST(ZTKFileConfigFaults, AFailedAllocationHidesNoEntry) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  const ZTKString key = "key";
  bool failed = true;
  for (long nBefore = 0; failed; ++nBefore) {
    SCOPED_TRACE(nBefore);
    ASSERT_LT(nBefore, 100);
    const PreferencesFolder prefs;
    ZTKFileConfig config("App", "App");
    config.SetPath("/group");
    config.Write(key, "v");
    const failing_allocator::Scope scope(nBefore, 1);
    int nFound = 0;
    for (int i = 0; i < 200; ++i) nFound += config.GetEntryType(key) == 1 ? 1 : 0;
    EXPECT_EQ(nFound, 200);
    failed = scope.Failed();
  }
}

// With a path cut short it would be another program's file.
TEST(ZTKFileConfigFaults, APathThatMemoryDoesNotReachToIsNoFile) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  const ZTKString root;
  const ZTKString name = "App";
  for (const long nFailures : {1L, -1L}) {
    bool failed = true;
    for (long nBefore = 0; failed; ++nBefore) {
      SCOPED_TRACE(nBefore);
      ASSERT_LT(nBefore, 100000);
      const PreferencesFolder prefs;
      {
        const failing_allocator::Scope scope(nBefore, nFailures);
        ZTKFileConfig config(root, name);
        config.Write("k", "v");
        config.Flush();
        failed = scope.Failed();
      }
      EXPECT_TRUE(fs::is_empty(prefs.Work().Path()));
      for (const auto& entry : fs::directory_iterator(prefs.Dir().Path())) {
        const std::string found = entry.path().filename().string();
        EXPECT_TRUE(found == "App.conf" || found == "App000") << found;
      }
    }
  }
}

// What is written after a path that could not be reached must not land in another group.
TEST(ZTKFileConfigFaults, APathWithoutMemoryLeadsToTheRootGroup) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  const PreferencesFolder prefs;
  OpenConfig config("", "App");
  config.SetPath("/g");
  const ZTKString path = "/new/group/with/a/name/that/needs/memory";
  {
    const failing_allocator::Scope scope(0);
    EXPECT_TRUE(config.SetPath(path));
  }
  config.Write("k", "v");
  EXPECT_EQ(TreeOf(config), "{k=v;g{}}");
}

}  // namespace
