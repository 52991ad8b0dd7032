#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "ztk/file/internal/file_watch_xp.h"
#include "ztk/platform/unix/descriptor.h"

namespace {

// What tells of a change to a name in a folder, and of the end of the folder.
constexpr uint32_t kEvents = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_CREATE | IN_DELETE |
                             IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF;

}  // namespace

int XPOpenFolderWatch() noexcept { return inotify_init1(IN_NONBLOCK | IN_CLOEXEC); }

void XPCloseFolderWatch(int nFd) noexcept { close(nFd); }

int XPWatchFolder(int nFd, const char* pszFolder, bool& bMissing) noexcept {
  const int watch = inotify_add_watch(nFd, pszFolder, kEvents | IN_ONLYDIR);
  bMissing = watch < 0 && (errno == ENOENT || errno == ENOTDIR);
  return watch;
}

void XPUnwatchFolder(int nFd, int nFolder) noexcept { inotify_rm_watch(nFd, nFolder); }

bool XPConsumeChanges(int nFd, std::initializer_list<std::string_view> names) noexcept {
  bool concerns = false;
  alignas(inotify_event) char buffer[2048];
  for (;;) {
    const ssize_t count = Uninterrupted([&] { return read(nFd, buffer, sizeof buffer); });
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
