#pragma once

#include <cstddef>
#include <string_view>

// Paths of configuration groups, as the sources of the configuration share them. Internal to the
// library.

/// Takes the first component off `rest`, and the slashes around it; "" when there is none left.
inline std::string_view ZTKTakeComponent(std::string_view& rest) noexcept {
  size_t start = 0;
  while (start < rest.size() && rest[start] == '/') ++start;
  size_t end = start;
  while (end < rest.size() && rest[end] != '/') ++end;
  const std::string_view component = rest.substr(start, end - start);
  rest.remove_prefix(end);
  return component;
}

/// Whether a component is "." or "..", so that the path has to be read by the full rules.
bool ZTKHasDotComponent(std::string_view path) noexcept;
