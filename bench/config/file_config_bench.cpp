// A configuration of 100,000 entries in 1,000 groups, and a small one of 60 in 6: loading it,
// looking entries up, changing one and saving.
//
// Loading includes freeing. A look-up sets the group's path and reads one entry as a new string of
// the library's own kind; groups and keys come in random order, prepared beforehand.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "ztk/config/file_config.h"

#ifdef ZTK_BENCH_GLIB
#include <glib.h>
#endif
#ifdef ZTK_BENCH_QT
#include <QSettings>
#include <QString>
#endif
#ifdef ZTK_BENCH_POCO_UTIL
#include <Poco/AutoPtr.h>
#include <Poco/Util/PropertyFileConfiguration.h>
#endif

namespace {

namespace fs = std::filesystem;

struct Size {
  int groups;
  int entries;  // Of each group.
};
constexpr Size kLarge = {1000, 100};
constexpr Size kSmall = {6, 10};

/// A folder in memory where there is one, removed at the end of the program.
class Folder {
 public:
  Folder() {
    std::string name = fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
    name += "/ztk-bench-XXXXXX";
    m_path = mkdtemp(name.data());
    setenv("XDG_CONFIG_HOME", m_path.c_str(), 1);
  }
  ~Folder() { fs::remove_all(m_path); }
  std::string operator/(const std::string& name) const { return (m_path / name).string(); }

 private:
  fs::path m_path;
};

const Folder& TheFolder() {
  static const Folder folder;
  return folder;
}

std::string GroupName(int i) {
  char text[16];
  std::snprintf(text, sizeof text, "Group%04d", i);
  return text;
}

std::string KeyName(int i) {
  char text[16];
  std::snprintf(text, sizeof text, "Entry%03d", i);
  return text;
}

/// Writes "<name>.conf" and gives its path. The groups lie under "App", as ours name them.
std::string MakeFile(const std::string& name, const Size& size, bool isSorted) {
  std::mt19937 random(7);
  std::vector<int> groups(static_cast<size_t>(size.groups));
  for (int i = 0; i < size.groups; ++i) groups[static_cast<size_t>(i)] = i;
  if (!isSorted) std::shuffle(groups.begin(), groups.end(), random);
  const std::string path = TheFolder() / (name + ".conf");
  std::ofstream file(path, std::ios::binary);
  for (const int group : groups) {
    file << "[App/" << GroupName(group) << "]\n";
    std::vector<int> keys(static_cast<size_t>(size.entries));
    for (int i = 0; i < size.entries; ++i) keys[static_cast<size_t>(i)] = i;
    if (!isSorted) std::shuffle(keys.begin(), keys.end(), random);
    for (const int key : keys) file << KeyName(key) << "=value " << group * 7919 + key << "\n";
  }
  return path;
}

/// The names of all groups and keys in a library's own kind of string, and an endless random order
/// of them. The names stay in the cache; what is looked up does not.
template <typename String>
class Places {
 public:
  Places(const Size& size, const std::string& prefix) {
    for (int i = 0; i < size.groups; ++i) m_groups.push_back(Make(prefix + GroupName(i)));
    for (int i = 0; i < size.entries; ++i) m_keys.push_back(Make(KeyName(i)));
    std::mt19937 random(11);
    for (int i = 0; i < 1 << 16; ++i) {
      m_order.emplace_back(static_cast<uint16_t>(random() % m_groups.size()),
                           static_cast<uint16_t>(random() % m_keys.size()));
    }
  }

  /// References to the next group and key.
  std::pair<const String&, const String&> Next() {
    const auto [group, key] = m_order[m_next++ % m_order.size()];
    return {m_groups[group], m_keys[key]};
  }

 private:
  static String Make(const std::string& text) { return String(text.c_str()); }

