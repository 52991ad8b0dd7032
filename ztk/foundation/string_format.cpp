#include <algorithm>
#include <cfenv>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>
#include <system_error>

#include "ztk/foundation/internal/format_width.h"
#include "ztk/foundation/internal/string_block.h"
#include "ztk/foundation/internal/string_xp.h"
#include "ztk/foundation/string.h"

// Formatting, numbers into text and text into numbers.

namespace {

constexpr unsigned long kFirstSize = 1024;

/// The size, doubled from the first, in which a result of `nLength` characters fits.
unsigned long FormatSize(unsigned long nLength) {
  unsigned long size = kFirstSize;
  while (size < nLength) size *= 2;
  return size;
}

/// Whether growing a formatting buffer to that size would leave the string's block as it is, and
/// shrinking it at the end as well.
bool KeepsItsBlock(const ZTKString& text, unsigned long nFormatted) {
  return text.AllocatedSize() > FormatSize(nFormatted) && text.DataLength() == text.AllocatedSize();
}

/// The last step of formatting: `text` gets the `nFormatted` characters at `pFormatted` as a buffer
/// that grows and is shrunk at the end would leave them. `pBlock` is the block that they lie in, or
/// null.
int Keep(ZTKString& text, const char* pFormatted, unsigned long nFormatted, char* pBlock) noexcept {
  // A NUL ends the text.
  const unsigned long length = ZTKStringBlocks::CountFresh(pFormatted, nFormatted);
  if (length == 0 || KeepsItsBlock(text, nFormatted)) {
    // The recorded length is that of what the last growth found: first the old text, then the
    // first part of the new one, which starts with a NUL.
    bool hasBlock = text.Alloc(kFirstSize);
    for (unsigned long size = kFirstSize; hasBlock && size < nFormatted;) {
      ZTKStringBlocks::Data(text)[0] = '\0';
      size *= 2;
      hasBlock = text.Alloc(size);
    }
    if (hasBlock) std::memcpy(ZTKStringBlocks::Data(text), pFormatted, length + 1);
    std::free(pBlock);
    return hasBlock ? static_cast<int>(length) : -1;
  }
  if (pBlock == nullptr || length < nFormatted) {
    char* const exact = ZTKStringBlocks::Allocate(length + 1);
    if (exact != nullptr) std::memcpy(exact, pFormatted, length + 1);
    std::free(pBlock);
    pBlock = exact;
  }
  if (pBlock == nullptr) {
    text.Clear();
    return -1;
  }
  ZTKStringBlocks::AdoptBlock(text, pBlock, length, length, true);
  return static_cast<int>(length);
}

template <typename Number>
ZTKString& AppendInteger(ZTKString& text, Number n) noexcept {
  char digits[24];  // The longest of them has 20 digits and no sign.
  const auto result = std::to_chars(digits, digits + sizeof digits, n);
  ZTKStringBlocks::Append(text, ZTKStringBlocks::CountFresh(text), digits,
                          static_cast<unsigned long>(result.ptr - digits), true);
  return text;
}

/// Reads what most numbers are: a few decimal digits, a '-' before them when the type has a sign,
/// and nothing else. False for all the rest, which the C library knows how to judge.
template <typename Number>
bool ParsePlain(const char* psz, Number* pVal) noexcept {
  const bool isNegative = std::numeric_limits<Number>::is_signed && *psz == '-';
  if (isNegative) ++psz;
  Number value = 0;
  for (int digits = 0; digits < std::numeric_limits<Number>::digits10; ++digits) {
    const auto digit = static_cast<unsigned char>(psz[digits] - '0');
    if (digit > 9) {
      if (digits == 0 || psz[digits] != '\0') return false;
      *pVal = isNegative ? 0 - value : value;
      return true;
    }
    value = value * 10 + digit;
  }
  return false;
}

/// What C libraries do with another base differs.
bool IsBase(long nBase) noexcept { return nBase == 0 || (nBase >= 2 && nBase <= 36); }

template <typename Number>
bool ParseWhole(const char* psz, Number* pVal, long nBase,
                Number (*pParse)(const char*, char**, int)) noexcept {
  *pVal = 0;
  if (!IsBase(nBase)) return false;
  char* end = nullptr;
  *pVal = pParse(psz, &end, static_cast<int>(nBase));
  return end != psz && *end == '\0';
}

/// Reads a number that is the whole text and finite, as `strtod` would. False, with nothing stored,
/// for all the rest: it also sets `errno`, knows other numbers and the rounding that is switched
/// on.
bool ParseDecimal(std::string_view text, double* pVal) noexcept {
  const size_t sign = !text.empty() && text.front() == '-' ? 1 : 0;
  const char first = text.size() > sign ? text[sign] : '\0';
  const bool isDecimal = (first >= '0' && first <= '9') || first == '.';
  if (!isDecimal || !XPHasPointInNumbers() || std::fegetround() != FE_TONEAREST) return false;
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (result.ec != std::errc() || result.ptr != end) return false;
  if (std::fabs(value) < std::numeric_limits<double>::min() && value != 0) return false;
  *pVal = value;
  return true;
}

}  // namespace

