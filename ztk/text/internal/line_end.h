#pragma once

#include <string_view>

#include "ztk/foundation/text_file_type.h"

/// The characters of a line end; none for a value that is no type. Not installed.
constexpr std::string_view ZTKLineEndText(ZTKTextFileType type) noexcept {
  switch (type) {
    case EOL_UNIX:
      return "\n";
    case EOL_DOS:
      return "\r\n";
    case EOL_MAC:
      return "\r";
    case EOL_NONE:
      break;
  }
  return "";
}
