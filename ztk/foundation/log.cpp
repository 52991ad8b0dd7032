#include "ztk/foundation/log.h"

#include <array>
#include <cstring>
#include <ctime>
#include <new>

#include "ztk/file/file_system.h"
#include "ztk/platform/layer.h"

// All of it is constant data: static constructors and destructors anywhere may log.
constinit ZTKLog* ZTKLog::ms_pLogger = nullptr;
constinit int ZTKLog::ms_doLog = 0;
constinit unsigned long ZTKLog::ms_logLevel = 10000;

namespace {

enum Level : unsigned long { kError = 1, kWarning, kInfo, kDebug, kTrace };

constinit std::array<char, 4096> s_szBufStatic{};
constinit bool s_bLogging = false;

// Held while a message is on its way; a second one, from inside a target, finds it taken.
class LogTurn {
 public:
  LogTurn() noexcept : m_bTaken(!s_bLogging) { s_bLogging = true; }
  ~LogTurn() {
    if (m_bTaken) s_bLogging = false;
  }
  LogTurn(const LogTurn&) = delete;
  LogTurn& operator=(const LogTurn&) = delete;

  bool IsMine() const noexcept { return m_bTaken; }

 private:
  bool m_bTaken;
};

const char* PrefixOf(unsigned long nLevel) noexcept {
  switch (nLevel) {
    case kError:
      return "Error: ";
    case kWarning:
      return "Warning: ";
    case kDebug:
      return "Debug: ";
    case kTrace:
      return "Trace: ";
    default:
      return "";
  }
}

void Deliver(unsigned long nLevel, const char* pszMsg) {
  if (ZTKLog::ms_doLog == 0 || ZTKLog::ms_logLevel < nLevel) return;
  ZTKLog* target = ZTKLog::GetActiveTarget();
  if (target != nullptr) target->DoLog(nLevel, pszMsg);
}

void LogFormatted(unsigned long nLevel, const char* pszFormat, va_list args) ZTK_PRINTF(2, 0);
void LogFormatted(unsigned long nLevel, const char* pszFormat, va_list args) {
  if (ZTKLog::ms_doLog == 0) return;
  const LogTurn turn;
  if (!turn.IsMine() || ZTKLog::GetActiveTarget() == nullptr) return;

  if (XPVsnprintf(s_szBufStatic.data(), s_szBufStatic.size(), pszFormat, args) < 0) {
    s_szBufStatic[0] = '\0';
  }
  Deliver(nLevel, s_szBufStatic.data());
}

ZTKString DefaultLogPath() {
  std::array<char, 1025> folder{};
  ZTKGetWorkingDirectory(folder.data(), 1024);
  ZTKString path(folder.data());
  if (path.Len() != 0 && !ZTKEndsWithPathSeparator(path.c_str())) {
    path.append(XPGetNativeSeparator(), 1);
  }
  return path.append("ztktrace.log");
}

}  // namespace

void ZTKLog::DoLog(unsigned long nLevel, const char* pszMsg) {
  ZTKString line(PrefixOf(nLevel));
  line.append(pszMsg);
  DoLogString(line.c_str());
}

void ZTKLog::DoLogString(const char*) {}

void ZTKLog::DoFlush() {}

ZTKLog::~ZTKLog() = default;

void ZTKLog::OnLog(unsigned long nLevel, const char* pszMsg) {
  const LogTurn turn;
  if (turn.IsMine()) Deliver(nLevel, pszMsg);
}

ZTKLog* ZTKLog::GetActiveTarget() {
  if (ms_pLogger == nullptr) ms_pLogger = new (std::nothrow) ZTKLogFile(DefaultLogPath().c_str());
  return ms_pLogger;
}

void ZTKLog::SetActiveTarget(ZTKLog* pLog) {
  if (pLog == ms_pLogger) return;
  ZTKLog* previous = ms_pLogger;
  ms_pLogger = pLog;
  delete previous;
}

void ZTKLogStderr::DoLogString(const char* pszText) {
  ZTKString line;
  FormatLogBuf(line, pszText);
  XPOutputDebugString(line.c_str());
}

ZTKLogFile::ZTKLogFile(const char* pszPath) { m_file.XPCreate(pszPath, true, 0666); }

void ZTKLogFile::DoLogString(const char* pszText) {
  ZTKString line;
  FormatLogBuf(line, pszText);
  m_file.Write(line.c_str(), line.Len());
  DoFlush();
}

void ZTKLogFile::DoFlush() { m_file.Flush(); }

ZTKLogFile::~ZTKLogFile() { m_file.Close(); }

void FormatLogBuf(ZTKString& out, const char* pszMsg) {
  std::array<char, 256> stamp{};
  std::tm now{};
  if (!XPLocalTime(std::time(nullptr), now) ||
      std::strftime(stamp.data(), stamp.size(), "%X ", &now) == 0) {
    stamp[0] = '\0';
  }
  out.append(stamp.data());
  out.append(pszMsg);
  out.append('\r', 1);
}

void ZTKLogError(const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  LogFormatted(kError, pszFormat, args);
  va_end(args);
}

void ZTKLogWarning(const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  LogFormatted(kWarning, pszFormat, args);
  va_end(args);
}

void ZTKLogInfo(const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  LogFormatted(kInfo, pszFormat, args);
  va_end(args);
}

void ZTKVLogError(const char* pszFormat, va_list args) { LogFormatted(kError, pszFormat, args); }

void ZTKVLogWarning(const char* pszFormat, va_list args) {
  LogFormatted(kWarning, pszFormat, args);
}

void ZTKVLogInfo(const char* pszFormat, va_list args) { LogFormatted(kInfo, pszFormat, args); }