int ZTKStringBlocks::Format(ZTKString& text, const char* pszFormat, va_list args) noexcept {
  // Aside, since arguments may be texts of this string.
  char first[kFirstSize];
  int result = -1;
  if (!ZTKFormatIsTooWide(pszFormat, args)) {
    va_list attempt;
    va_copy(attempt, args);
    result = std::vsnprintf(first, sizeof first, pszFormat, attempt);
    va_end(attempt);
  }
  if (result < 0) {
    text.Empty();
    return -1;
  }
  if (result < static_cast<int>(sizeof first)) {
    return Keep(text, first, static_cast<unsigned long>(result), nullptr);
  }
  const unsigned long length = std::min(static_cast<unsigned long>(result), ZTKString::kMaxLength);
  char* const block = Allocate(length + 1);
  if (block == nullptr) {
    text.Clear();
    return -1;
  }
  if (std::vsnprintf(block, length + 1, pszFormat, args) < 0) {
    std::free(block);
    text.Empty();
    return -1;
  }
  return Keep(text, block, length, block);
}

int ZTKString::PrintfV(const char* pszFormat, va_list args) noexcept {
  return pszFormat != nullptr ? ZTKStringBlocks::Format(*this, pszFormat, args) : -1;
}

int ZTKString::Printf(const char* pszFormat, ...) noexcept {
  if (pszFormat == nullptr) return 0;
  va_list args;
  va_start(args, pszFormat);
  const int length = ZTKStringBlocks::Format(*this, pszFormat, args);
  va_end(args);
  return length;
}

ZTKString ZTKString::Format(const char* pszFormat, ...) noexcept {
  ZTKString text;
  if (pszFormat == nullptr) return text;
  va_list args;
  va_start(args, pszFormat);
  ZTKStringBlocks::Format(text, pszFormat, args);
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
  if (pVal == nullptr) return false;
  if (nBase == 10 && ParsePlain(c_str(), pVal)) return true;
  return ParseWhole(c_str(), pVal, nBase, std::strtol);
}

bool ZTKString::ToULong(unsigned long* pVal, long nBase) const noexcept {
  if (pVal == nullptr) return false;
  if (nBase == 10 && ParsePlain(c_str(), pVal)) return true;
  return ParseWhole(c_str(), pVal, nBase, std::strtoul);
}

bool ZTKString::ToDouble(double* pVal) const noexcept {
  if (pVal == nullptr) return false;
  if (ParseDecimal(view(), pVal)) return true;
  char* end = nullptr;
  *pVal = std::strtod(c_str(), &end);
  return end != c_str() && *end == '\0';
}