  std::vector<String> m_groups;
  std::vector<String> m_keys;
  std::vector<std::pair<uint16_t, uint16_t>> m_order;
  size_t m_next = 0;
};

// Loading ---------------------------------------------------------------------------------------

void LoadZtk(benchmark::State& state, const std::string& name, const Size& size, bool isSorted) {
  MakeFile(name, size, isSorted);
  for (auto _ : state) {
    ZTKFileConfig config("App", name.c_str());
    benchmark::DoNotOptimize(&config);
  }
}

using HandMade = std::map<std::string, std::map<std::string, std::string>>;

std::string_view Trim(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) {
    text.remove_prefix(1);
  }
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) {
    text.remove_suffix(1);
  }
  return text;
}

HandMade LoadByHand(const std::string& path) {
  HandMade tree;
  std::map<std::string, std::string>* pGroup = &tree[""];
  std::ifstream file(path, std::ios::binary);
  std::string line;
  while (std::getline(file, line)) {
    const std::string_view text = Trim(line);
    if (text.empty() || text[0] == ';' || text[0] == '#') continue;
    if (text[0] == '[') {
      const size_t end = text.find(']');
      if (end != std::string_view::npos) pGroup = &tree[std::string(text.substr(1, end - 1))];
      continue;
    }
    const size_t equals = text.find('=');
    if (equals == std::string_view::npos) continue;
    (*pGroup)[std::string(Trim(text.substr(0, equals)))] = Trim(text.substr(equals + 1));
  }
  return tree;
}

void LoadStd(benchmark::State& state, const std::string& name, const Size& size, bool isSorted) {
  const std::string path = MakeFile(name, size, isSorted);
  for (auto _ : state) benchmark::DoNotOptimize(LoadByHand(path));
}

void LoadLimit(benchmark::State& state, const std::string& name, const Size& size, bool isSorted) {
  const std::string path = MakeFile(name, size, isSorted);
  std::vector<char> buffer(64 * 1024);
  for (auto _ : state) {
    size_t lines = 0;
    std::FILE* pFile = std::fopen(path.c_str(), "rb");
    while (const size_t count = std::fread(buffer.data(), 1, buffer.size(), pFile)) {
      for (const char* at = buffer.data(); at < buffer.data() + count; ++at, ++lines) {
        at = static_cast<const char*>(
            std::memchr(at, '\n', static_cast<size_t>(buffer.data() + count - at)));
        if (at == nullptr) break;
      }
    }
    std::fclose(pFile);
    benchmark::DoNotOptimize(lines);
  }
}

// Looking up ------------------------------------------------------------------------------------

void LookUpZtk(benchmark::State& state, const std::string& name, const Size& size) {
  MakeFile(name, size, true);
  ZTKFileConfig config("App", name.c_str());
  Places<ZTKString> places(size, "/");
  for (auto _ : state) {
    const auto [group, key] = places.Next();
    config.SetPath(group);
    ZTKString value;
    if (!config.Read(key, value)) state.SkipWithError("not found");
    benchmark::DoNotOptimize(value.c_str());
  }
}

void LookUpStd(benchmark::State& state, const std::string& name, const Size& size) {
  const HandMade tree = LoadByHand(MakeFile(name, size, true));
  Places<std::string> places(size, "App/");
  for (auto _ : state) {
    const auto [group, key] = places.Next();
    const std::string value = tree.find(group)->second.find(key)->second;
    benchmark::DoNotOptimize(value.c_str());
  }
}

// Saving ----------------------------------------------------------------------------------------

void SaveZtk(benchmark::State& state, const std::string& name, const Size& size) {
  MakeFile(name, size, true);
  ZTKFileConfig config("App", name.c_str());
  config.SetPath("/Group0003");
  unsigned long nValue = 0;
  for (auto _ : state) {
    config.Write("Entry005", ++nValue);
    if (!config.Flush()) state.SkipWithError("not saved");
  }
}

