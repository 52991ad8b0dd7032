#pragma once

#include <cstdint>
#include <cstdio>

#include "ztk/export.h"
#include "ztk/stream/seek_mode.h"

/// A raw file handle: the address of an open stdio stream, 0 for none.
using ZTKFileHandle = std::intptr_t;

/// A handle on an open buffered file.
class ZTK_API ZTKFile {
 public:
  enum OpenMode : int {
    read = 0,        ///< "rb": an existing file, for reading.
    write = 1,       ///< "wb": created or emptied, for writing.
    read_write = 2,  ///< "r+b": an existing file, for both.
    append = 3,      ///< "ab": created if missing, written at its end.
    write_new = 4,   ///< "wb": exactly as `write`.
  };

  /// Strict mode, off by default: see docs/files-and-paths.md.
  static bool ms_strict;

  ZTKFile() noexcept = default;
  ZTKFile(const char* pszPath, OpenMode mode) noexcept;
  ~ZTKFile();
  ZTKFile(const ZTKFile&) = delete;
  ZTKFile& operator=(const ZTKFile&) = delete;

  bool XPOpen(const char* pszPath, OpenMode mode, int nPermissions) noexcept;
  bool XPCreate(const char* pszPath, bool bOverwrite, int nPermissions) noexcept;
  bool Close() noexcept;

  unsigned long Read(void* pBuffer, unsigned long nCount) noexcept;
  unsigned long Write(const void* pBuffer, unsigned long nCount) noexcept;
  bool Flush() noexcept;
  long Tell() const noexcept;
  long Seek(long nOffset, ZTKSeekMode mode) noexcept;
  long Length() const noexcept;
  bool XPEof() const noexcept;

  bool IsOpen() const noexcept { return m_pStream != nullptr; }
  bool HasError() const noexcept { return m_bError; }

  static bool Exists(const char* pszPath) noexcept;

 private:
  std::FILE* m_pStream = nullptr;
  bool m_bError = false;
};

ZTK_API int ZTKClose(ZTKFileHandle h) noexcept;
ZTK_API int ZTKEof(ZTKFileHandle h) noexcept;
ZTK_API int ZTKFsync(ZTKFileHandle h) noexcept;
ZTK_API long ZTKTell(ZTKFileHandle h) noexcept;
ZTK_API long ZTKSeek(ZTKFileHandle h, long nOffset, int nWhence) noexcept;
ZTK_API unsigned int ZTKWrite(ZTKFileHandle h, const void* pBuffer, unsigned int nCount) noexcept;
ZTK_API unsigned int ZTKRead(ZTKFileHandle h, void* pBuffer, unsigned int nCount) noexcept;
