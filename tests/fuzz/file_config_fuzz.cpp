// Configuration files: whatever is read and written comes back the same, as far as the format can
// keep it, and writing it once more gives the same bytes.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "ztk/config/file_config.h"

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

/// A preferences folder, in memory where there is any, that is gone when the program ends.
const std::string& Folder() {
  static const struct Holder {
    Holder() {
      path = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
      path += "/ztk-fuzz-XXXXXX";
      Require(mkdtemp(path.data()) != nullptr);
      setenv("XDG_CONFIG_HOME", path.c_str(), 1);
    }
    ~Holder() { std::filesystem::remove_all(path); }
    std::string path;
  } holder;
  return holder.path;
}

class Config : public ZTKFileConfig {
 public:
  Config() : ZTKFileConfig("", "Fuzz") {}
  using ZTKFileConfig::AddGroup;
};

/// A tree as group path -> (key -> value).
using Tree = std::map<std::string, std::map<std::string, std::string>>;

void Collect(Config& config, const std::string& path, Tree& tree) {
  config.AddGroup(path.c_str());
  ZTKString name;
  ZTKString value;
  std::string last;
  auto& entries = tree[path];
  for (unsigned long i = 0; config.GetEntry(name, i); ++i) {
    Require(config.Read(name, value) && config.GetEntryType(name) == 1);
    Require(i == 0 || last < name.c_str());
    last = name.c_str();
    entries[last] = value.c_str();
  }
  last.clear();
  for (unsigned long i = 0; config.GetGroup(name, i); ++i) {
    Require(name.Len() != 0 && (i == 0 || last < name.c_str()));
    last = name.c_str();
    Collect(config, path + "/" + last, tree);
    config.AddGroup(path.c_str());
  }
}

void WriteFile(const std::string& path, const uint8_t* pData, size_t nSize) {
  std::FILE* pFile = std::fopen(path.c_str(), "wb");
  Require(pFile != nullptr);
  Require(std::fwrite(pData, 1, nSize, pFile) == nSize);
  std::fclose(pFile);
}

std::string ReadFile(const std::string& path) {
  std::string content(std::filesystem::file_size(path), '\0');
  std::FILE* pFile = std::fopen(path.c_str(), "rb");
  Require(pFile != nullptr);
  Require(std::fread(content.data(), 1, content.size(), pFile) == content.size());
  std::fclose(pFile);
  return content;
}

// What of a tree a file can hold. False when a key turns into a header.
bool KeepWhatCanBeKept(Tree& tree) {
  tree[""].clear();  // The entries of the root group are not written.
  for (auto& [path, entries] : tree) {
    for (auto entry = entries.begin(); entry != entries.end();) {
      const char first = entry->first.empty() ? '\0' : entry->first[0];
      if (first == '[') return false;
      entry = first == ';' || first == '#' ? entries.erase(entry) : std::next(entry);
    }
  }
  return true;
}

Tree ReadTree(std::string& written) {
  Tree tree;
  {
    Config config;
    Collect(config, "", tree);
    config.DeleteGroup("no such group/");
    Require(config.Flush());
  }
  written = ReadFile(Folder() + "/Fuzz.conf");
  return tree;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
  WriteFile(Folder() + "/Fuzz.conf", pData, nSize);
  std::string first;
  std::string second;
  std::string third;
  Tree tree = ReadTree(first);
  const Tree again = ReadTree(second);
  if (!KeepWhatCanBeKept(tree)) return 0;
  Require(tree == again);
  Require(ReadTree(third) == again);
  Require(second == third);
  return 0;
}
