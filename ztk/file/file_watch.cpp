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
    name = ZTKString(path.view().substr(ZTKFolderIn(path).size()));
  }
};

}  // namespace

struct ZTKFileWatch::State {
  explicit State(const ZTKString& native) noexcept
      : path(ZTKSystemPath(native)), pWatch(XPOpenFolderWatch()) {
    // There are no watches left: one that never tells anything is of no use.
    if (!AddWatches() && pWatch != nullptr) {
      XPCloseFolderWatch(pWatch);
      pWatch = nullptr;
    }
    XPGetFileState(path.c_str(), known);
  }
  ~State() {
    if (pWatch != nullptr) XPCloseFolderWatch(pWatch);
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  bool AddWatches() noexcept;

  const ZTKString path;
  XPFolderWatch* pWatch;  // Null when nothing can be watched.
  WatchedName own;        // What the path names.
  WatchedName end;        // What it leads to.
  XPFileState known;
  bool isFirst = true;
};

// Called again after each change: a link may have come to lead elsewhere. False when the folder is
// there, and cannot be watched.
bool ZTKFileWatch::State::AddWatches() noexcept {
  if (pWatch == nullptr) return true;
  bool missing = false;
  own.Set(path);
  own.watch = XPWatchFolder(pWatch, own.folder.c_str(), missing);
  const bool watched = own.watch >= 0 || missing;

  const int old = end.watch;
  ZTKString real;
  if (XPResolveLinks(path.c_str(), real)) end.Set(real);
  end.watch = end.folder.Len() != 0 ? XPWatchFolder(pWatch, end.folder.c_str(), missing) : -1;
  if (old >= 0 && old != own.watch && old != end.watch) XPUnwatchFolder(pWatch, old);
  return watched;
}

ZTKFileWatch::ZTKFileWatch(const ZTKString& path) noexcept
    : m_pState(new (std::nothrow) State(path)) {}

ZTKFileWatch::~ZTKFileWatch() { delete m_pState; }

int ZTKFileWatch::GetFd() const noexcept {
  const bool watches = m_pState != nullptr && m_pState->pWatch != nullptr;
  return watches ? XPGetWatchFd(m_pState->pWatch) : -1;
}

std::intptr_t ZTKFileWatch::GetWaitHandle() const noexcept {
  const bool watches = m_pState != nullptr && m_pState->pWatch != nullptr;
  return watches ? XPGetWatchHandle(m_pState->pWatch) : -1;
}

bool ZTKFileWatch::Dispatch() noexcept {
  if (m_pState == nullptr) return false;
  if (m_pState->pWatch != nullptr) {
    // The first time there may be something to tell without an event.
    if (!XPConsumeChanges(m_pState->pWatch,
                          {m_pState->own.name.view(), m_pState->end.name.view()}) &&
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
