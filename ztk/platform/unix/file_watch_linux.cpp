#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>

#include "ztk/file/internal/file_watch_xp.h"
#include "ztk/platform/unix/descriptor.h"

namespace {

// What tells of a change to a name in a folder, and of the end of the folder.
constexpr uint32_t kEvents = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE |
                             IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

struct XPFolderWatch {
  Descriptor inotify;
};

XPFolderWatch* XPOpenFolderWatch() noexcept {
  auto* const pWatch =
      new (std::nothrow) XPFolderWatch{Descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))};
  if (pWatch == nullptr || pWatch->inotify.Get() >= 0) return pWatch;
  delete pWatch;
  return nullptr;
}

void XPCloseFolderWatch(XPFolderWatch* pWatch) noexcept { delete pWatch; }

std::intptr_t XPGetWatchHandle(const XPFolderWatch* pWatch) noexcept {
  return pWatch->inotify.Get();
}

int XPGetWatchFd(const XPFolderWatch* pWatch) noexcept { return pWatch->inotify.Get(); }

int XPWatchFolder(XPFolderWatch* pWatch, const char* pszFolder, bool& bMissing) noexcept {
  const int watch = inotify_add_watch(pWatch->inotify.Get(), pszFolder, kEvents | IN_ONLYDIR);
  bMissing = watch < 0 && (errno == ENOENT || errno == ENOTDIR);
  return watch;
}

void XPUnwatchFolder(XPFolderWatch* pWatch, int nFolder) noexcept {
  inotify_rm_watch(pWatch->inotify.Get(), nFolder);
}

bool XPConsumeChanges(XPFolderWatch* pWatch,
                      std::initializer_list<std::string_view> names) noexcept {
  bool concerns = false;
  alignas(inotify_event) char buffer[2048];
  for (;;) {
    const ssize_t count =
        Uninterrupted([&] { return read(pWatch->inotify.Get(), buffer, sizeof buffer); });
    if (count <= 0) return concerns;
    for (const char* p = buffer; p < buffer + count;) {
      const auto* event = reinterpret_cast<const inotify_event*>(p);
      p += sizeof(inotify_event) + event->len;
      // No name: the folder itself, or events were lost.
      const bool hasName = event->len != 0;
      if (!hasName || std::find(names.begin(), names.end(), event->name) != names.end()) {
        concerns = true;
      }
    }
  }
}
