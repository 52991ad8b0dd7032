#pragma once

#include <cstdarg>

#include "ztk/export.h"
#include "ztk/file/file.h"
#include "ztk/foundation/string.h"

/// A target of log messages, and the process-wide switch, threshold and active target.
class ZTK_API ZTKLog {
 public:
  virtual void DoLog(unsigned long nLevel, const char* pszMsg);
  virtual void DoLogString(const char* pszText);
  virtual void DoFlush();
  virtual ~ZTKLog();

  static void OnLog(unsigned long nLevel, const char* pszMsg);
  static ZTKLog* GetActiveTarget();
  static void SetActiveTarget(ZTKLog* pLog);

  static ZTKLog* ms_pLogger;
  static int ms_doLog;
  static unsigned long ms_logLevel;
};

class ZTK_API ZTKLogStderr : public ZTKLog {
 public:
  void DoLogString(const char* pszText) override;
};

class ZTK_API ZTKLogFile : public ZTKLog {
 public:
  explicit ZTKLogFile(const char* pszPath);
  void DoLogString(const char* pszText) override;
  void DoFlush() override;
  ~ZTKLogFile() override;

 private:
  ZTKFile m_file;
};

ZTK_API void ZTKLogError(const char* pszFormat, ...) ZTK_PRINTF(1, 2);
ZTK_API void ZTKLogWarning(const char* pszFormat, ...) ZTK_PRINTF(1, 2);
ZTK_API void ZTKLogInfo(const char* pszFormat, ...) ZTK_PRINTF(1, 2);
ZTK_API void ZTKVLogError(const char* pszFormat, va_list args) ZTK_PRINTF(1, 0);
ZTK_API void ZTKVLogWarning(const char* pszFormat, va_list args) ZTK_PRINTF(1, 0);
ZTK_API void ZTKVLogInfo(const char* pszFormat, va_list args) ZTK_PRINTF(1, 0);

ZTK_API void FormatLogBuf(ZTKString& out, const char* pszMsg);
ZTK_API void ZTKOutputDebugString(const char* pszFormat, ...) ZTK_PRINTF(1, 2);
ZTK_API void XPOutputDebugString(const char* pszText);
ZTK_API int ZTKSnprintf(char* pszBuf, unsigned long nSize, const char* pszFormat, ...)
    ZTK_PRINTF(3, 4);
ZTK_API int XPVsnprintf(char* pszBuf, unsigned long nSize, const char* pszFormat, va_list args)
    ZTK_PRINTF(3, 0);
ZTK_API void ZTKAssert(long bCond, const char* pszFile, long nLine, const char* pszText,
                       const char* pszMsg);
ZTK_API void XPOnAssert(const char* pszFile, long nLine, const char* pszText, const char* pszMsg);
