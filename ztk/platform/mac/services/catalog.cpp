#include "ztk/platform/mac/services/catalog.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "ztk/foundation/internal/never_destroyed.h"
#include "ztk/platform/mac/services/volumes.h"

namespace ztk_mac_services {

namespace {

// Ids of folders ----------------------------------------------------------------------------------

constexpr long kFirstId = 16;

// A folder keeps its id as long as the process runs, so the ids that programs hold stay true.
struct Ids {
  std::mutex mutex;
  std::deque<std::string> pathOf;
  std::map<std::string_view, long> idOf;  // The texts are those of pathOf.
};
Ids& AllIds() {
  static ZTKNeverDestroyed<Ids> s_ids;
  return s_ids.value;
}

long IdOf(const std::string& folder) {
  Ids& ids = AllIds();
  const std::lock_guard lock(ids.mutex);
  const auto known = ids.idOf.find(folder);
  if (known != ids.idOf.end()) return known->second;
  ids.pathOf.push_back(folder);  // Without memory for the rest it is an id that nobody holds.
  const long id = kFirstId + static_cast<long>(ids.pathOf.size()) - 1;
  return ids.idOf.emplace(ids.pathOf.back(), id).first->second;
}

// "" for an id that was never given.
std::string PathOfId(long nId) {
  Ids& ids = AllIds();
  const std::lock_guard lock(ids.mutex);
  if (nId < kFirstId || nId - kFirstId >= static_cast<long>(ids.pathOf.size())) return "";
  return ids.pathOf[static_cast<size_t>(nId - kFirstId)];
}

// Names and paths of the host ---------------------------------------------------------------------

bool IsName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.size() <= NAME_MAX &&
         name.find('\0') == std::string_view::npos && name.find(':') == std::string_view::npos;
}

std::string Joined(const std::string& folder, std::string_view name) {
  std::string path = folder;
  if (path.empty() || path.back() != '/') path += '/';
  path += name;
  return path;
}

// The part before the last '/', "/" for what lies there; `path` is absolute and not "/".
std::string Parent(const std::string& path) {
  const size_t slash = path.rfind('/');
  return path.substr(0, slash == 0 ? 1 : slash);
}

// What an error of the host says of a folder on the way.
OSErr FolderError(int nError) {
  if (nError == ENOMEM) throw std::bad_alloc();
  if (nError == ENAMETOOLONG) return bdNamErr;
  return nError == ENOENT || nError == ENOTDIR ? dirNFErr : ioErr;
}

// Makes the path of a folder that exists absolute and free of links.
OSErr Resolve(std::string& folder) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(folder.c_str(), nullptr),
                                                         std::free);
  if (real == nullptr) return FolderError(errno);
  folder = real.get();
  return noErr;
}

// A link that leads nowhere does not exist.
OSErr Exists(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) == 0) return noErr;
  if (errno == ENOENT || errno == ELOOP) return fnfErr;
  return FolderError(errno);
}

// Makes a path absolute, with the links on its way followed.
OSErr Settle(std::string& path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  const size_t start = path.rfind('/') + 1;  // 0 without a '/'.
  const std::string name = path.substr(start);
  if (path.empty()) return bdNamErr;
  if (name.empty() || name == "." || name == "..") return Resolve(path);

  std::string folder = start == 0 ? "." : path.substr(0, start);
  if (const OSErr error = Resolve(folder); error != noErr) return error;
  path = Joined(folder, name);
  return noErr;
}

bool PutName(const std::string& name, FSSpec& spec) {
  if (name.empty() || name.size() > 255) return false;
  spec.name[0] = static_cast<unsigned char>(name.size());
  std::memcpy(spec.name + 1, name.data(), name.size());
  return true;
}

// Never out of the volume.
OSErr StepUp(std::string& folder) {
  if (const OSErr error = Resolve(folder); error != noErr) return error;
  if (folder == Volumes::FindByPath(folder).root) return dirNFErr;
  folder = Parent(folder);
  return noErr;
}

OSErr StepDown(std::string& folder, std::string_view name) {
  if (!IsName(name)) return bdNamErr;
  folder = Joined(folder, SwappedName(name));
  return noErr;
}

// Follows a colon path without a volume, such as ":folder:name" or "name", from a folder. The last
// name need not exist.
OSErr FollowColonPath(std::string folder, std::string_view colonPath, std::string& path) {
  if (colonPath.starts_with(':')) colonPath.remove_prefix(1);
  while (!colonPath.empty()) {
    const std::string_view step = colonPath.substr(0, colonPath.find(':'));
    colonPath.remove_prefix(std::min(colonPath.size(), step.size() + 1));
    const OSErr error = step.empty() ? StepUp(folder) : StepDown(folder, step);
    if (error != noErr) return error;
  }
  path = std::move(folder);
  return noErr;
}

