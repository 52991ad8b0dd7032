#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

/// Keys keep the order in which they were put in.
using Json = nlohmann::ordered_json;

/// As text; bytes that are not UTF-8 become U+FFFD, because JSON has no way to say them.
inline std::string JsonText(const Json& value, int nIndent) {
  return value.dump(nIndent, ' ', false, Json::error_handler_t::replace);
}

/// To standard output, indented.
inline void PrintJson(const Json& value) { std::puts(JsonText(value, 2).c_str()); }
