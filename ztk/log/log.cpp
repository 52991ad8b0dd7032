#include "ztk/log/log.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <initializer_list>
#include <new>
#include <string_view>

#include "ztk/file/file_system.h"
#include "ztk/file/internal/path_limits.h"
#include "ztk/foundation/word.h"
#include "ztk/log/internal/log_xp.h"

// All of it is constant data: static constructors and destructors anywhere may log.
constinit ZTKLog* ZTKLog::ms_pLogger = nullptr;
constinit int ZTKLog::ms_doLog = 0;
constinit unsigned long ZTKLog::ms_logLevel = 10000;

namespace {

constexpr std::string_view kLineEnd = "\r";

enum Level : unsigned long { kError = 1, kWarning, kInfo, kDebug, kTrace };

constinit std::array<char, 4096> s_szBufStatic{};
constinit bool s_bLogging = false;

// Held while a message is delivered; a second one, from inside a target, is dropped.
class LogTurn {
 public:
  LogTurn() noexcept : m_bMine(!s_bLogging) { s_bLogging = true; }
  ~LogTurn() {
    if (m_bMine) s_bLogging = false;
  }
  LogTurn(const LogTurn&) = delete;
  LogTurn& operator=(const LogTurn&) = delete;

  bool IsMine() const noexcept { return m_bMine; }

 private:
  bool m_bMine;
};

std::string_view PrefixOf(unsigned long nLevel) noexcept {
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

// "%X " of now. Looking up the time zone takes longer than writing a line, so it is done once in a
// second; a change of the time zone or the locale shows with the next one.
std::string_view TimeOfDay() noexcept {
  constinit static std::array<char, 256> s_text{};
  constinit static size_t s_length = 0;
  constinit static std::int64_t s_second = -1;
  const std::int64_t now = XPWallClock();
  if (now != s_second) {
    s_second = now;
    std::tm fields{};
    const bool known = XPLocalTime(now, fields);
    s_length = known ? XPFormatTimeOfDay(s_text.data(), s_text.size(), fields) : 0;
  }
  return {s_text.data(), s_length};
}

// Passes the pieces, as one text with a NUL behind it, to `use`. A short one, as nearly every line
// is, needs no allocation.
template <class Use>
void UseJoined(std::initializer_list<std::string_view> pieces, Use use) {
  std::array<char, 512> buffer;
  size_t length = 0;
  for (const std::string_view piece : pieces) length += piece.size();
  if (length >= buffer.size()) {
    ZTKString text;
    if (!text.Alloc(ZTKCountOf(length))) return;
    for (const std::string_view piece : pieces) {
      text.ConcatSelf(ZTKCountOf(piece.size()), piece.data(), ZTKString::kMaxLength);
    }
    return use(text.view());
  }

  char* end = buffer.data();
  for (const std::string_view piece : pieces) end += piece.copy(end, piece.size());
  *end = '\0';
  use(std::string_view(buffer.data(), length));
}

ZTKString DefaultLogPath() {
  std::array<char, ZTKPathLimit::kPath + 1> folder{};
  ZTKGetWorkingDirectory(folder.data(), static_cast<int>(folder.size()));
  ZTKString path(folder.data());
  if (path.Len() != 0 && !ZTKEndsWithPathSeparator(path.c_str())) {
    path.append(XPGetNativeSeparator(), 1);
  }
  return path.append("ztktrace.log");
}

}  // namespace

void ZTKLog::DoLog(unsigned long nLevel, const char* pszMsg) {
  const std::string_view msg = pszMsg != nullptr ? pszMsg : "";
  UseJoined({PrefixOf(nLevel), msg}, [this](std::string_view line) { DoLogString(line.data()); });
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
  const std::string_view text = pszText != nullptr ? pszText : "";
  UseJoined({TimeOfDay(), text, kLineEnd},
            [this](std::string_view line) { m_file.Write(line.data(), ZTKCountOf(line.size())); });
  DoFlush();
}

void ZTKLogFile::DoFlush() { m_file.Flush(); }

ZTKLogFile::~ZTKLogFile() { m_file.Close(); }

void FormatLogBuf(ZTKString& out, const char* pszMsg) {
  const std::string_view stamp = TimeOfDay();
  out.ConcatSelf(ZTKCountOf(stamp.size()), stamp.data(), ZTKString::kMaxLength);
  out.append(pszMsg);
  out.append(kLineEnd.data());
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
