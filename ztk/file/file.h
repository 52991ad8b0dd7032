#pragma once

#include <cstdint>

#include "ztk/export.h"
#include "ztk/file/seek_mode.h"

/// A raw file handle: the address of an open stream, 0 for none. On Unix kernels that is a `FILE`
/// of stdio; elsewhere it is of use to the functions below only.
using ZTKFileHandle = std::intptr_t;

struct XPStream;  // The platform layer's own.

/// An open buffered file.
///
/// It owns its stream and closes it on destruction, on Close and when another file is opened
/// successfully; a failed open leaves it as it was. Positions and counts are in bytes. Failures are
/// results; nothing is thrown or logged. Without an open file reads and writes transfer nothing,
/// positions are -1, and Close and Flush succeed.
///
/// Where `long` has 32 bits, the operations with a 64-bit twin answer -1 for what does not fit and
/// leave the position; reading and writing go on beyond it.
///
/// A short write is told by its count alone, not by HasError or Close, unless in strict mode.
/// Reads and writes may alternate without a seek. Child processes do not inherit it. One thread at
/// a time.
class ZTK_API ZTKFile {
 public:
  // The modes have the names of functions of the system, which Clang takes for shadowing.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
  enum OpenMode : int {
    read = 0,        ///< "rb": an existing file, for reading.
    write = 1,       ///< "wb": created or emptied, for writing.
    read_write = 2,  ///< "r+b": an existing file, for both.
    append = 3,      ///< "ab": created if missing, written at its end, where it begins.
    write_new = 4,   ///< "wb": exactly as `write`.
  };
#pragma GCC diagnostic pop

  /// Strict mode, off by default: a short write or a failed flush sets the error flag, and Close
  /// returns false once it is set. ZTKCopyFile and ZTKTempFile::Commit check every step; one that
  /// fails leaves the target as it was, unless only the sync of its folder failed. Set it before
  /// any open.
  static bool ms_strict;

  ZTKFile() noexcept = default;
  /// Opens with permissions 0666; IsOpen tells the outcome.
  ZTKFile(const char* pszPath, OpenMode mode) noexcept;
  ~ZTKFile();
  ZTKFile(const ZTKFile&) = delete;
  ZTKFile& operator=(const ZTKFile&) = delete;

  /// A created file gets `nPermissions` less the umask. A null path and an unknown mode fail.
  bool XPOpen(const char* pszPath, OpenMode mode, int nPermissions) noexcept;

  /// Creates a file, or empties an existing one, for writing and reading. Without `bOverwrite` a
  /// file that exists makes it fail and stays as it is.
  bool XPCreate(const char* pszPath, bool bOverwrite, int nPermissions) noexcept;

  /// Creates a file for writing; anything under the path, even a dangling link, makes it fail with
  /// `bTaken` set. No other failure sets `bTaken`.
  bool XPCreateExclusive(const char* pszPath, int nPermissions, bool& bTaken) noexcept;

  /// Closes the file; afterwards none is open, whatever the result.
  bool Close() noexcept;

  /// The number of bytes read: less than `nCount` at the end of the file or after an error.
  unsigned long Read(void* pBuffer, unsigned long nCount) noexcept;

  /// The number of bytes taken; less than `nCount` when the write failed part-way.
  unsigned long Write(const void* pBuffer, unsigned long nCount) noexcept;

  /// Hands what is buffered to the system.
  bool Flush() noexcept;

  /// Flushes, and has the system write the file to the disk. Succeeds where there is no disk.
  bool XPSync() noexcept;

  long Tell() const noexcept;
  std::int64_t Tell64() const noexcept;

  /// The new position, or -1. An offset of exactly -1 is refused, whatever the mode.
  long Seek(long nOffset, ZTKSeekMode mode) noexcept;
  std::int64_t Seek64(std::int64_t nOffset, ZTKSeekMode mode) noexcept;

  /// The size of the file; the position stays. -1 where nothing can be sought, as in a pipe.
  long Length() const noexcept;
  std::int64_t Length64() const noexcept;

  /// Whether a read has met the end of the file; true when no file is open.
  bool XPEof() const noexcept;

  bool IsOpen() const noexcept { return m_pStream != nullptr; }

  /// Whether a write reported failure. Cleared by the next successful open, not by Close.
  bool HasError() const noexcept { return m_bError; }

  /// Whether a read failed: what tells a broken file from a short one. False when none is open.
  bool HasReadError() const noexcept;

  /// Whether anything written has been lost since the file was opened, strict mode or not; false
  /// when none is open. What is still buffered may be lost yet: `Flush` first.
  bool HasLostData() const noexcept;

  /// The raw handle for the functions below; it stays this object's.
  ZTKFileHandle GetHandle() const noexcept { return reinterpret_cast<ZTKFileHandle>(m_pStream); }

  /// As ZTKFileExists.
  static bool Exists(const char* pszPath) noexcept;

 private:
  friend struct ZTKFileLayout;
  friend class ZTKTempFile;

  ZTK_LOCAL bool Adopt(XPStream* pStream) noexcept;

  XPStream* m_pStream = nullptr;
  bool m_bError = false;
  bool m_bReadError = false;
};

// The same on raw handles. `nWhence` is 0, 1, 2 for the start, the current position, the end. With
// handle 0 ZTKClose and ZTKFsync return 0, ZTKEof 1, positions are -1 and counts 0.

/// 0, or -1 when the close failed; the handle is gone either way.
ZTK_API int ZTKClose(ZTKFileHandle h) noexcept;
/// Non-zero when a read has met the end of the file.
ZTK_API int ZTKEof(ZTKFileHandle h) noexcept;
/// Hands what is buffered to the system, not to the disk. 0, or -1 when that failed.
ZTK_API int ZTKFsync(ZTKFileHandle h) noexcept;
ZTK_API long ZTKTell(ZTKFileHandle h) noexcept;
ZTK_API std::int64_t ZTKTell64(ZTKFileHandle h) noexcept;
/// The new position, or -1. Unlike ZTKFile::Seek it takes an offset of -1.
ZTK_API long ZTKSeek(ZTKFileHandle h, long nOffset, int nWhence) noexcept;
ZTK_API std::int64_t ZTKSeek64(ZTKFileHandle h, std::int64_t nOffset, int nWhence) noexcept;
ZTK_API unsigned int ZTKWrite(ZTKFileHandle h, const void* pBuffer, unsigned int nCount) noexcept;
ZTK_API unsigned int ZTKRead(ZTKFileHandle h, void* pBuffer, unsigned int nCount) noexcept;
