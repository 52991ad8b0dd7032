#include "ztk/foundation/internal/memory_xp.h"

// The system has a call that brings pages in from a file, none that makes new ones ahead of use.
void XPPrepareMemory(void*, size_t) noexcept {}
