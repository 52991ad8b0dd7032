#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/foundation/string.h"

struct XPFileState;  // Internal to the library.

/// Reports changes of a file on the disk through one object of the system that any loop can watch.
///
/// Watch `GetFd()` for reading, or wait for `GetWaitHandle()` where there are no descriptors, and
/// call `Dispatch()` when it is readable or signalled. The folder is watched and the name picked
/// out, so that a file that is replaced by another stays watched, and so does one that is not there
/// yet; of a symbolic link, what it leads to is watched, too. A file has changed when it is another
/// file, or has another length or time of change, than when this object last looked. One that is
/// missing is no change; being there again may be one.
///
/// Once the folder itself is gone, nothing more is reported. Where the system has no more watches,
/// both are -1 and `Dispatch()` looks at the file whenever it is called. One thread at a time.
class ZTK_API ZTKFileWatch {
 public:
  /// Watches the file at `path`, a native path, as it is now.
  explicit ZTKFileWatch(const ZTKString& path) noexcept;
  ~ZTKFileWatch();
  ZTKFileWatch(const ZTKFileWatch&) = delete;
  ZTKFileWatch& operator=(const ZTKFileWatch&) = delete;

  /// Readable when something has happened in the folder. Owned, constant, closed on exec.
  int GetFd() const noexcept;

  /// The same on every platform: the descriptor, or on Windows an event. -1 without a watch.
  std::intptr_t GetWaitHandle() const noexcept;

  /// Processes pending events. True when the file exists and has changed since the last look; each
  /// change is reported once. Never blocks.
  bool Dispatch() noexcept;

  /// Remembers the file as it is now: after an own write, which is not reported then.
  void Accept() noexcept;
  /// The same with a state that the library has looked at itself.
  void Accept(const XPFileState& state) noexcept;

 private:
  struct ZTK_LOCAL State;

  State* m_pState;  // Null when the allocation failed: nothing is ever reported then.
};
