#pragma once

#include <string_view>

// Paths of configuration groups, as the sources of the configuration share them. Internal to the
// library.

/// Takes the first component off `rest`, and the slashes around it; "" when there is none left.
std::string_view ZTKTakeComponent(std::string_view& rest) noexcept;

/// Whether a component is "." or "..", so that the path has to be read by the full rules.
bool ZTKHasDotComponent(std::string_view path) noexcept;
