// How long a work takes at one size, for bench/growth.py to compare over sizes.
//
//     ztk_growth            the names of the works, each with its smallest size
//     ztk_growth WORK SIZE  the nanoseconds of the work, the least of several runs
//
// What a run needs beforehand is made outside the time. A work is the whole of what its name says
// for `size` elements: characters, lines, entries, keys or timers.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "ztk/config/file_config.h"
#include "ztk/foundation/list.h"
#include "ztk/foundation/maps.h"
#include "ztk/foundation/string.h"
#include "ztk/system/event_loop.h"
#include "ztk/system/timer.h"
#include "ztk/text/text_file.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

/// A folder in memory where there is one, removed at the end of the program.
class Folder {
 public:
  Folder() {
    std::string name = fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
    name += "/ztk-growth-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) std::abort();
    m_path = name;
    setenv("XDG_CONFIG_HOME", name.c_str(), 1);
  }
  ~Folder() { fs::remove_all(m_path); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  std::string operator/(const char* pszName) const { return (m_path / pszName).string(); }

 private:
  fs::path m_path;
};

/// One run: `Prepare` outside the time, `Do` within it. What a run has made goes after it.
struct Work {
  virtual ~Work() = default;
  virtual void Prepare(size_t /*nSize*/) {}
  virtual void Do(size_t nSize) = 0;
};

void Require(bool isDone) {
  if (!isDone) std::abort();
}

struct AppendCharacters : Work {
  void Do(size_t nSize) override {
    for (size_t i = 0; i < nSize; ++i) text += static_cast<char>('a' + i % 26);
    Require(text.Len() == nSize);
  }
  ZTKString text;
};

struct ReplaceAll : Work {
  void Prepare(size_t nSize) override {
    for (size_t i = 0; i < nSize / 10; ++i) source += "0123needle";
    text = ZTKString(source);
  }
  void Do(size_t /*nSize*/) override { text.Replace("needle", "something else", true); }
  std::string source;
  ZTKString text;
};

struct AppendToList : Work {
  void Do(size_t nSize) override {
    for (size_t i = 0; i < nSize; ++i) list.Append(this);
    list.Clear();
  }
  ZTKListBase list;
};

std::vector<ZTKWord> Keys(size_t nSize, bool bRandom) {
  std::vector<ZTKWord> keys(nSize);
  std::iota(keys.begin(), keys.end(), ZTKWord{1});
  if (bRandom) {
    std::mt19937_64 random(1);
    for (ZTKWord& key : keys) key = static_cast<ZTKWord>(random());
  }
  return keys;
}

template <bool bRandom>
struct FillMap : Work {
  void Prepare(size_t nSize) override {
    keys = Keys(nSize, bRandom);
    map = std::make_unique<ZTKMap>(2 * nSize + 1);
  }
  void Do(size_t /*nSize*/) override {
    for (const ZTKWord key : keys) map->Insert(key, key);
  }
  std::vector<ZTKWord> keys;
  std::unique_ptr<ZTKMap> map;
};

template <bool bRandom>
struct SearchMap : FillMap<bRandom> {
  void Prepare(size_t nSize) override {
    FillMap<bRandom>::Prepare(nSize);
    FillMap<bRandom>::Do(nSize);
  }
  void Do(size_t /*nSize*/) override {
    for (const ZTKWord key : this->keys) Require(this->map->Find(key).GetValue() == key);
  }
};

class Never final : public ZTKTimer {};

struct StartTimers : Work {
  void Prepare(size_t nSize) override { timers = std::vector<Never>(nSize); }
  void Do(size_t /*nSize*/) override {
    for (Never& timer : timers) Require(timer.Start(3'600'000, 1));
    for (Never& timer : timers) timer.Stop();
  }
  std::vector<Never> timers;
};

struct TextWork : Work {
  void MakeFile(size_t nSize) const {
    std::ofstream file(path, std::ios::binary);
    for (size_t i = 0; i < nSize; ++i) file << "A line of text with the number " << i << " in it\n";
  }
  const Folder folder;
  const std::string path = folder / "text";
};

struct LoadText : TextWork {
  void Prepare(size_t nSize) override { MakeFile(nSize); }
  void Do(size_t nSize) override {
    ZTKTextFile file(path.c_str());
    Require(file.Open() && file.GetLineCount() >= nSize);
  }
};

struct SaveText : TextWork {
  void Prepare(size_t nSize) override {
    MakeFile(nSize);
    file = std::make_unique<ZTKTextFile>(path.c_str());
    Require(file->Open());
  }
  void Do(size_t /*nSize*/) override { Require(file->Write(EOL_NONE)); }
  std::unique_ptr<ZTKTextFile> file;
};

// Entries in groups of 100, or all in one; in order or not.
template <bool bOneGroup, bool bRandom>
struct ConfigWork : Work {
  void MakeFile(size_t nSize) const {
    std::vector<size_t> order(nSize);
    std::iota(order.begin(), order.end(), size_t{0});
    if (bRandom) std::shuffle(order.begin(), order.end(), std::mt19937(1));
    std::ofstream file(folder / "growth.conf", std::ios::binary);
    char text[64];
    for (size_t i = 0; i < nSize; ++i) {
      if (bOneGroup ? i == 0 : i % 100 == 0) {
        std::snprintf(text, sizeof text, "[App/Group%07zu]\n", i / 100);
        file << text;
      }
      std::snprintf(text, sizeof text, "Entry%07zu=value %zu\n", order[i], i);
      file << text;
    }
  }
  const Folder folder;
};

template <bool bOneGroup, bool bRandom>
struct LoadConfig : ConfigWork<bOneGroup, bRandom> {
  void Prepare(size_t nSize) override { this->MakeFile(nSize); }
  void Do(size_t /*nSize*/) override { ZTKFileConfig("App", "growth"); }
};

struct SaveConfig : ConfigWork<false, false> {
  void Prepare(size_t nSize) override {
    MakeFile(nSize);
    config = std::make_unique<ZTKFileConfig>("App", "growth");
  }
  void Do(size_t /*nSize*/) override {
    Require(config->Write("Changed", ZTKString("yes")) && config->Flush());
  }
  std::unique_ptr<ZTKFileConfig> config;
};

struct SearchConfig : SaveConfig {
  void Do(size_t nSize) override {
    char text[32];
    for (size_t i = 0; i < nSize; ++i) {
      std::snprintf(text, sizeof text, "/Group%07zu", i / 100);
      if (i % 100 == 0) config->SetPath(text);
      std::snprintf(text, sizeof text, "Entry%07zu", i);
      ZTKString value;
      Require(config->Read(text, value));
    }
  }
};

template <class W>
std::unique_ptr<Work> Make() {
  return std::make_unique<W>();
}

struct Entry {
  const char* pszName;
  size_t nSmallest;  // Of four decades.
  std::unique_ptr<Work> (*pMake)();
};

constexpr Entry kWorks[] = {
    {"append-characters", 10'000, Make<AppendCharacters>},
    {"replace", 10'000, Make<ReplaceAll>},
    {"list-append", 10'000, Make<AppendToList>},
    {"map-fill-sequential", 1'000, Make<FillMap<false>>},
    {"map-fill-random", 1'000, Make<FillMap<true>>},
    {"map-search-sequential", 1'000, Make<SearchMap<false>>},
    {"map-search-random", 1'000, Make<SearchMap<true>>},
    {"timers-start-stop", 100, Make<StartTimers>},
    {"text-load", 1'000, Make<LoadText>},
    {"text-save", 1'000, Make<SaveText>},
    {"config-load", 1'000, Make<LoadConfig<false, false>>},
    {"config-load-one-group", 1'000, Make<LoadConfig<true, false>>},
    {"config-load-one-group-random", 1'000, Make<LoadConfig<true, true>>},
    {"config-search", 1'000, Make<SearchConfig>},
    {"config-save", 1'000, Make<SaveConfig>},
};

// Runs until there have been three of them and a tenth of a second, or one of a second.
std::int64_t Measure(const Entry& entry, size_t nSize) {
  constexpr std::int64_t kEnough = 100'000'000, kLong = 1'000'000'000;
  std::int64_t least = INT64_MAX;
  std::int64_t total = 0;
  for (int nRuns = 0; nRuns < 3 || total < kEnough; ++nRuns) {
    const std::unique_ptr<Work> work = entry.pMake();
    work->Prepare(nSize);
    const Clock::time_point start = Clock::now();
    work->Do(nSize);
    const std::int64_t taken = (Clock::now() - start) / std::chrono::nanoseconds(1);
    least = std::min(least, taken);
    total += taken;
    if (taken > kLong) break;
  }
  return least;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    for (const Entry& entry : kWorks) std::printf("%s %zu\n", entry.pszName, entry.nSmallest);
    return 0;
  }
  for (const Entry& entry : kWorks) {
    if (std::string_view(entry.pszName) != argv[1]) continue;
    std::printf("%lld\n",
                static_cast<long long>(Measure(entry, std::strtoull(argv[2], nullptr, 10))));
    return 0;
  }
  std::fprintf(stderr, "no such work: %s\n", argv[1]);
  return 1;
}
