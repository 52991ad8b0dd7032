#pragma once

// What the log, and the dates above it, ask of a platform layer.

#include <ctime>

/// As `localtime`, in the zone that is set now. False when the runtime cannot tell.
bool XPLocalTime(std::time_t seconds, std::tm& fields) noexcept;
