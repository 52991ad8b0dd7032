#pragma once

#include <cctype>
#include <cstddef>
#include <string_view>

#include "ztk/foundation/arrays.h"

class ZTKTextBuffer;
struct ZTKConfigTree;

// From the lines of a configuration file to a tree. Internal to the library.

/// Adds what the lines say to `tree`. False when memory runs out: something is missing then.
/// `bWarns` is whether the log is told of headers with too many "..".
bool ZTKParseConfig(const ZTKTextBuffer& text, ZTKConfigTree& tree, bool bWarns) noexcept;

/// The plain names that the header of a group comes to, as ZTKResolveGroup has them.
std::string_view ZTKResolveHeader(std::string_view group, ZTKStringArray& resolved,
                                  bool bWarns) noexcept;

/// What ZTKString::TrimA removes.
inline bool ZTKIsTrimmed(char ch) noexcept {
  return ch != '\x7F' && ch != '\xFF' && std::isspace(static_cast<unsigned char>(ch)) != 0;
}

inline std::string_view ZTKTrim(std::string_view text) noexcept {
  while (!text.empty() && ZTKIsTrimmed(text.back())) text.remove_suffix(1);
  while (!text.empty() && ZTKIsTrimmed(text.front())) text.remove_prefix(1);
  return text;
}

inline std::string_view ZTKSkipBlanks(std::string_view line) noexcept {
  const size_t start = line.find_first_not_of(" \t");
  return start == std::string_view::npos ? std::string_view() : line.substr(start);
}

/// Whether `line` is a header; then `group` is its path.
inline bool ZTKParseHeader(std::string_view line, std::string_view& group) noexcept {
  line = ZTKSkipBlanks(line);
  if (line.empty() || line.front() != '[') return false;
  const size_t end = line.find(']');
  if (end == std::string_view::npos) return false;
  group = line.substr(1, end - 1);
  return true;
}

/// Whether `line` is an entry; then `key` and `value` are its parts, trimmed.
inline bool ZTKParseEntry(std::string_view line, std::string_view& key,
                          std::string_view& value) noexcept {
  line = ZTKSkipBlanks(line);
  if (line.empty() || line.front() == ';' || line.front() == '#' || line.front() == '[') {
    return false;
  }
  const size_t equals = line.find('=');
  if (equals == std::string_view::npos) return false;
  key = ZTKTrim(line.substr(0, equals));
  value = ZTKTrim(line.substr(equals + 1));
  return true;
}
