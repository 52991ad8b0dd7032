#pragma once

#include <string>

#include "tools/ztk/input.h"
#include "tools/ztk/text_scan.h"
#include "ztk/foundation/text_file_type.h"

/// How a text is to be written.
struct ConvertOptions {
  enum class Mark { kKeep, kYes, kNo };

  ZTKTextFileType lineEnd = EOL_NONE;  ///< For every line that has one; EOL_NONE keeps each.
  Mark mark = Mark::kKeep;
  bool replaceIllFormed = false;
};

/// The report on all that is left of an input.
TextReport ScanText(Input& input);

/// Writes the text of `source` as UTF-8 to `target`, as WriteText does; "-" is standard input or
/// output. What is no regular file is read to its end first. Throws a Failure, with the target as
/// it was, when characters would be lost.
void ConvertText(const std::string& source, const std::string& target,
                 const ConvertOptions& options);
