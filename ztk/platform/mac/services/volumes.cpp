#include "ztk/platform/mac/services/volumes.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

#include "ztk/foundation/internal/never_destroyed.h"
#include "ztk/platform/layer.h"

namespace ztk_mac_services {

namespace {

constexpr std::string_view kStartUpName = "System";
constexpr const char* kHostTable = "/proc/self/mounts";

struct State {
  std::mutex mutex;
  std::string table;               // "" for the host's.
  std::vector<std::string> roots;  // Every volume that was ever seen; the place is the number.
};
State& TheState() {
  static ZTKNeverDestroyed<State> s_state;
  return s_state.value;
}

std::string ReadTable() {
  std::string file = kHostTable;
  {
    const std::lock_guard lock(TheState().mutex);
    if (!TheState().table.empty()) file = TheState().table;
  }
  std::string text;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(XPOpenStream(file.c_str(), "rb", 0),
                                                               std::fclose);
  if (stream == nullptr && errno == ENOMEM) throw std::bad_alloc();
  if (stream == nullptr) return text;
  char block[2048];
  while (const size_t got = XPReadStream(stream.get(), block, sizeof block))
    text.append(block, got);
  return text;
}

bool IsOctal(char ch) { return ch >= '0' && ch <= '7'; }

// The table writes blanks and the like as a '\' and three octal digits.
std::string Unescaped(std::string_view field) {
  std::string text;
  for (size_t i = 0; i < field.size(); ++i) {
    if (field[i] == '\\' && i + 3 < field.size() && IsOctal(field[i + 1]) &&
        IsOctal(field[i + 2]) && IsOctal(field[i + 3])) {
      const int code = (field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 + (field[i + 3] - '0');
      text += static_cast<char>(code);
      i += 3;
    } else {
      text += field[i];
    }
  }
  return text;
}

// The mount points of the table, in its order: the second field of each line.
std::vector<std::string> MountPoints() {
  const std::string table = ReadTable();
  std::vector<std::string> points;
  std::string_view rest = table;
  while (!rest.empty()) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
    const size_t start = line.find(' ');
    if (start == std::string_view::npos) continue;
    const std::string_view fields = line.substr(start + 1);
    std::string point = Unescaped(fields.substr(0, fields.find(' ')));
    while (point.size() > 1 && point.back() == '/') point.pop_back();
    if (point.size() > 1 && point.front() == '/') points.push_back(std::move(point));
  }
  return points;
}

bool IsFolder(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string NameOf(const std::string& root) {
  if (root == "/") return std::string(kStartUpName);
  std::string name = root.substr(root.rfind('/') + 1);
  std::replace(name.begin(), name.end(), ':', '/');
  return name;
}

// The first volume that bears a name has it. "" when there is none.
std::string RootOf(std::string_view name, const std::vector<std::string>& points) {
  if (name == kStartUpName) return "/";
  for (const std::string& point : points) {
    if (NameOf(point) == name && IsFolder(point)) return point;
  }
  return "";
}

// The number of a volume, 0 when all are given away.
short NumberOf(const std::string& root) {
  if (root == "/") return -1;
  const std::lock_guard lock(TheState().mutex);
  std::vector<std::string>& roots = TheState().roots;
  size_t place = 0;
  while (place < roots.size() && roots[place] != root) ++place;
  if (place == roots.size()) {
    if (place == SHRT_MAX - 2) return 0;
    roots.push_back(root);
  }
  return static_cast<short>(-2 - static_cast<int>(place));
}

std::string RootByNumber(short nNumber) {
  if (nNumber == -1) return "/";
  const std::lock_guard lock(TheState().mutex);
  const std::vector<std::string>& roots = TheState().roots;
  const auto place = static_cast<size_t>(-2 - nNumber);
  return nNumber < -1 && place < roots.size() ? roots[place] : "";
}

bool Describe(const std::string& root, Volume& volume) {
  if (root.empty()) return false;
  Volume found{NumberOf(root), NameOf(root), root};
  if (found.number == 0) return false;
  volume = std::move(found);
  return true;
}

bool Holds(const std::string& root, std::string_view path) {
  return path.starts_with(root) && (path.size() == root.size() || path[root.size()] == '/');
}

}  // namespace

bool Volumes::FindByName(std::string_view name, Volume& volume) {
  if (name == kStartUpName) return Describe("/", volume);
  return Describe(RootOf(name, MountPoints()), volume);
}

bool Volumes::FindByNumber(short nNumber, Volume& volume) {
  const std::string root = RootByNumber(nNumber);
  if (root.empty()) return false;
  Volume found;
  if (!FindByName(NameOf(root), found) || found.root != root) return false;
  volume = std::move(found);
  return true;
}

Volume Volumes::FindByPath(std::string_view path) {
  Volume volume{-1, std::string(kStartUpName), "/"};
  if (path == "/") return volume;
  const std::vector<std::string> points = MountPoints();
  std::string best = "/";
  for (const std::string& point : points) {
    const bool isCloser = point.size() > best.size() && Holds(point, path);
    if (isCloser && RootOf(NameOf(point), points) == point) best = point;
  }
  Describe(best, volume);
  return volume;
}

void Volumes::UseTable(const char* pszFile) {
  const std::lock_guard lock(TheState().mutex);
  TheState().table = pszFile != nullptr ? pszFile : "";
}

}  // namespace ztk_mac_services
