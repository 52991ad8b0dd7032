#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ztk/export.h"
#include "ztk/foundation/arrays.h"
#include "ztk/foundation/string.h"

class ZTKTextBuffer;
class ZTKTextFile;
struct ZTKConfigTree;

/// Settings as a tree of named groups that hold string entries; the abstract interface.
///
/// `SetPath` chooses the current group with a path such as "/Window/Colours"; all else works on
/// that group, and takes plain names, compared byte by byte, "/" included. One thread at a time.
class ZTK_API ZTKConfigBase {
 public:
  /// Both arguments are for subclasses.
  ZTKConfigBase(const ZTKString& root, const ZTKString& name);
  ZTKConfigBase(const ZTKConfigBase&) = delete;
  ZTKConfigBase& operator=(const ZTKConfigBase&) = delete;

  virtual ~ZTKConfigBase();

  /// Makes the group at `path` current, and creates it where it is missing.
  virtual bool SetPath(const ZTKString& path) = 0;
  /// The name of a child group of the current group, in name order; false past the last.
  virtual bool GetGroup(ZTKString& name, unsigned long nIndex) = 0;
  /// The key of an entry of the current group, in key order; false past the last.
  virtual bool GetEntry(ZTKString& name, unsigned long nIndex) = 0;
  /// False when there was none.
  virtual bool DeleteEntry(const ZTKString& key) = 0;
  /// Deletes a child group with everything below it; false when there was none.
  virtual bool DeleteGroup(const ZTKString& name) = 0;
  /// False, with `value` unchanged, when the current group has no such entry.
  virtual bool Read(const ZTKString& key, ZTKString& value) = 0;
  /// As a decimal number; text that is none reads as 0.
  virtual bool Read(const ZTKString& key, unsigned long& nValue) = 0;
  virtual bool Write(const ZTKString& key, const ZTKString& value) = 0;
  virtual bool Write(const ZTKString& key, unsigned long nValue) = 0;
  /// 1 when the current group has such an entry, else 0.
  virtual unsigned int GetEntryType(const ZTKString& key) = 0;
  /// Saves what has changed. Here: nothing, true.
  virtual bool Flush();

  /// The path of the current group as `SetPath` put it together, with a "/" at its end.
  const ZTKString& GetPath() const noexcept { return m_currentPath; }

 protected:
  ZTKString m_rootPath;     // In front of every absolute path; "" or "/name".
  ZTKString m_currentPath;  // Ends in "/" after the first SetPath.

 private:
  friend struct ZTKConfigLayout;
};

/// One setting. It belongs to a group.
struct ZTKFileConfigEntry {
  ZTKString m_key;
  ZTKString m_value;
};

/// A named group; owns its entries and groups, in ascending byte order, each once. O(log n)
/// look-ups.
class ZTK_API ZTKFileConfigGroup {
 public:
  explicit ZTKFileConfigGroup(const ZTKString& name);
  /// Deletes everything below it, without recursion: groups may be nested as deep as a file says.
  ~ZTKFileConfigGroup();
  ZTKFileConfigGroup(const ZTKFileConfigGroup&) = delete;
  ZTKFileConfigGroup& operator=(const ZTKFileConfigGroup&) = delete;

  unsigned long GetEntryCount() const noexcept { return m_entries.GetCount(); }
  unsigned long GetGroupCount() const noexcept { return m_groups.GetCount(); }
  /// Null past the end.
  ZTKFileConfigEntry* GetEntry(unsigned long nIndex) const noexcept;
  ZTKFileConfigGroup* GetGroup(unsigned long nIndex) const noexcept;
  /// Null when there is none.
  ZTKFileConfigEntry* FindEntry(std::string_view key) const noexcept;
  ZTKFileConfigGroup* FindGroup(std::string_view name) const noexcept;

  /// Sets or adds an entry. Null when memory runs out.
  ZTKFileConfigEntry* PutEntry(std::string_view key, std::string_view value) noexcept;
  /// Finds or adds a child group. Null when memory runs out.
  ZTKFileConfigGroup* PutGroup(std::string_view name) noexcept;
  /// False when there was none.
  bool DeleteEntry(std::string_view key) noexcept;
  bool DeleteGroup(std::string_view name) noexcept;

