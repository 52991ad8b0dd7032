#pragma once

#include "ztk/export.h"
#include "ztk/file/file.h"
#include "ztk/foundation/string.h"

/// A new version of a file, written beside it, that replaces it on Commit.
class ZTK_API ZTKTempFile {
 public:
  explicit ZTKTempFile(const ZTKString& target);
  ~ZTKTempFile();
  ZTKTempFile(const ZTKTempFile&) = delete;
  ZTKTempFile& operator=(const ZTKTempFile&) = delete;

  bool Open(const ZTKString& target);
  bool Commit();
  bool Discard();
  bool XPChangePermissions();

  ZTKFile& GetFile() noexcept { return m_file; }
  const ZTKString& GetTargetPath() const noexcept { return m_targetPath; }
  const ZTKString& GetTempPath() const noexcept { return m_tempPath; }

 private:
  ZTKString m_targetPath;
  ZTKString m_tempPath;
  ZTKFile m_file;
};

ZTK_API bool ZTKGetEmptyFilePath(char** ppOut, const char* pszExt);
