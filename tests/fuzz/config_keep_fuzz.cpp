// Saving that keeps the text of a configuration file: after any changes to any file the tree on the
// disk is the one in memory, no comment, blank or meaningless line is lost or moved, and saving
// once more changes nothing. The first byte of the input tells where the changes end and the file
// begins.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "ztk/config/file_config.h"
#include "ztk/text/text_file.h"

namespace {

void Require(bool condition, const char* pszWhat) {
  if (condition) return;
  std::fprintf(stderr, "config_keep_fuzz: %s\n", pszWhat);
  std::abort();
}

/// A preferences folder, in memory where there is any, that is gone when the program ends.
const std::string& Folder() {
  static const struct Holder {
    Holder() {
      path = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
      path += "/ztk-fuzz-XXXXXX";
      Require(mkdtemp(path.data()) != nullptr, "no folder");
      setenv("XDG_CONFIG_HOME", path.c_str(), 1);
    }
    ~Holder() { std::filesystem::remove_all(path); }
    std::string path;
  } holder;
  return holder.path;
}

std::string File() { return Folder() + "/Keep.conf"; }

class Config : public ZTKFileConfig {
 public:
  explicit Config(unsigned int options) : ZTKFileConfig("", "Keep", options) {}
  using ZTKFileConfig::AddGroup;
};

/// A tree as group path -> (key -> value).
using Tree = std::map<std::string, std::map<std::string, std::string>>;

void Collect(Config& config, const std::string& path, Tree& tree) {
  config.AddGroup(path.c_str());
  ZTKString name;
  ZTKString value;
  auto& entries = tree[path];
  for (unsigned long i = 0; config.GetEntry(name, i); ++i) {
    Require(config.Read(name, value), "an entry without a value");
    entries[name.c_str()] = value.c_str();
  }
  for (unsigned long i = 0; config.GetGroup(name, i); ++i) {
    Collect(config, path + "/" + name.c_str(), tree);
    config.AddGroup(path.c_str());
  }
}

Tree TreeOf(Config& config) {
  Tree tree;
  Collect(config, "", tree);
  return tree;
}

void WriteFile(std::string_view bytes) {
  std::FILE* pFile = std::fopen(File().c_str(), "wb");
  Require(pFile != nullptr, "no file");
  std::fwrite(bytes.data(), 1, bytes.size(), pFile);
  std::fclose(pFile);
}

std::string ReadFile() {
  std::string content(std::filesystem::file_size(File()), '\0');
  std::FILE* pFile = std::fopen(File().c_str(), "rb");
  Require(pFile != nullptr, "no file");
  Require(std::fread(content.data(), 1, content.size(), pFile) == content.size(), "not read");
  std::fclose(pFile);
  return content;
}

/// The lines that are neither headers nor entries.
std::vector<std::string> OtherLines(ZTKTextReport& report) {
  ZTKTextFile file(File().c_str(), TEXT_SWAP_UTF16);
  Require(file.Open(report), "a file was not read");
  std::vector<std::string> lines;
  for (const ZTKString& line : file) {
    const std::string_view text = line.view();
    const size_t start = std::min(text.find_first_not_of(" \t"), text.size());
    const char first = start < text.size() ? text[start] : ';';
    const bool isHeader = first == '[' && text.find(']') != std::string_view::npos;
    const bool isEntry =
        first != '[' && first != ';' && first != '#' && text.find('=') != std::string_view::npos;
    if (!isHeader && !isEntry) lines.emplace_back(text);
  }
  return lines;
}

// Whether all lines are there, in their order; blank ones may have been added between groups.
bool HaveKept(const std::vector<std::string>& lines, const std::vector<std::string>& found) {
  size_t next = 0;
  for (const std::string& line : found) {
    if (next < lines.size() && line == lines[next]) {
      ++next;
    } else if (!line.empty()) {
      return false;
    }
  }
  return next == lines.size();
}

// The same changes to a configuration and to a model of its tree; they use few names, so that they
// meet what the file holds.
void Change(Config& config, Tree& tree, std::string_view changes) {
  static constexpr const char* kPaths[] = {"", "/a", "/a/b", "/c"};
  static constexpr const char* kKeys[] = {"", "k", "l", "m n"};
  for (size_t i = 0; i + 1 < changes.size(); i += 2) {
    const auto byte = static_cast<unsigned char>(changes[i]);
    const std::string path = kPaths[byte & 3];
    const std::string key = kKeys[byte >> 2 & 3];
    config.AddGroup(path.c_str());
    for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
      tree[path.substr(0, end)];
      if (end == std::string::npos) break;
    }
    if (byte < 0x80) {
      const std::string value(byte >> 5, changes[i + 1] > ' ' ? changes[i + 1] : 'v');
      Require(config.Write(key.c_str(), value.c_str()), "not written");
      tree[path][key] = value;
    } else if (byte < 0xC0) {
      Require(config.DeleteEntry(key.c_str()) == (tree[path].erase(key) == 1), "not deleted");
    } else {
      const std::string group = path + "/" + kPaths[1 + (byte >> 2 & 1) * 2][1];
      const bool isThere = tree.count(group) != 0;
      Require(config.DeleteGroup(group.substr(path.size() + 1).c_str()) == isThere, "not deleted");
      std::erase_if(tree, [&](const auto& entry) {
        return entry.first == group || entry.first.starts_with(group + "/");
      });
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
  const std::string_view input(reinterpret_cast<const char*>(pData), nSize);
  const size_t nChanges = nSize == 0 ? 0 : std::min<size_t>(pData[0] % 32, nSize - 1);
  const std::string_view changes = input.substr(nSize == 0 ? 0 : 1, nChanges);
  const std::string_view bytes = input.substr(nSize == 0 ? 0 : 1 + nChanges);
  Folder();
  WriteFile(bytes);
  // Runs of CRs are turned round by every reading, and what is behind a NUL is dropped.
  ZTKTextReport report;
  const std::vector<std::string> others = OtherLines(report);
  const bool comparesLines = bytes.find('\r') == std::string_view::npos && report.nNuls == 0;
  const unsigned int options = CONF_KEEP_TEXT | (nChanges % 2 != 0 ? CONF_MERGE : 0u);

  Tree tree;
  {
    Config config(options);
    tree = TreeOf(config);
    Change(config, tree, changes);
    config.DeleteEntry("no such entry");
    Require(TreeOf(config) == tree, "another tree after the changes");
    Require(config.Flush(), "not saved");
    Require(TreeOf(config) == tree || (options & CONF_MERGE) != 0, "another tree after saving");
  }
  const std::string saved = ReadFile();
  if (comparesLines) Require(HaveKept(others, OtherLines(report)), "other comments");

  Config again(options);
  Tree found = TreeOf(again);
  if ((options & CONF_MERGE) != 0) {
    // Groups that were only visited are not written.
    for (Tree* pTree : {&tree, &found}) {
      std::erase_if(*pTree, [](const auto& entry) { return entry.second.empty(); });
    }
  }
  if (comparesLines) Require(found == tree, "another tree on the disk");
  again.DeleteEntry("no such entry");
  Require(again.Flush(), "not saved again");
  if (comparesLines) Require(ReadFile() == saved, "saving again changes the file");
  return 0;
}