void SaveStd(benchmark::State& state, const std::string& name, const Size& size) {
  const std::string path = MakeFile(name, size, true);
  HandMade tree = LoadByHand(path);
  unsigned long nValue = 0;
  for (auto _ : state) {
    tree["App/Group0003"]["Entry005"] = std::to_string(++nValue);
    {
      std::ofstream file(path + ".new", std::ios::binary);
      for (const auto& [group, entries] : tree) {
        file << '[' << group << "]\n";
        for (const auto& [key, text] : entries) file << key << '=' << text << '\n';
      }
    }
    fs::rename(path + ".new", path);
  }
}

void SaveLimit(benchmark::State& state, const std::string& name, const Size& size) {
  const std::string path = MakeFile(name, size, true);
  const std::string content(fs::file_size(path), 'x');
  for (auto _ : state) {
    std::FILE* pFile = std::fopen((path + ".new").c_str(), "wb");
    std::fwrite(content.data(), 1, content.size(), pFile);
    std::fclose(pFile);
    fs::rename(path + ".new", path);
  }
}

// Peers -----------------------------------------------------------------------------------------

#ifdef ZTK_BENCH_GLIB
GKeyFile* OpenKeyFile(const std::string& path) {
  GKeyFile* pFile = g_key_file_new();
  g_key_file_load_from_file(pFile, path.c_str(), G_KEY_FILE_NONE, nullptr);
  return pFile;
}

void LoadGlib(benchmark::State& state, const std::string& name, const Size& size, bool isSorted) {
  const std::string path = MakeFile(name, size, isSorted);
  for (auto _ : state) g_key_file_free(OpenKeyFile(path));
}

void LookUpGlib(benchmark::State& state, const std::string& name, const Size& size) {
  GKeyFile* pFile = OpenKeyFile(MakeFile(name, size, true));
  Places<std::string> places(size, "App/");
  for (auto _ : state) {
    const auto [group, key] = places.Next();
    char* pszValue = g_key_file_get_value(pFile, group.c_str(), key.c_str(), nullptr);
    if (pszValue == nullptr) state.SkipWithError("not found");
    benchmark::DoNotOptimize(pszValue);
    g_free(pszValue);
  }
  g_key_file_free(pFile);
}

void SaveGlib(benchmark::State& state, const std::string& name, const Size& size) {
  const std::string path = MakeFile(name, size, true);
  GKeyFile* pFile = OpenKeyFile(path);
  unsigned long nValue = 0;
  for (auto _ : state) {
    g_key_file_set_value(pFile, "App/Group0003", "Entry005", std::to_string(++nValue).c_str());
    if (!g_key_file_save_to_file(pFile, path.c_str(), nullptr)) state.SkipWithError("not saved");
  }
  g_key_file_free(pFile);
}
#endif

#ifdef ZTK_BENCH_QT
void LoadQt(benchmark::State& state, const std::string& name, const Size& size, bool isSorted) {
  const std::string path = MakeFile(name, size, isSorted);
  auto time = fs::last_write_time(path);
  for (auto _ : state) {
    state.PauseTiming();  // Qt keeps a file that has not changed.
    fs::last_write_time(path, time += std::chrono::seconds(1));
    state.ResumeTiming();
    const QSettings settings(QString::fromStdString(path), QSettings::IniFormat);
    benchmark::DoNotOptimize(
        settings.childGroups().size());  // Without a question nothing is parsed.
  }
}

void LookUpQt(benchmark::State& state, const std::string& name, const Size& size) {
  QSettings settings(QString::fromStdString(MakeFile(name, size, true)), QSettings::IniFormat);
  Places<QString> places(size, "App/");
  for (auto _ : state) {
    const auto [group, key] = places.Next();
    settings.beginGroup(group);
    const QString value = settings.value(key).toString();
    settings.endGroup();
    if (value.isEmpty()) state.SkipWithError("not found");
    benchmark::DoNotOptimize(value.constData());
  }
}

void SaveQt(benchmark::State& state, const std::string& name, const Size& size) {
  QSettings settings(QString::fromStdString(MakeFile(name, size, true)), QSettings::IniFormat);
  unsigned int nValue = 0;
  for (auto _ : state) {
    settings.setValue("App/Group0003/Entry005", ++nValue);
    settings.sync();
  }
}
#endif

