#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ztk/text/internal/text_line_reader.h"

/// Takes what a reader finds, as "text/type", up to a limit of lines.
struct LineCollector {
  void Prepare(const char*, const char*, const char*) {}
  bool Line(const char* pText, size_t nLength, ZTKTextFileType type) {
    lines.push_back(std::string(pText, nLength) + "/" + std::to_string(type));
    return lines.size() < limit;
  }
  size_t limit = SIZE_MAX;
  std::vector<std::string> lines;
};
