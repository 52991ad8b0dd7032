#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "ztk/foundation/string.h"
#include "ztk/foundation/string_block.h"

// Formatting, numbers into text and text into numbers.

namespace {

constexpr unsigned long kFirstSize = 1024;

/// The size, doubled from the first, in which a result of `nLength` characters fits.
unsigned long FormatSize(unsigned long nLength) {
  unsigned long size = kFirstSize;
  while (size < nLength) size *= 2;
  return size;
}

/// Whether the format itself asks for a field wider than the longest string. The C library would
/// count out billions of blanks before it gave up.
bool HasImpossibleWidth(const char* pszFormat) noexcept {
  if (::strnlen(pszFormat, 11) < 11) return false;  // Too short for "%" and ten digits.
  while ((pszFormat = std::strchr(pszFormat, '%')) != nullptr) {
    ++pszFormat;
    pszFormat += std::strspn(pszFormat, "-+ #0'");
    const size_t digits = std::strspn(pszFormat, "0123456789");
    if (digits >= 10 && std::strtoull(pszFormat, nullptr, 10) > ZTKString::kMaxLength) return true;
    pszFormat += digits;
    if (*pszFormat == '%') ++pszFormat;
  }
  return false;
}

template <typename Number>
ZTKString& AppendInteger(ZTKString& text, Number n) noexcept {
  char digits[std::numeric_limits<Number>::digits10 + 3];
  const auto result = std::to_chars(digits, digits + sizeof digits, n);
  ZTKStringBlocks::Append(text, text.Len(), digits,
                          static_cast<unsigned long>(result.ptr - digits));
  return text;
}

/// Where `strtol` and its like write, set to the start because a refused base leaves it alone.
template <typename Number, typename Parse>
bool ParseWhole(const char* psz, Number* pVal, Parse parse) noexcept {
  if (pVal == nullptr) return false;
  char* end = const_cast<char*>(psz);
  *pVal = parse(psz, &end);
  return end != psz && *end == '\0';
}

}  // namespace

int ZTKString::PrintfV(const char* pszFormat, va_list args) noexcept {
  if (pszFormat == nullptr) return -1;

  // Aside first, since arguments may be texts of this string: most results end here.
  char local[kFirstSize + 1];
  int result = -1;
  va_list attempt;
  if (!HasImpossibleWidth(pszFormat)) {
    va_copy(attempt, args);
    result = std::vsnprintf(local, sizeof local, pszFormat, attempt);
    va_end(attempt);
  }
  if (result < 0) {
    Empty();
    return -1;
  }

  const unsigned long formatted = std::min(static_cast<unsigned long>(result), kMaxLength);
  char* text = local;
  if (formatted > kFirstSize) {
    text = static_cast<char*>(std::malloc(formatted + 1));
    if (text == nullptr) {
      Clear();
      return -1;
    }
    va_copy(attempt, args);
    const int again = std::vsnprintf(text, formatted + 1, pszFormat, attempt);
    va_end(attempt);
    if (again < 0) text[0] = '\0';
  }

  // A formatted NUL ends the text.
  const auto length = static_cast<unsigned long>(std::strlen(text));
  const unsigned long size = FormatSize(static_cast<unsigned long>(result));
  const bool isShrunkAndRoomy = AllocatedSize() > size && m_nDataLength == AllocatedSize();
  if (length == 0 || isShrunkAndRoomy) {
    // What shrinking would leave alone: the block that the formatting asks for stays.
    const bool hasBlock = Alloc(size);
    if (hasBlock) std::memcpy(m_pBuffer, text, length + 1);
    if (text != local) std::free(text);
    return hasBlock ? static_cast<int>(length) : -1;
  }

  if (text == local || length < formatted) {
    auto* block = static_cast<char*>(std::malloc(length + 1));
    if (block != nullptr) std::memcpy(block, text, length + 1);
    if (text != local) std::free(text);
    if (block == nullptr) {
      Clear();
      return -1;
    }
    text = block;
  }
  ZTKStringBlocks::Take(*this, text, length, length);
  return static_cast<int>(length);
}

int ZTKString::Printf(const char* pszFormat, ...) noexcept {
  if (pszFormat == nullptr) return 0;
  va_list args;
  va_start(args, pszFormat);
  const int length = PrintfV(pszFormat, args);
  va_end(args);
  return length;
}

ZTKString ZTKString::Format(const char* pszFormat, ...) noexcept {
  ZTKString text;
  va_list args;
  va_start(args, pszFormat);
  text.PrintfV(pszFormat, args);
  va_end(args);
  return text;
}

ZTKString& ZTKString::operator<<(int n) noexcept { return AppendInteger(*this, n); }
ZTKString& ZTKString::operator<<(unsigned int n) noexcept { return AppendInteger(*this, n); }
ZTKString& ZTKString::operator<<(long n) noexcept { return AppendInteger(*this, n); }
ZTKString& ZTKString::operator<<(unsigned long n) noexcept { return AppendInteger(*this, n); }
ZTKString& ZTKString::operator<<(long long n) noexcept { return AppendInteger(*this, n); }
ZTKString& ZTKString::operator<<(unsigned long long n) noexcept { return AppendInteger(*this, n); }

ZTKString& ZTKString::operator<<(float f) noexcept {
  char digits[64];  // The greatest float has 39 digits before its point.
  std::snprintf(digits, sizeof digits, "%f", static_cast<double>(f));
  return append(digits);
}

ZTKString& ZTKString::operator<<(double f) noexcept {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%g", f);
  return append(digits);
}

ZTKString& ZTKString::operator<<(long double f) noexcept {
  char digits[32];
  std::snprintf(digits, sizeof digits, "%Lg", f);
  return append(digits);
}

bool ZTKString::ToLong(long* pVal, long nBase) const noexcept {
  return ParseWhole(c_str(), pVal, [nBase](const char* psz, char** ppEnd) {
    return std::strtol(psz, ppEnd, static_cast<int>(nBase));
  });
}

bool ZTKString::ToULong(unsigned long* pVal, long nBase) const noexcept {
  return ParseWhole(c_str(), pVal, [nBase](const char* psz, char** ppEnd) {
    return std::strtoul(psz, ppEnd, static_cast<int>(nBase));
  });
}

bool ZTKString::ToDouble(double* pVal) const noexcept {
  return ParseWhole(c_str(), pVal,
                    [](const char* psz, char** ppEnd) { return std::strtod(psz, ppEnd); });
}
