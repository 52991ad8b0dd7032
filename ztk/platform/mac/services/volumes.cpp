#include "ztk/platform/mac/services/volumes.h"

#include <climits>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "ztk/file/internal/file_system_xp.h"
#include "ztk/foundation/internal/never_destroyed.h"
#include "ztk/platform/mac/services/mounts.h"

namespace ztk_mac_services {

namespace {

constexpr std::string_view kStartUpName = "System";

struct KnownVolumes {
  std::mutex mutex;
  std::vector<std::string> roots;  // Of every volume ever seen; the index gives its number.
  std::map<std::string, std::string, std::less<>> rootOfName;  // Of every name looked up.
};
KnownVolumes& Known() {
  static ZTKNeverDestroyed<KnownVolumes> s_state;
  return s_state.value;
}

std::string NameOf(const std::string& root) {
  return root == "/" ? std::string(kStartUpName) : Mounts::NameOf(root);
}

// The mount point that had a name first; "" for none.
std::string FirstOfName(std::string_view name) {
  const std::lock_guard lock(Known().mutex);
  const auto known = Known().rootOfName.find(name);
  return known != Known().rootOfName.end() ? known->second : "";
}

// Assigns a name to a mount point, and returns the one that has it: another may have come first.
std::string GiveName(const Mount& mount) {
  const std::lock_guard lock(Known().mutex);
  return Known().rootOfName.emplace(mount.name, mount.point).first->second;
}

// The first volume of a name keeps it. "" when there is none, or it is gone: paths to its files
// must not lead to those of a namesake.
std::string RootOf(std::string_view name, const MountList& mounts) {
  if (name == kStartUpName) return "/";
  const std::string first = FirstOfName(name);
  for (const Mount& mount : mounts) {
    if (mount.name != name || (!first.empty() && mount.point != first)) continue;
    if (!XPIsFolder(mount.point.c_str())) continue;
    if (!first.empty() || GiveName(mount) == mount.point) return mount.point;
    return RootOf(name, mounts);
  }
  return "";
}

// The number of a volume, 0 when none is left.
short NumberOf(const std::string& root) {
  if (root == "/") return -1;
  const std::lock_guard lock(Known().mutex);
  std::vector<std::string>& roots = Known().roots;
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
  const std::lock_guard lock(Known().mutex);
  const std::vector<std::string>& roots = Known().roots;
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
  return Describe(RootOf(name, *Mounts::Get()), volume);
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
  const std::shared_ptr<const MountList> mounts = Mounts::Get();
  std::string best = "/";
  for (const Mount& mount : *mounts) {
    const bool isCloser = mount.point.size() > best.size() && Holds(mount.point, path);
    if (isCloser && RootOf(mount.name, *mounts) == mount.point) best = mount.point;
  }
  Describe(best, volume);
  return volume;
}

void Volumes::UseTable(const char* pszFile) {
  const std::lock_guard lock(Known().mutex);
  Known().rootOfName.clear();
  Mounts::UseTable(pszFile);
}

}  // namespace ztk_mac_services
