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

/// An ordered list of lines with their line-end types, bound to a named storage by five hooks.
class ZTK_API ZTKTextBuffer {
 public:
  static ZTKTextFileType typeDefault;

  ZTKTextBuffer();
  explicit ZTKTextBuffer(const ZTKString& name);
  ZTKTextBuffer(const ZTKTextBuffer&) = delete;
  ZTKTextBuffer& operator=(const ZTKTextBuffer&) = delete;

  virtual ~ZTKTextBuffer();
  virtual bool OnExists() const = 0;
  virtual bool OnOpen(const ZTKString& name, ZTKTextBufferOpenMode mode) = 0;
  virtual bool OnClose() = 0;
  virtual bool OnRead() = 0;
  virtual bool OnWrite(ZTKTextFileType type) = 0;

  bool Exists() const;
  bool Create();
  bool Create(const ZTKString& name);
  bool Open();
  bool Open(const ZTKString& name);
  bool Write(ZTKTextFileType type);
  bool Close();
  void Clear();
  void AddLine(const ZTKString& line, ZTKTextFileType type);
  void InsertLine(const ZTKString& line, unsigned long nIndex, ZTKTextFileType type);
  void RemoveLine(unsigned long nIndex);
  const ZTKString& GetLine(unsigned long nIndex) const;

  static ZTKString GetEOL(ZTKTextFileType type);
  static ZTKString Translate(const ZTKString& text, ZTKTextFileType type);

  unsigned long GetLineCount() const noexcept;
  ZTKTextFileType GetLineType(unsigned long nIndex) const noexcept;
  const ZTKString& GetName() const noexcept { return m_name; }
  bool IsOpened() const noexcept { return m_bOpened != 0; }
  // begin(), end() over const ZTKString&

 private:
  ZTKArrayLinesType m_types;
  ZTKStringArray m_lines;
  uint32_t m_nReserved = 0;
  int32_t m_bOpened = 0;
  ZTKString m_name;
};
