#pragma once

/// What the semaphore, the condition and the message event report.
enum ZTKSyncResult : int {
  ZTK_SYNC_NO_ERROR = 0,
  ZTK_SYNC_BUSY = 2,       ///< It would have to wait.
  ZTK_SYNC_TIMEOUT = 3,    ///< The time was up.
  ZTK_SYNC_MISC_ERROR = 5  ///< Anything else.
};

/// The time-out, in milliseconds, that never comes.
inline constexpr unsigned long ZTK_WAIT_FOREVER = 0xFFFFFFFFul;