  /// For loading: adds an entry, or sets the last one's value if the key is the same. Clears
  /// `isSorted` when the order is lost: call nothing but `SortEntries` next.
  bool AppendEntry(std::string_view key, std::string_view value, bool& isSorted) noexcept;
  /// Orders appended entries; of those with the same key, the last one's value stays.
  void SortEntries() noexcept;

  const ZTKString& GetName() const noexcept { return m_name; }

 private:
  friend struct ZTKConfigLayout;
  friend struct ZTKConfigTree;

  void DeleteEntries() noexcept;

  ZTKString m_name;
  ZTKArrayEntries m_entries;
  ZTKArrayGroups m_groups;
};

/// Opt-ins, added up with `|`. With any of them a file that cannot be read, could not be when last
/// read, or cannot be told to be missing, is not replaced before `Reload` works; UTF-16BE is read
/// in its byte order; a file is replaced only by one written in full, and unsaved changes remain to
/// be saved. The log has the reason of a refusal.
enum ZTKFileConfigOption : unsigned int {
  /// Saving changes what has changed and keeps the rest: comments, blank lines, meaningless lines,
  /// the order, entries in front of the first header, line ends, and the encoding while it holds
  /// every character. A key with "=", "[", ";", "#" or blanks where they mean something, a group
  /// with "]" in its name, and line breaks in either are not written. The file is replaced in one
  /// step.
  CONF_KEEP_TEXT = 1,
  /// Saving reads the file again and makes this object's changes in what it holds by then, so that
  /// programs keep each other's. It locks the file ".lock" beside it, which whoever may open the
  /// file may open; `Flush` is false without that lock, unless the file system has none. Groups
  /// only visited are not written. The file is replaced in one step.
  CONF_MERGE = 2,
  /// The new file takes the place of the old one in one step; file and folder are synced. When only
  /// the folder's sync fails, the new file is in place, but `Flush` is false and saves again.
  CONF_ONE_STEP = 4,
  /// Nor is a damaged file replaced (NULs, ill-formed UTF-16): `Flush` is false before `Reload`.
  CONF_REFUSE_UNREAD = 8,
  /// A symbolic link in the file's place stays, and what it leads to is replaced.
  CONF_FOLLOW_LINKS = 16,
  CONF_ALL = 31,  ///< All of the above.
  /// `name` is the native path of the file, its extension included, instead of a name among the
  /// preferences. A relative one is that of the working directory at each access.
  CONF_EXACT_PATH = 32,
};

/// A configuration kept in a text file of the user's preferences folder.
///
/// The file is "<name>.conf", or any (`CONF_EXACT_PATH`). The constructor reads it whole, or
/// creates it empty; `Flush` and the destructor rewrite it whole when something has changed: the
/// last writer wins. A file that cannot be read leaves an empty tree, and a later `Flush` that can
/// open it replaces it. A pipe or a device is never waited for, read or replaced.
///
///     [Window]               the group Window
///     Width=640              an entry: key and value, trimmed at both ends
///     [Window/Colours]       the group Colours inside Window
///     ; a comment, like #    ignored, and not written again; the same goes for blank lines
///
/// There is no quoting: line breaks, blanks at an end, and in a key "=", or "[", ";" or "#" in
/// front, do not come back as written. What stands before the first header belongs to the root
/// group, which is never written: set a path before writing.
///
/// All paths lie under the `root` argument, the first group of every header. "/" and ".." in `name`
/// lead to other folders: neither is checked.
///
/// When memory runs out while a file is read, entries and groups are missing, also from what is
/// then saved without options. Any other operation without memory is false, with its output or the
/// old value as it was; `Flush` never writes less than there is.
class ZTK_API ZTKFileConfig : public ZTKConfigBase {
 public:
  /// How long `Flush` waits for another program's saving with `CONF_MERGE`.
  static constexpr unsigned long kLockTimeoutMs = 2000;
  /// What one text can hold: 1 GiB.
  static constexpr unsigned long kMaxSize = ZTKString::kMaxLength;

  ZTKFileConfig(const ZTKString& root, const ZTKString& name);
  /// `nOptions`: ZTKFileConfigOption.
  ZTKFileConfig(const ZTKString& root, const ZTKString& name, unsigned int nOptions);
  /// Saves what has changed; call `Flush` to learn whether that works.
  ~ZTKFileConfig() override;

