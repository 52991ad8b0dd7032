#include "ztk/file/file_watch.h"

#include <new>
#include <string_view>

#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_state_xp.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/file_watch_xp.h"
#include "ztk/file/internal/path_text.h"

namespace {

/// A name in a folder that is watched.
struct WatchedName {
  ZTKString folder;
  ZTKString name;
  int watch = -1;

  void Set(const ZTKString& path) noexcept {
    folder = ZTKFolderOf(path);
    name = ZTKString(path.view().substr(path.view().rfind('/') + 1));
  }
};

}  // namespace

struct ZTKFileWatch::State {
  explicit State(const ZTKString& native) noexcept
      : path(ZTKSystemPath(native)), fd(XPOpenFolderWatch()) {
    // There are no watches left: a descriptor that never tells anything is of no use.
    if (!AddWatches() && fd >= 0) {
      XPCloseFolderWatch(fd);
      fd = -1;
    }
    XPGetFileState(path.c_str(), known);
  }
  ~State() {
    if (fd >= 0) XPCloseFolderWatch(fd);
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  bool AddWatches() noexcept;

  const ZTKString path;
  int fd;
  WatchedName own;  // What the path names.
  WatchedName end;  // What it leads to.
  XPFileState known;
  bool isFirst = true;
};

// Called again after each change: a link may have come to lead elsewhere. False when the folder is
// there, and cannot be watched.
bool ZTKFileWatch::State::AddWatches() noexcept {
  if (fd < 0) return true;
  bool missing = false;
  own.Set(path);
  own.watch = XPWatchFolder(fd, own.folder.c_str(), missing);
  const bool watched = own.watch >= 0 || missing;

  const int old = end.watch;
  ZTKString real;
  if (XPResolveLinks(path.c_str(), real)) end.Set(real);
  end.watch = end.folder.Len() != 0 ? XPWatchFolder(fd, end.folder.c_str(), missing) : -1;
  if (old >= 0 && old != own.watch && old != end.watch) XPUnwatchFolder(fd, old);
  return watched;
}

ZTKFileWatch::ZTKFileWatch(const ZTKString& path) noexcept
    : m_pState(new (std::nothrow) State(path)) {}

ZTKFileWatch::~ZTKFileWatch() { delete m_pState; }

int ZTKFileWatch::GetFd() const noexcept { return m_pState != nullptr ? m_pState->fd : -1; }

bool ZTKFileWatch::Dispatch() noexcept {
  if (m_pState == nullptr) return false;
  if (m_pState->fd >= 0) {
    // The first time there may be something to tell without an event.
    if (!XPConsumeChanges(m_pState->fd, {m_pState->own.name.view(), m_pState->end.name.view()}) &&
        !m_pState->isFirst)
      return false;
    m_pState->AddWatches();
  }
  m_pState->isFirst = false;
  XPFileState now;
  if (!XPGetFileState(m_pState->path.c_str(), now) || now == m_pState->known) return false;
  m_pState->known = now;
  return true;
}

void ZTKFileWatch::Accept() noexcept {
  XPFileState now;
  if (m_pState != nullptr && XPGetFileState(m_pState->path.c_str(), now)) m_pState->known = now;
}

void ZTKFileWatch::Accept(const XPFileState& state) noexcept {
  if (m_pState != nullptr) m_pState->known = state;
}
