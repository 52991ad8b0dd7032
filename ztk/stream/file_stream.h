#pragma once

#include "ztk/file/file.h"
#include "ztk/stream/input_stream.h"
#include "ztk/stream/output_stream.h"

/// Reads a file: one that the caller keeps open, or one that the stream opens and closes itself.
///
/// The end of the file is `ZTK_STREAM_EOF`; a read that fails otherwise, and a file that is not
/// open, is `ZTK_STREAM_READ_ERROR`. Bytes that come after that clear the error.
class ZTK_API ZTKFileInputStream : public ZTKInputStream {
 public:
  explicit ZTKFileInputStream(ZTKFile& file) noexcept : m_pFile(&file) {}
  /// Opens an existing file; `IsOpen` tells the outcome.
  explicit ZTKFileInputStream(const char* pszPath) noexcept
      : m_own(pszPath, ZTKFile::read), m_pFile(&m_own) {}
  ~ZTKFileInputStream() override;

  bool IsOpen() const noexcept { return m_pFile->IsOpen(); }

  /// The length of the file; 0 when it cannot be told, or is more than the result can be.
  unsigned long GetSize() const override;
  long OnSysSeek(long nOffset, ZTKSeekMode mode) override;
  long OnSysTell() const override;
  unsigned long OnSysRead(void* pBuffer, unsigned long nCount) override;

 private:
  ZTKFile m_own;
  ZTKFile* m_pFile;  // The caller's or our own.
};

/// Writes a file: one that the caller has open, or one that the stream creates (or empties) and
/// closes itself.
///
/// A short write and a failed flush are `ZTK_STREAM_WRITE_ERROR`, which stays. The file buffers
/// what is written; call `Sync()` before the end to learn whether all arrived.
class ZTK_API ZTKFileOutputStream : public ZTKOutputStream {
 public:
  explicit ZTKFileOutputStream(ZTKFile& file) noexcept : m_pFile(&file) {}
  /// `IsOpen` tells the outcome.
  explicit ZTKFileOutputStream(const char* pszPath) noexcept
      : m_own(pszPath, ZTKFile::write), m_pFile(&m_own) {}
  ~ZTKFileOutputStream() override;

  bool IsOpen() const noexcept { return m_pFile->IsOpen(); }

  /// The length of the file; 0 when it cannot be told, or is more than the result can be.
  unsigned long GetSize() const override;
  long OnSysSeek(long nOffset, ZTKSeekMode mode) override;
  long OnSysTell() const override;
  void Sync() override;
  unsigned long OnSysWrite(const void* pBuffer, unsigned long nCount) override;

 private:
  ZTKFile m_own;
  ZTKFile* m_pFile;  // The caller's or our own.
};
