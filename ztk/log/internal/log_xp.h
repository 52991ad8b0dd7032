#pragma once

// What the log asks of a platform layer.

#include <ctime>

/// The time of the clock on the wall, by the time zone that is set now.
bool XPLocalTime(std::time_t now, std::tm& result) noexcept;
