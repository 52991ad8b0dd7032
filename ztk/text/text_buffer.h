#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/foundation/arrays.h"
#include "ztk/foundation/string.h"
#include "ztk/foundation/text_file_type.h"

/// How a storage hook is asked to open the storage.
enum ZTKTextBufferOpenMode : int {
  OPEN_READ = 0,    ///< Existing storage, for reading.
  OPEN_CREATE = 1,  ///< Created, or emptied when it exists.
};

/// A text document: an ordered list of lines, each with the line-end type it had or is to get,
/// bound to a named storage by five hooks.
///
/// Lines are held without their line ends. The buffer touches no storage itself: `Exists`,
/// `Create`, `Open` and `Write` drive the hooks of a subclass and report their results. The
/// destructor calls no hook. Positions past the end are harmless. When an allocation fails a line
/// is added whole, with its type, or not at all. One thread at a time.
class ZTK_API ZTKTextBuffer {
 public:
  using const_iterator = ZTKStringArray::const_iterator;

  /// The line-end type of lines that the library makes itself, as in a configuration file.
  static ZTKTextFileType typeDefault;

  ZTKTextBuffer();
  explicit ZTKTextBuffer(const ZTKString& name);
  ZTKTextBuffer(const ZTKTextBuffer&) = delete;
  ZTKTextBuffer& operator=(const ZTKTextBuffer&) = delete;

  virtual ~ZTKTextBuffer();
  virtual bool OnExists() const = 0;
  virtual bool OnOpen(const ZTKString& name, ZTKTextBufferOpenMode mode) = 0;
  virtual bool OnClose() = 0;
  /// Reads the whole opened storage and adds its lines.
  virtual bool OnRead() = 0;
  /// Writes all lines to the named storage; `type` as for `Write`.
  virtual bool OnWrite(ZTKTextFileType type) = 0;

  bool Exists() const;
  /// Creates the storage, empty. False when it exists already. The lines held are not touched.
  bool Create();
  bool Create(const ZTKString& name);
  /// Appends what the storage holds to the lines there are: to reload, `Clear` first. After a
  /// failed read the lines read so far stay.
  bool Open();
  bool Open(const ZTKString& name);
  /// Writes the storage: each line with its own line end (`EOL_NONE`), or every line, the last one
  /// included, with that of `type`.
  bool Write(ZTKTextFileType type);
  /// Forgets the lines and the result of the last `Open`; true. No hook is called.
  bool Close();
  void Clear();

  void AddLine(const ZTKString& line, ZTKTextFileType type);
  /// Puts a line in front of line `nIndex`; an index past the end appends.
  void InsertLine(const ZTKString& line, unsigned long nIndex, ZTKTextFileType type);
  void RemoveLine(unsigned long nIndex);
  /// The line; past the end one shared empty string, good to the very end of the program.
  const ZTKString& GetLine(unsigned long nIndex) const;

  /// The characters of a line end: "", LF, CR LF or CR; "" for any other value.
  static ZTKString GetEOL(ZTKTextFileType type);
  /// `text` up to its first NUL, with every CR LF, CR and LF replaced by the line end of `type`;
  /// an unchanged copy for `EOL_NONE`.
  static ZTKString Translate(const ZTKString& text, ZTKTextFileType type);

  unsigned long GetLineCount() const noexcept { return m_lines.GetCount(); }
  /// The type of a line; `EOL_NONE` past the end.
  ZTKTextFileType GetLineType(unsigned long nIndex) const noexcept { return m_types.Item(nIndex); }
  const ZTKString& GetName() const noexcept { return m_name; }
  /// What the last `Open` that got as far as reading returned; false after `Close`.
  bool IsOpened() const noexcept { return m_bOpened != 0; }

  const_iterator begin() const noexcept { return m_lines.begin(); }
  const_iterator end() const noexcept { return m_lines.end(); }

 protected:
  /// `AddLine` for the `nLength` bytes at `pText`, which need no NUL behind them and hold none.
  /// False when an allocation fails.
  bool AppendLine(const char* pText, unsigned long nLength, ZTKTextFileType type);
  /// Reserves capacity for `nMore` lines to be added; a hint, which may fail.
  void ReserveLines(unsigned long nMore) noexcept;

 private:
  friend struct ZTKTextBufferLayout;

  ZTKArrayLinesType m_types;
  ZTKStringArray m_lines;
  uint32_t m_nReserved = 0;  // Always 0.
  int32_t m_bOpened = 0;
  ZTKString m_name;
};
