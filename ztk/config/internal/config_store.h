#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "ztk/config/file_config.h"
#include "ztk/config/internal/config_changes.h"
#include "ztk/config/internal/config_tree.h"
#include "ztk/file/file_watch.h"
#include "ztk/file/internal/file_lock_xp.h"
#include "ztk/file/internal/file_state_xp.h"
#include "ztk/file/internal/file_system_xp.h"

/// The file of a configuration as this object last read or wrote it, and the watch on it. Internal
/// to the library.
struct ZTKLastSeenFile {
  XPFileState known;
  std::unique_ptr<ZTKFileWatch> pWatch;  // Null until it is asked for.

  void Accept(const XPFileState& state) noexcept;
};

/// What a configuration keeps: its tree, the current group, the options, the unsaved changes and
/// what is known of the file. It lives as long as the configuration; a reload replaces the content
/// of the tree. Internal to the library.
class ZTK_LOCAL ZTKFileConfig::Store {
 public:
  Store(ZTKFileConfig& config, unsigned int nOptions) noexcept
      : m_config(config), m_nOptions(nOptions), m_tracks(nOptions != 0) {
    GoToTop();
  }

  // The tree and the current group.

  ZTKConfigTree& Tree() noexcept { return m_tree; }
  /// Makes the group at `path` current and creates what is missing; the top without memory for it.
  void GoTo(std::string_view path) noexcept;
  void GoToTop() noexcept;
  /// `path` is the group's, made of plain names.
  void SetCurrent(ZTKFileConfigGroup& group, std::string_view path) noexcept {
    m_config.m_pCurrent = &group;
    // A change must not be recorded for another group.
    if (m_tracks && !ZTKAssignWhole(m_currentPath, path)) GoToTop();
  }
  // Change an entry or child of the current group, and record the change where it is to be merged.
  bool Put(std::string_view key, std::string_view value) noexcept;
  bool Delete(std::string_view key) noexcept;
  bool DeleteGroup(std::string_view name) noexcept;

  // The options.

  unsigned int Options() const noexcept { return m_nOptions; }
  bool Has(unsigned int option) const noexcept { return (m_nOptions & option) != 0; }
  bool IsReadWhole() const noexcept { return m_isReadWhole; }
  unsigned long MaxSize() const noexcept { return m_nMaxSize; }
  void SetMaxSize(unsigned long nBytes) noexcept;

  // The file.

  /// What kind of file there is; `kUnknown` also when memory runs out.
  XPFileKind FileKind() const noexcept;
  /// Makes the folder of the user's preferences where the file lies in it and it is missing.
  void MakePreferencesFolder() const noexcept;
  /// Starts again with an empty tree.
  void Clear() noexcept;
  /// Reads the file, or creates it when it is missing. With options.
  void Load();
  bool Reload();
  /// Replaces the file by what is to be saved. With options.
  bool Save();
  /// Makes the lines of `text` those of `tree`; false when memory runs out or they are too long.
  bool MakeLines(ZTKTextBuffer& text, ZTKConfigTree& tree) const;

  /// Watches the file from the first call on; null without memory.
  const ZTKFileWatch* Watch();
  bool Dispatch() { return m_seen.pWatch != nullptr && m_seen.pWatch->Dispatch(); }
  /// Takes the file as it is now for the one that this object has written.
  void AcceptFile() noexcept;

 private:
  friend struct ZTKConfigLayout;

  // What there is on the disk.
  enum Content { kNothing, kText, kUnreadable };
  // What has become of the new version of the file.
  enum Saved { kNotSaved, kSaved, kNotSynced };

  bool Track() noexcept;
  XPFileState FileState() const noexcept;
  bool PutCurrentIn(ZTKConfigTree& tree) const noexcept;
  void Replace(ZTKConfigTree& tree) noexcept;
  unsigned int TextOptions() const noexcept;
  Content Read(ZTKTextFile& file, bool& isWhole) const;
  bool MayReplace(Content content, bool isWhole) const;
  bool Lock(std::optional<ZTKFileLock>& lock) const;
  Saved Commit(ZTKTextFile& file);
  bool Refuse(const char* pszReason) const;

  ZTKConfigTree m_tree;  // First: the address of the store is that of the root group.
  ZTKFileConfig& m_config;
  const unsigned int m_nOptions;  // ZTKFileConfigOption
  bool m_hasText = false;         // Whether there were settings on the disk when it was last seen.
  bool m_isRead = true;           // Whether the last reading came to the end of the file.
  bool m_isReadWhole = true;      // Whether it found all there is, too.
  bool m_tracks;                  // Whether m_currentPath and m_seen are kept up to date.
  ZTKString m_currentPath;        // The path of the current group, of plain names.
  ZTKConfigChanges m_changes;     // Since the file was last read or written.
  ZTKLastSeenFile m_seen;
  unsigned long m_nMaxSize = kMaxSize;
};
