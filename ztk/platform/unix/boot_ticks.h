#pragma once

/// Sixtieths of a second since the system was started, the time it slept included.
unsigned long XPBootTicks() noexcept;
