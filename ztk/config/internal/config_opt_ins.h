#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "ztk/config/internal/config_changes.h"
#include "ztk/file/file_watch.h"
#include "ztk/file/internal/file_state_xp.h"
#include "ztk/file/internal/file_system_xp.h"
#include "ztk/file/internal/file_xp.h"

class ZTKTextBuffer;

/// What a configuration remembers for its options. Internal to the library.
struct ZTKConfigOptIns {
  unsigned int nOptions = 0;  // ZTKFileConfigOption
  bool hasText = false;       // Whether there were settings on the disk when it was last seen.
  bool isRead = true;         // Whether the last reading came to the end of the file.
  bool isReadWhole = true;    // Whether it found all there is, too.
  ZTKString currentGroup;     // The path of the current group, of plain names.
  ZTKConfigChanges changes;   // Since the file was last read or written.
  XPFileState known;          // The file as it was then.
  std::unique_ptr<ZTKFileWatch> pWatch;  // Null until it is asked for.

  bool Has(unsigned int option) const noexcept { return (nOptions & option) != 0; }
  /// Takes a state of the file for the one that this object has read or written.
  void Know(const XPFileState& state) noexcept;
  /// What is at a native path now.
  static XPFileState StateOf(const ZTKString& path) noexcept;
  /// What kind of file that is; `kUnknown` also when memory runs out.
  static XPFileKind KindOf(const ZTKString& path) noexcept;
};

/// Changes the lines of a configuration file so that they say what `tree` holds, and leaves alone
/// whatever says so already, comments, blank lines and lines that mean nothing included. False when
/// memory runs out; the lines are of no use then.
///
/// `nMaxSize` is the most bytes that the lines may have; otherwise the result is false, `nSize`
/// their number, and they are as they were. `pGroups` has the group of each line that is a header,
/// and null at every other line and where the group is not in the tree any more.
bool ZTKRewriteConfigLines(ZTKTextBuffer& text, ZTKConfigTree& tree,
                           ZTKFileConfigGroup* const* pGroups, uint64_t nMaxSize,
                           uint64_t& nSize) noexcept;
