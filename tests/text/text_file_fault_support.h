#pragma once

#include <string>

#include "tests/support/faulty_calls.h"
#include "tests/text/text_file_support.h"

inline constexpr unsigned int kOptions[] = {
    0,
    TEXT_ONE_STEP,
    TEXT_FOLLOW_LINKS,
    TEXT_KEEP_IDENTITY,
    TEXT_KEEP_ENCODING,
    TEXT_ONE_STEP | TEXT_FOLLOW_LINKS | TEXT_KEEP_IDENTITY | TEXT_KEEP_ENCODING,
};

// More than one block, and more than a stream buffers.
inline const std::string kOld = std::string(200000, 'a') + "\n";

inline std::string New(unsigned int options) {
  return ((options & TEXT_KEEP_ENCODING) != 0 ? "" : "\xEF\xBB\xBF") + kOld + "b\n";
}
