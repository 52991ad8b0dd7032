#pragma once

#include <memory>
#include <string>

#include "ztk/text/text_file.h"

/// A note as the window edits it. Lines are separated by LF in here, whatever they are in the file;
/// only where the file mixes line ends, they are kept as they are.
///
/// Saving loses nothing that the window cannot show: the file keeps its encoding, its mark, its
/// links and its permissions, or it is not saved at all. Operations that can fail return "" when
/// they have worked, else the reason, a sentence for the user.
struct Note {
  std::string path;  ///< Absolute; "" before the first save.
  std::string text;  ///< UTF-8.
  ZTKTextFileType lineEnd = EOL_UNIX;
  bool mixedLineEnds = false;
  /// Why Save() would refuse: something of the file is not in `text`. "" when nothing is missing.
  std::string unsavable;

  /// The note stays as it was when the file cannot be read.
  std::string Load(const std::string& file);
  /// Writes the note to its path as the file was: the same encoding, with a mark or without. A file
  /// that another program has changed since is not replaced.
  std::string Save();
  /// Writes the note to another file, which becomes its file: UTF-8 without a mark, or with one
  /// where the system's own encoding is another. The file that the note came from stays as it is.
  std::string SaveAs(const std::string& file);

  std::string GetName() const;
  std::string GetFolder() const;
  const char* GetEncodingName() const;
  const char* GetLineEndName() const;

 private:
  void TakeLines();
  void PutLines(ZTKTextFile& target) const;
  std::string WhatWouldBeLost(const ZTKTextReport& report) const;
  std::string WhyNotWritten(int nError) const;

  // The file as it was read, which knows how to write it again; null for a new note, and for an
  // empty file, which tells nothing of that.
  std::shared_ptr<ZTKTextFile> m_file;
  std::string m_onDisk;    // What the file holds, as far as is known here.
  bool m_bLegacy = false;  // Without a mark, and not in UTF-8.
};