OSErr FindVolume(short nVolume, Volume& volume) {
  if (nVolume == kOnSystemDisk) nVolume = -1;
  return Volumes::FindByNumber(nVolume, volume) ? noErr : nsvErr;
}

OSErr FolderOnVolume(const Volume& volume, long nDirectory, std::string& path) {
  if (nDirectory == fsRtDirID) {
    path = volume.root;
    return noErr;
  }
  const std::string folder = PathOfId(nDirectory);
  if (folder.empty() || Volumes::FindByPath(folder).number != volume.number) return dirNFErr;
  path = folder;
  return noErr;
}

}  // namespace

std::string SwappedName(std::string_view name) {
  std::string swapped(name);
  for (char& ch : swapped) ch = ch == '/' ? ':' : ch == ':' ? '/' : ch;
  return swapped;
}

OSErr HostPathOf(const FSSpec& spec, std::string& path) {
  Volume volume;
  if (const OSErr error = FindVolume(spec.vRefNum, volume); error != noErr) return error;
  const std::string_view name(reinterpret_cast<const char*>(spec.name + 1), spec.name[0]);
  if (!IsName(name)) return bdNamErr;
  if (spec.parID == fsRtParID) {
    if (name != volume.name) return fnfErr;
    path = volume.root;
    return noErr;
  }
  std::string folder;
  if (const OSErr error = FolderOnVolume(volume, spec.parID, folder); error != noErr) return error;
  path = Joined(folder, SwappedName(name));
  return noErr;
}

OSErr SpecOfHostPath(const std::string& path, FSSpec& spec) {
  std::string whole = path;
  if (const OSErr error = Settle(whole); error != noErr) return error;
  const OSErr found = Exists(whole);
  if (found != noErr && found != fnfErr) return found;

  const Volume volume = Volumes::FindByPath(whole);
  FSSpec result = {};
  result.vRefNum = volume.number;
  std::string name = volume.name;
  result.parID = fsRtParID;
  if (whole != volume.root) {
    const std::string folder = Parent(whole);
    result.parID = folder == volume.root ? fsRtDirID : IdOf(folder);
    name = SwappedName(whole.substr(whole.rfind('/') + 1));
  }
  if (!PutName(name, result)) return bdNamErr;
  spec = result;
  return found;
}

OSErr RefOfHostPath(const std::string& path, FSRef& ref) {
  FSSpec place;
  const OSErr error = SpecOfHostPath(path, place);
  if (error == noErr) ref.place = place;
  return error;
}

OSErr HostFolderOf(short nVolume, long nDirectory, std::string& path) {
  if (nVolume == 0 && nDirectory == 0) {
    std::string folder = ".";
    const OSErr error = Resolve(folder);
    if (error == noErr) path = folder;
    return error;
  }
  Volume volume;
  if (nVolume == 0) {
    // A folder by its id alone: ids are not given twice.
    volume = Volumes::FindByPath(PathOfId(nDirectory));
  } else if (const OSErr error = FindVolume(nVolume, volume); error != noErr) {
    return error;
  }
  return FolderOnVolume(volume, nDirectory == 0 ? fsRtDirID : nDirectory, path);
}

OSErr HostPathOfName(short nVolume, long nDirectory, std::string_view name, std::string& path) {
  const size_t colon = name.find(':');
  if (colon != std::string_view::npos && colon != 0) {
    Volume volume;
    if (!Volumes::FindByName(name.substr(0, colon), volume)) return nsvErr;
    return FollowColonPath(volume.root, name.substr(colon), path);
  }
  if (nDirectory == fsRtParID && !name.empty()) {
    FSSpec spec = {nVolume, nDirectory, {}};
    spec.name[0] =
        static_cast<unsigned char>(name.copy(reinterpret_cast<char*>(spec.name + 1), 255));
    return HostPathOf(spec, path);
  }
  std::string folder;
  if (const OSErr error = HostFolderOf(nVolume, nDirectory, folder); error != noErr) return error;
  return FollowColonPath(folder, name, path);
}

OSErr ColonPathOf(const std::string& path, std::string& colonPath) {
  std::string whole = path;
  if (const OSErr error = Settle(whole); error != noErr) return error;
  const Volume volume = Volumes::FindByPath(whole);
  const size_t start = volume.root == "/" ? 1 : volume.root.size() + 1;
  colonPath = volume.name + ':';
  // Between names, too.
  if (start < whole.size()) colonPath += SwappedName(whole.substr(start));
  return noErr;
}

}  // namespace ztk_mac_services
