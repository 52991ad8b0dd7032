#include "ztk/file/file_watch.h"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <new>
#include <string_view>

#include "ztk/file/file_system.h"
#include "ztk/file/internal/file_state_xp.h"
#include "ztk/file/internal/file_xp.h"

namespace {

// What tells of a change to a name in a folder, and of the end of the folder.
constexpr uint32_t kEvents = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE |
                             IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;

/// A name in a folder.
struct Place {
  ZTKString folder;
  ZTKString name;
  int watch = -1;

  void Set(std::string_view path) noexcept {
    const size_t slash = path.rfind('/');
    const bool hasFolder = slash != std::string_view::npos;
    folder = hasFolder ? ZTKString(path.substr(0, slash == 0 ? 1 : slash)) : ZTKString(".");
    name = ZTKString(hasFolder ? path.substr(slash + 1) : path);
  }
};

int64_t Nanoseconds(const timespec& time) noexcept {
  return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

XPFileState StateOf(const struct stat& status) noexcept {
  XPFileState state;
  state.isThere = true;
  state.device = status.st_dev;
  state.file = status.st_ino;
  state.size = status.st_size;
  state.changed = Nanoseconds(status.st_mtim);
  return state;
}

}  // namespace

bool XPGetFileState(const char* pszPath, XPFileState& state) noexcept {
  struct stat status;
  const bool isThere = stat(pszPath, &status) == 0;
  state = isThere ? StateOf(status) : XPFileState();
  return isThere;
}

bool XPGetStreamState(std::FILE* pStream, XPFileState& state) noexcept {
  struct stat status;
  const bool isThere = fstat(fileno(pStream), &status) == 0;
  state = isThere ? StateOf(status) : XPFileState();
  return isThere;
}

struct ZTKFileWatch::State {
  explicit State(const ZTKString& native) noexcept
      : path(XPMacPathToCompName(native.c_str())), fd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    AddWatches();
    // There are no watches left: a descriptor that never tells anything is of no use.
    if (fd >= 0 && places[0].watch < 0 && errno != ENOENT && errno != ENOTDIR) {
      close(fd);
      fd = -1;
    }
    XPGetFileState(path.c_str(), known);
  }
  ~State() {
    if (fd >= 0) close(fd);
  }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  void AddWatches() noexcept;
  bool TakeEvents() noexcept;

  const ZTKString path;
  int fd;
  Place places[2];  // Where the path is, and where it leads to.
  XPFileState known;
  bool isFirst = true;
};

// Also again and again: for a folder that is watched already this changes nothing, and a link may
// have come to lead elsewhere.
void ZTKFileWatch::State::AddWatches() noexcept {
  if (fd < 0) return;
  places[0].Set(path.view());
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                         &std::free);
  const int old = places[1].watch;
  places[1].watch = -1;
  if (real != nullptr) places[1].Set(real.get());
  for (Place& place : places) {
    if (place.folder.Len() == 0) continue;
    place.watch = inotify_add_watch(fd, place.folder.c_str(), kEvents | IN_ONLYDIR);
  }
  if (old >= 0 && old != places[0].watch && old != places[1].watch) inotify_rm_watch(fd, old);
}

// Whether one of the events may be about the file.
bool ZTKFileWatch::State::TakeEvents() noexcept {
  bool concerns = false;
  alignas(inotify_event) char buffer[2048];
  for (;;) {
    const ssize_t count = read(fd, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return concerns;
    for (const char* p = buffer; p < buffer + count;) {
      const auto* event = reinterpret_cast<const inotify_event*>(p);
      p += sizeof(inotify_event) + event->len;
      // No name: the folder itself, or events were lost.
      if (event->len == 0) concerns = true;
      for (const Place& place : places) {
        if (event->len != 0 && place.name.view() == event->name) concerns = true;
      }
    }
  }
}

ZTKFileWatch::ZTKFileWatch(const ZTKString& path) noexcept
    : m_pState(new (std::nothrow) State(path)) {}

ZTKFileWatch::~ZTKFileWatch() { delete m_pState; }

int ZTKFileWatch::GetFd() const noexcept { return m_pState != nullptr ? m_pState->fd : -1; }

bool ZTKFileWatch::Dispatch() noexcept {
  if (m_pState == nullptr) return false;
  if (m_pState->fd >= 0) {
    // The first time there may be something to tell without an event.
    if (!m_pState->TakeEvents() && !m_pState->isFirst) return false;
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