  /// Goes to another group; always true, and no reason to save. "/" at the start goes to the root
  /// argument's group, ".." one group up, "" means "/". From "/App/x/":
  ///
  ///     y, ./y, .y   /App/x/y/        ..      /App/
  ///     /z           /App/z/          ../z    /App/z/
  ///
  /// Dots are understood at the start: "y/../z" stays the text of the current path, and its ".."
  /// removes the first component with the name of the last one. Above the root argument's group no
  /// entry is saved.
  bool SetPath(const ZTKString& path) override;
  bool GetGroup(ZTKString& name, unsigned long nIndex) override;
  bool GetEntry(ZTKString& name, unsigned long nIndex) override;
  /// Marks the configuration changed, found or not. So does `DeleteGroup`.
  bool DeleteEntry(const ZTKString& key) override;
  bool DeleteGroup(const ZTKString& name) override;
  bool Read(const ZTKString& key, ZTKString& value) override;
  bool Read(const ZTKString& key, unsigned long& nValue) override;
  /// Marks the configuration changed, even for the old value. False when memory runs out.
  bool Write(const ZTKString& key, const ZTKString& value) override;
  bool Write(const ZTKString& key, unsigned long nValue) override;
  unsigned int GetEntryType(const ZTKString& key) override;
  /// Rewrites a changed file: groups and entries in name order, lines ending as
  /// `ZTKTextBuffer::typeDefault` says. The file is read first; when that fails, or it would become
  /// larger than `GetMaxSize`, the result is false, the file as it was and the change still to be
  /// saved. A failed write is not tried again.
  bool Flush() override;

  /// Reads the file again. Unsaved changes are made again with `CONF_MERGE`, else dropped. The
  /// current group stays, and is created if need be. False, with nothing changed, when the file is
  /// missing, empty or unreadable.
  bool Reload();

  /// An owned descriptor that watches the file: `Dispatch` when it is readable. -1 without a watch.
  int GetFd();
  /// The same on every platform: the descriptor, or on Windows an event.
  std::intptr_t GetWaitHandle();
  /// True when others have changed the file since it was last read or written here, once for each
  /// change: `Reload` it. Call it once after the first `GetFd`. Never waits.
  bool Dispatch();

  /// The most bytes that `Flush` writes, `kMaxSize` at first and at most. Set less for files that
  /// strangers write: as headers repeat the names of all groups around, one of kilobytes can make
  /// gigabytes. Beyond it `Flush` is false and logs that before it takes the memory; the file
  /// stays, and the changes are still to be saved.
  void SetMaxSize(unsigned long nBytes) noexcept;
  unsigned long GetMaxSize() const noexcept;

  unsigned int GetOptions() const noexcept;
  /// Whether the last reading found all or no file (`CONF_REFUSE_UNREAD`). True without options.
  bool IsReadWhole() const noexcept;
  const ZTKString& GetFilePath() const noexcept { return m_filePath; }
  bool IsDirty() const noexcept { return m_bDirty != 0; }

 protected:
  /// Starts again with an empty tree and what the file holds.
  void Init();
  /// Reads the configuration file, or creates an empty one when there is none.
  bool OpenConfFile(ZTKTextFile& file);
  /// Adds what the lines say to the tree. The root group is current afterwards.
  void Parse(ZTKTextBuffer& text);
  /// Makes the group at `path`, from the top of the tree, or without memory the root group,
  /// current; creates what is missing.
  void AddGroup(const ZTKString& path);
  /// Splits a path at each "/", without empty components. ".." removes the first component with the
  /// name of the last one; where there is none, that is logged. "./x" is ".x".
  void SplitPath(ZTKStringArray& out, const char* pszPath);

 private:
  friend struct ZTKConfigLayout;

  class ZTK_LOCAL Store;

  std::string_view PutCurrentPath(size_t nKept, std::string_view start, std::string_view rest);
  bool FlushByDefault();

  Store* m_pStore = nullptr;  // Owned; the root group comes first in it. Null only without memory.
  ZTKFileConfigGroup* m_pCurrent = nullptr;  // In the tree of the store, which keeps it.
  int32_t m_bDirty = 0;
  ZTKString m_filePath;
};
