// From the text of a path to the names of groups: what "." and ".." mean.
#include "ztk/config/internal/config_path.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <new>
#include <set>
#include <string>
#include <utility>

#include "ztk/file/internal/path_text.h"
#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/log/log.h"

namespace {

constexpr size_t kNone = std::string_view::npos;

// The characters of a path that are logged, more than the log takes. A file may hold a path of
// millions of ".." components, each of which is reported.
constexpr size_t kLogged = 4096;

/// The components of `path` with one "/" between them. A single "." and what follows it become one
/// component.
std::string JoinSingleDots(std::string_view path) {
  std::string joined;
  size_t nStart = 0;  // Of the component that is being written.
  for (std::string_view rest = path;;) {
    const std::string_view piece = ZTKPopComponent(rest);
    if (piece.empty()) return joined;
    const bool isDot = joined.size() - nStart == 1 && joined.back() == '.';
    if (!joined.empty() && !isDot) {
      joined += '/';
      nStart = joined.size();
    }
    joined += piece;
  }
}

/// Takes components away as ".." says, and calls `onExtra` for each that has nothing to take away.
/// The first one with the name of the last one goes: both are found in ordered sets, since a search
/// through the path for each ".." would be quadratic. Gives the rest by their positions.
template <typename OnExtra>
std::map<size_t, std::string_view> KeepComponents(std::string_view path, OnExtra onExtra) {
  std::map<size_t, std::string_view> kept;
  std::set<std::pair<std::string_view, size_t>> keptByName;
  for (std::string_view rest = path;;) {
    const std::string_view name = ZTKPopComponent(rest);
    if (name.empty()) return kept;
    if (name == ".") continue;  // At the end it waits for text that never comes.
    if (name != "..") {
      const auto nPosition = static_cast<size_t>(name.data() - path.data());
      kept.emplace_hint(kept.end(), nPosition, name);
      keptByName.emplace(name, nPosition);
    } else if (kept.empty()) {
      onExtra();
    } else {
      const auto first = keptByName.lower_bound({kept.rbegin()->second, 0});
      kept.erase(first->second);
      keptByName.erase(first);
    }
  }
}

}  // namespace

bool ZTKHasDotComponent(std::string_view path) noexcept {
  for (size_t dot = path.find('.'); dot != kNone; dot = path.find('.', dot)) {
    const size_t start = dot;
    while (dot < path.size() && path[dot] == '.') ++dot;
    const bool isWhole =
        (start == 0 || path[start - 1] == '/') && (dot == path.size() || path[dot] == '/');
    if (isWhole && dot - start <= 2) return true;
  }
  return false;
}

void ZTKSplitGroupPath(ZTKStringArray& out, std::string_view path, bool bWarns) noexcept {
  const ZTKAllocationWatch memory;
  try {
    const std::string joined = JoinSingleDots(path);
    const auto kept = KeepComponents(joined, [&] {
      const auto nLogged = static_cast<int>(std::min(path.size(), kLogged));
      if (bWarns) ZTKLogWarning("'%.*s' has extra '..', ignored.", nLogged, path.data());
    });
    out.RemoveAt(0, out.GetCount());  // Not before: the path may be one of its strings.
    for (const auto& [nPosition, name] : kept) out.Add(ZTKString(name), 1);
  } catch (const std::bad_alloc&) {
    ZTKAllocationWatch::NoteFailure();
  }
  if (memory.RanOut()) out.RemoveAt(0, out.GetCount());
}

std::string_view ZTKResolveGroup(std::string_view path, ZTKStringArray& resolved,
                                 bool bWarns) noexcept {
  const ZTKAllocationWatch memory;
  ZTKStringArray parts;
  ZTKSplitGroupPath(parts, path, bWarns);
  ZTKTextBuilder joined;
  for (const ZTKString& part : parts) {
    joined.Add('/');
    joined.Add(part.view());
  }
  const unsigned long nCount = resolved.GetCount();
  resolved.Add(joined.Finish(), 1);
  return memory.RanOut() || resolved.GetCount() == nCount ? std::string_view()
                                                          : resolved.Item(nCount).view();
}
