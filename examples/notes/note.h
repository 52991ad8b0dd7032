#pragma once

#include <string>

#include "ztk/text/text_file.h"

/// A note as the window edits it. Lines are separated by LF in here, whatever they are in the file.
struct Note {
  std::string path;  ///< Absolute; "" before the first save.
  std::string text;  ///< UTF-8.
  unsigned short encoding = ENC_UTF8;
  ZTKTextFileType lineEnd = EOL_UNIX;  ///< Of most lines, and of all that are saved.
  bool mixedLineEnds = false;

  /// False when the file cannot be read; the note stays as it was.
  bool Load(const std::string& file);
  /// Writes the note to its path, as UTF-8. False when the file stays as it was.
  bool Save();

  std::string GetName() const;
  std::string GetFolder() const;
  const char* GetEncodingName() const;
  const char* GetLineEndName() const;
};
