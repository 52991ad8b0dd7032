#pragma once

#include "ztk/export.h"

/// The time since the system was started, in sixtieths of a second, the time it slept included.
/// Where `unsigned long` has 32 bits it starts again from 0 after 828 days.
ZTK_API unsigned long ZTKGetTickCount() noexcept;
