#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "ztk/log/internal/debug_output_xp.h"
#include "ztk/log/log.h"

namespace {

// The longest text that is written, without its line feed.
constexpr size_t kMaxText = 1023;

// The length of the conversion at the start of `text`, which begins with '%'; 0 when it is none.
size_t ConversionLength(std::string_view text) noexcept {
  constexpr std::string_view kBefore = "0123456789$*.+-# 'hlqjzLtI";
  constexpr std::string_view kTypes = "%diouxXeEfFgGaAcsCSpnm";
  const size_t end = text.find_first_not_of(kBefore, 1);
  if (end == std::string_view::npos || kTypes.find(text[end]) == std::string_view::npos) return 0;
  return end + 1;
}

// Takes the text as a format without arguments: "%%" becomes "%". A conversion that would ask for
// an argument stays as it is, for there is none. The result is never longer than the text.
size_t Interpret(std::string_view text, char* pszOut) noexcept {
  size_t length = 0;
  while (!text.empty()) {
    const size_t percent = std::min(text.find('%'), text.size());
    length += text.copy(pszOut + length, percent);
    text.remove_prefix(percent);
    if (text.empty()) break;

    const size_t conversion = std::max<size_t>(ConversionLength(text), 1);
    const bool escape = conversion == 2 && text[1] == '%';
    length += text.copy(pszOut + length, escape ? 1 : conversion);
    text.remove_prefix(conversion);
  }
  return length;
}

}  // namespace

void ZTKOutputDebugString(const char* pszFormat, ...) {
  // One more than the text may have, for the carriage return.
  std::array<char, kMaxText + 2> buffer{};
  va_list args;
  va_start(args, pszFormat);
  if (XPVsnprintf(buffer.data(), kMaxText + 1, pszFormat, args) < 0) buffer[0] = '\0';
  va_end(args);

  const size_t length = std::strlen(buffer.data());
  buffer[length] = '\r';
  buffer[length + 1] = '\0';
  XPOutputDebugString(buffer.data());
}

void XPOutputDebugString(const char* pszText) {
  if (pszText == nullptr || *pszText == '\0') return;

  // A line end at the end of the text is not part of what is interpreted.
  std::string_view text(pszText);
  text = text.substr(0, kMaxText);
  if (text.back() == '\r' || text.back() == '\n') text.remove_suffix(1);
  std::array<char, kMaxText + 2> line;
  size_t length = Interpret(text, line.data());
  line[length++] = '\n';
  line[length] = '\0';
  XPWriteDebugLine(line.data(), length);
}

int XPVsnprintf(char* pszBuf, unsigned long nSize, const char* pszFormat, va_list args) {
  return std::vsnprintf(pszBuf, nSize, pszFormat, args);
}

int ZTKSnprintf(char* pszBuf, unsigned long nSize, const char* pszFormat, ...) {
  va_list args;
  va_start(args, pszFormat);
  const int length = XPVsnprintf(pszBuf, nSize, pszFormat, args);
  va_end(args);
  return length;
}

void ZTKAssert(long bCond, const char* pszFile, long nLine, const char* pszText,
               const char* pszMsg) {
  if (bCond == 0) XPOnAssert(pszFile, nLine, pszText, pszMsg);
}
