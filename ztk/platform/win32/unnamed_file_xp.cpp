#include "ztk/file/internal/unnamed_file_xp.h"

// A file cannot be given a name later: there are none without.

XPStream* XPCreateUnnamed(const char*, int, int&) noexcept { return nullptr; }

bool XPNameUnnamed(int, const char*, bool& bTaken) noexcept {
  bTaken = false;
  return false;
}

bool XPSyncUnnamed(int) noexcept { return false; }

bool XPCopyUnnamed(int, XPStream*) noexcept { return false; }

bool XPCloseUnnamed(int&) noexcept { return false; }
