#pragma once

#include <cstdarg>

#include "ztk/export.h"
#include "ztk/file/file.h"
#include "ztk/foundation/string.h"

/// A target of log messages, and the process-wide switch, threshold and active target.
///
/// Logging is off until an application sets `ms_doLog`: until then nothing is formatted and no
/// target or file is made. A message has a level, lower is more severe, and a prefix by its level:
///
/// | level | logged by       | prefix      |
/// |-------|-----------------|-------------|
/// | 1     | ZTKLogError     | "Error: "   |
/// | 2     | ZTKLogWarning   | "Warning: " |
/// | 3     | ZTKLogInfo      | none        |
/// | 4     | OnLog           | "Debug: "   |
/// | 5     | OnLog           | "Trace: "   |
/// | other | OnLog           | none        |
///
/// The log never reports failures of its own, and drops what is logged from inside a target. It
/// owns the active target; the last one is never destroyed, for static destructors. One thread at a
/// time.
class ZTK_API ZTKLog {
 public:
  /// Puts the prefix of `nLevel` before the message and hands the line to DoLogString.
  virtual void DoLog(unsigned long nLevel, const char* pszMsg);
  /// Writes one line. Does nothing here.
  virtual void DoLogString(const char* pszText);
  /// Writes out what is held back. Does nothing here.
  virtual void DoFlush();
  virtual ~ZTKLog();

  /// Hands a message to the active target if the switch is on and the threshold lets it pass.
  static void OnLog(unsigned long nLevel, const char* pszMsg);

  /// The active target; by default a ZTKLogFile on "ztktrace.log" in the working directory, which
  /// is emptied. Null only when memory runs out.
  static ZTKLog* GetActiveTarget();

  /// Makes `pLog`, allocated with new or null, the active target and deletes the one before.
  static void SetActiveTarget(ZTKLog* pLog);

  static ZTKLog* ms_pLogger;         ///< The active target, null before the first message.
  static int ms_doLog;               ///< The switch: 0, the default, logs nothing.
  static unsigned long ms_logLevel;  ///< The highest level that passes; 10000 by default.
};

/// Writes lines to the standard error stream, cut to 1,023 characters, with a line feed.
class ZTK_API ZTKLogStderr : public ZTKLog {
 public:
  void DoLogString(const char* pszText) override;
};

/// Writes lines to a file, each ended by a carriage return and flushed at once.
class ZTK_API ZTKLogFile : public ZTKLog {
 public:
  /// Creates the file, or empties it. When that fails, lines go nowhere.
  explicit ZTKLogFile(const char* pszPath);
  void DoLogString(const char* pszText) override;
  void DoFlush() override;
  ~ZTKLogFile() override;

 private:
  ZTKFile m_file;
};

/// Log a formatted message, cut to 4,095 characters. Without logging the arguments are not looked
/// at; the first message makes the default target even if the threshold then drops it.
ZTK_API void ZTKLogError(const char* pszFormat, ...) ZTK_PRINTF(1, 2);
ZTK_API void ZTKLogWarning(const char* pszFormat, ...) ZTK_PRINTF(1, 2);
ZTK_API void ZTKLogInfo(const char* pszFormat, ...) ZTK_PRINTF(1, 2);
ZTK_API void ZTKVLogError(const char* pszFormat, va_list args) ZTK_PRINTF(1, 0);
ZTK_API void ZTKVLogWarning(const char* pszFormat, va_list args) ZTK_PRINTF(1, 0);
ZTK_API void ZTKVLogInfo(const char* pszFormat, va_list args) ZTK_PRINTF(1, 0);

/// Appends the time of day in the locale's form, a blank, the message and a carriage return. A
/// change of the time zone or the locale shows from the next second on.
ZTK_API void FormatLogBuf(ZTKString& out, const char* pszMsg);

/// Formats at most 1,023 characters and passes them to XPOutputDebugString, whatever `ms_doLog` is.
ZTK_API void ZTKOutputDebugString(const char* pszFormat, ...) ZTK_PRINTF(1, 2);

/// Writes at most 1,023 characters and a line feed to the standard error stream; a carriage return
/// at the end becomes one. "" and null write nothing. "%%" writes "%", any other conversion itself.
ZTK_API void XPOutputDebugString(const char* pszText);

/// As snprintf: the result is the length of the whole text, or negative when the formatter fails.
ZTK_API int ZTKSnprintf(char* pszBuf, unsigned long nSize, const char* pszFormat, ...)
    ZTK_PRINTF(3, 4);
ZTK_API int XPVsnprintf(char* pszBuf, unsigned long nSize, const char* pszFormat, va_list args)
    ZTK_PRINTF(3, 0);

/// Calls XPOnAssert with the other arguments when `bCond` is 0. The program goes on.
ZTK_API void ZTKAssert(long bCond, const char* pszFile, long nLine, const char* pszText,
                       const char* pszMsg);

/// Reports a failed assertion on the standard error stream and, under a debugger, stops there.
ZTK_API void XPOnAssert(const char* pszFile, long nLine, const char* pszText, const char* pszMsg);
