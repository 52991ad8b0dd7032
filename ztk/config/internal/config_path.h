#pragma once

#include <cstddef>
#include <string_view>

#include "ztk/foundation/arrays.h"

// Paths of configuration groups, as the sources of the configuration share them. Internal to the
// library.

/// Takes the first component off `rest`, and the slashes around it; "" when there is none left.
inline std::string_view ZTKPopComponent(std::string_view& rest) noexcept {
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

/// Splits a path as ZTKFileConfig::SplitPath says. `out` is empty, and the failure noted for
/// ZTKAllocationWatch, when memory runs out.
void ZTKSplitGroupPath(ZTKStringArray& out, std::string_view path, bool bWarns) noexcept;

/// The plain names that a path comes to, each with a "/" in front. The text is added to `resolved`;
/// when memory runs out it is "", and the failure noted.
std::string_view ZTKResolveGroup(std::string_view path, ZTKStringArray& resolved,
                                 bool bWarns) noexcept;