#ifdef ZTK_BENCH_POCO_UTIL
using PocoConfig = Poco::Util::PropertyFileConfiguration;

// Its files have no groups: they are part of the keys.
std::string MakePropertyFile(const std::string& name, const Size& size, bool isSorted) {
  const HandMade tree = LoadByHand(MakeFile(name, size, isSorted));
  const std::string path = TheFolder() / (name + ".properties");
  std::ofstream file(path, std::ios::binary);
  for (const auto& [group, entries] : tree) {
    if (group.empty()) continue;
    for (const auto& [key, text] : entries) {
      file << "App." << group.substr(4) << '.' << key << '=' << text << '\n';
    }
  }
  return path;
}

void LoadPoco(benchmark::State& state, const std::string& name, const Size& size, bool isSorted) {
  const std::string path = MakePropertyFile(name, size, isSorted);
  for (auto _ : state) {
    const Poco::AutoPtr<PocoConfig> pConfig(new PocoConfig(path));
    benchmark::DoNotOptimize(pConfig.get());
  }
}

void LookUpPoco(benchmark::State& state, const std::string& name, const Size& size) {
  const Poco::AutoPtr<PocoConfig> pConfig(new PocoConfig(MakePropertyFile(name, size, true)));
  Places<std::string> places(size, "App.");
  for (auto _ : state) {
    const auto [group, key] = places.Next();
    const std::string value = pConfig->getRawString(group + "." + key);
    benchmark::DoNotOptimize(value.data());
  }
}

void SavePoco(benchmark::State& state, const std::string& name, const Size& size) {
  const std::string path = MakePropertyFile(name, size, true);
  Poco::AutoPtr<PocoConfig> pConfig(new PocoConfig(path));
  unsigned int nValue = 0;
  for (auto _ : state) {
    pConfig->setUInt("App.Group0003.Entry005", ++nValue);
    pConfig->save(path);
  }
}
#endif

// Registration ----------------------------------------------------------------------------------

template <typename Function, typename... Arguments>
void Add(const std::string& work, const char* who, benchmark::TimeUnit unit, Function function,
         Arguments... arguments) {
  const std::string file = work + "-" + who;  // Each has a file of its own.
  benchmark::RegisterBenchmark(("BM_" + work + "/" + who).c_str(), [=](benchmark::State& state) {
    function(state, file, arguments...);
  })->Unit(unit);
}

template <typename Load, typename LookUp, typename Save>
void AddAll(const char* who, Load load, LookUp lookUp, Save save) {
  Add("ConfigLoadSorted100000", who, benchmark::kMillisecond, load, kLarge, true);
  Add("ConfigLoadRandom100000", who, benchmark::kMillisecond, load, kLarge, false);
  Add("ConfigLookUp100000", who, benchmark::kNanosecond, lookUp, kLarge);
  Add("ConfigLookUp60", who, benchmark::kNanosecond, lookUp, kSmall);
  Add("ConfigSave100000", who, benchmark::kMillisecond, save, kLarge);
}

const bool kRegistered = [] {
  AddAll("ztk", LoadZtk, LookUpZtk, SaveZtk);
  AddAll("std", LoadStd, LookUpStd, SaveStd);
#ifdef ZTK_BENCH_GLIB
  AddAll("glib", LoadGlib, LookUpGlib, SaveGlib);
#endif
#ifdef ZTK_BENCH_QT
  AddAll("qt", LoadQt, LookUpQt, SaveQt);
#endif
#ifdef ZTK_BENCH_POCO_UTIL
  AddAll("poco", LoadPoco, LookUpPoco, SavePoco);
#endif
  Add("ConfigLoadSorted100000", "limit", benchmark::kMillisecond, LoadLimit, kLarge, true);
  Add("ConfigSave100000", "limit", benchmark::kMillisecond, SaveLimit, kLarge);
  return true;
}();

}  // namespace
