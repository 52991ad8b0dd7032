// From any path to the colon path of the same file.

#include <algorithm>
#include <string>
#include <string_view>

#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/path_limits.h"
#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/platform/mac/services/catalog.h"
#include "ztk/platform/mac/services/guard.h"
#include "ztk/platform/mac/services/volumes.h"

using namespace ztk_mac_services;

namespace {

std::string Resolved(const std::string& path) {
  ZTKString resolved;
  return XPResolveLinks(path.c_str(), resolved) ? std::string(resolved.view()) : "";
}

// The end of the last ".." among the components, 0 when there is none.
size_t EndOfStepsUp(std::string_view path) {
  for (size_t at = path.rfind(".."); at != std::string_view::npos && at != 0;
       at = path.rfind("..", at - 1)) {
    const bool ends = at + 2 == path.size() || path[at + 2] == '/';
    if (path[at - 1] == '/' && ends) return at + 2;
  }
  return 0;
}

// An absolute path without "..", "." and empty components; with a '/' at its end for what can be
// nothing but a folder. "" when a folder on the way up, or the working directory, is missing.
std::string Tidied(const std::string& hostPath) {
  std::string path = hostPath;
  if (path.front() != '/') {
    const std::string work = Resolved(".");
    if (work.empty()) return "";
    path = work + '/' + path;
  }
  if (const size_t end = EndOfStepsUp(path); end != 0) {
    const std::string folder = Resolved(path.substr(0, end));
    if (folder.empty()) return "";
    path = folder + '/' + path.substr(end);
  }
  std::string tidy = "/";
  std::string_view rest = path;
  while (!rest.empty()) {
    const size_t slash = rest.find('/');
    const std::string_view step = rest.substr(0, slash);
    rest.remove_prefix(slash == std::string_view::npos ? rest.size() : slash + 1);
    if (step.empty() || step == ".") continue;
    tidy += step;
    if (slash != std::string_view::npos) tidy += '/';
  }
  return tidy;
}

// Whether a colon path leads to a path of the host, taken whole as well as taken apart.
bool LeadsTo(const ZTKString& colonPath, std::string_view path) {
  const auto withoutEnd = [](std::string_view text) {
    while (text.size() > 1 && text.ends_with('/')) text.remove_suffix(1);
    return text;
  };
  if (colonPath.Len() > ZTKPathLimit::kConverted) return false;
  const ZTKFileName name(colonPath, ZTKPathNative);
  if (name.GetFullPath(ZTKPathNative).view() != colonPath.view()) return false;
  return withoutEnd(XPMacPathToCompName(colonPath.c_str()).view()) == withoutEnd(path);
}

ZTKString ColonPathFor(const std::string& hostPath) {
  const std::string path = hostPath.empty() ? "" : Tidied(hostPath);
  if (path.empty()) return ZTKString();
  // A volume that has no name in ASCII can only be reached through the start-up volume.
  const Volume nearest = Volumes::FindByPath(path);
  for (const Volume& volume : {nearest, Volumes::FindByPath("/")}) {
    std::string_view below = path;
    below.remove_prefix(std::min(below.size(), volume.root.size()));
    while (below.starts_with('/')) below.remove_prefix(1);
    ZTKString colonPath(volume.name + ':' + SwappedName(below));
    if (below.find(':') == std::string_view::npos && LeadsTo(colonPath, path)) return colonPath;
  }
  return ZTKString();
}

}  // namespace

ZTKString XPCompNameToMacPath(const char* pszPath) noexcept {
  return Guarded(ZTKString(), [=] {
    const ZTKAllocationWatch memory;
    ZTKString path = ColonPathFor(std::string(XPMacPathToCompName(pszPath).view()));
    if (memory.RanOut()) path.Clear();
    return path;
  });
}
