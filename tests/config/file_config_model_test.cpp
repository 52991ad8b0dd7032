// Long runs of random operations against a model made of standard maps.
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "tests/config/file_config_support.h"

namespace {

/// Groups by path, each with its entries. The top of the tree is "".
class Model {
 public:
  std::map<std::string, std::map<std::string, std::string>> groups = {{"", {}}};

  void MakeCurrent(const std::string& path) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
      groups[path.substr(0, slash)];
    }
    groups[path];
    current = path;
  }

  bool DeleteGroup(const std::string& name) {
    const std::string path = current + "/" + name;
    if (groups.count(path) == 0) return false;
    for (auto group = groups.begin(); group != groups.end();) {
      const bool isInside = group->first == path || group->first.starts_with(path + "/");
      group = isInside ? groups.erase(group) : std::next(group);
    }
    return true;
  }

  std::string current;
};

void CheckCurrentGroup(ZTKFileConfig& config, const Model& model) {
  ZTKString name;
  unsigned long i = 0;
  for (const auto& [key, value] : model.groups.at(model.current)) {
    ASSERT_TRUE(config.GetEntry(name, i++));
    ASSERT_EQ(key, name.c_str());
    ASSERT_EQ(ValueOf(config, key.c_str()), value);
  }
  ASSERT_FALSE(config.GetEntry(name, i));
}

// `nNames` different keys and group names. Many lookups between few changes let the configuration
// build its index, which must then follow every change.
void RunRandomly(unsigned int nSeed, unsigned int nNames, int nSteps) {
  const PreferencesFolder prefs;
  OpenConfig config("", "App");
  Model model;
  std::mt19937 random(nSeed);
  const auto anyName = [&] { return "name" + std::to_string(random() % nNames); };

  for (int step = 0; step < nSteps; ++step) {
    SCOPED_TRACE(step);
    const std::string name = anyName();
    const unsigned int kind = static_cast<unsigned int>(random() % 100);
    if (kind < 50) {
      const auto& entries = model.groups.at(model.current);
      const auto entry = entries.find(name);
      ASSERT_EQ(ValueOf(config, name.c_str()), entry == entries.end() ? "<none>" : entry->second);
    } else if (kind < 65) {
      const std::string value(random() % 30, static_cast<char>('a' + step % 26));
      ASSERT_TRUE(config.Write(name.c_str(), value.c_str()));
      model.groups[model.current][name] = value;
    } else if (kind < 75) {
      ASSERT_EQ(config.DeleteEntry(name.c_str()), model.groups[model.current].erase(name) == 1);
    } else if (kind < 98) {
      std::string path;
      for (unsigned int depth = static_cast<unsigned int>(random() % 4); depth != 0; --depth) {
        path += "/" + anyName();
      }
      config.SetPath(path.c_str());
      model.MakeCurrent(path);
    } else if (kind < 99) {
      ASSERT_EQ(config.DeleteGroup(name.c_str()), model.DeleteGroup(name));
    } else {
      CheckCurrentGroup(config, model);
    }
  }

  for (const auto& [path, entries] : model.groups) {
    config.SetPath(path.c_str());
    model.current = path;
    CheckCurrentGroup(config, model);
  }
}

TEST(ZTKFileConfigModel, FewNamesAreFollowedThroughEveryChange) {
  for (unsigned int seed = 1; seed <= 3; ++seed) RunRandomly(seed, 6, 10000);
}

TEST(ZTKFileConfigModel, ManyNamesAreFollowedThroughEveryChange) {
  for (unsigned int seed = 1; seed <= 2; ++seed) RunRandomly(seed, 300, 10000);
}

TEST(ZTKFileConfigModel, ALargeGroupIsFoundWhileItGrowsAndShrinks) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App");
  config.SetPath("/g");
  const auto name = [](int i) { return "key" + std::to_string(i); };
  for (int i = 0; i < 5000; ++i) {
    config.Write(name(i).c_str(), static_cast<unsigned long>(i));
    for (const int j : {0, i / 2, i})
      ASSERT_EQ(ValueOf(config, name(j).c_str()), std::to_string(j));
    ASSERT_EQ(ValueOf(config, name(i + 1).c_str()), "<none>");
  }
  for (int i = 0; i < 5000; ++i) {
    ASSERT_TRUE(config.DeleteEntry(name(i).c_str()));
    ASSERT_EQ(config.GetEntryType(name(i).c_str()), 0u);
    const std::string next = i + 1 < 5000 ? std::to_string(i + 1) : "<none>";
    ASSERT_EQ(ValueOf(config, name(i + 1).c_str()), next);
  }
}

// Looked up often enough for the index, which has to tell them apart.
TEST(ZTKFileConfigModel, AGroupAndAnEntryOfTheSameNameAreTwoThings) {
  const PreferencesFolder prefs;
  ZTKFileConfig config("", "App");
  for (int i = 0; i < 200; ++i) {
    config.SetPath("/g");
    config.Write("both", "entry");
    ASSERT_EQ(ValueOf(config, "both"), "entry");
    config.SetPath("both");
    ASSERT_EQ(ValueOf(config, "both"), i == 0 ? "<none>" : "inner");
    config.Write("both", "inner");
  }
  config.SetPath("/g");
  EXPECT_TRUE(config.DeleteEntry("both"));
  EXPECT_EQ(config.GetEntryType("both"), 0u);
  config.SetPath("both");
  EXPECT_EQ(ValueOf(config, "both"), "inner");
}

}  // namespace
