#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "ztk/foundation/internal/memory_watch.h"
#include "ztk/foundation/internal/string_block.h"
#include "ztk/foundation/string.h"

// Formatting, numbers into text and text into numbers.

namespace {

constexpr unsigned long kFirstSize = 1024;
/// Results up to here are formatted once, in the block in which they stay.
constexpr unsigned long kOrdinaryLength = 119;

/// The size, doubled from the first, in which a result of `nLength` characters fits.
unsigned long FormatSize(unsigned long nLength) {
  unsigned long size = kFirstSize;
  while (size < nLength) size *= 2;
  return size;
}

/// Whether the format itself asks for a field wider than the longest string. The C library would
/// count out billions of blanks before it gave up.
bool HasImpossibleWidth(const char* pszFormat) noexcept {
  for (int i = 0; i < 11; ++i) {
    if (pszFormat[i] == '\0') return false;  // Too short for "%" and ten digits.
  }
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

/// Ends a formatting: `text` gets the `nFormatted` characters in `pBlock`, and the block with them,
/// as a growing buffer that is shrunk at the end would leave them.
int Keep(ZTKString& text, char* pBlock, unsigned long nFormatted) noexcept {
  // A NUL ends the text.
  const unsigned long length = ZTKStringBlocks::CountFresh(pBlock, nFormatted);
  const unsigned long size = FormatSize(nFormatted);
  const bool isRoomyAndShrunk =
      text.AllocatedSize() > size && text.DataLength() == text.AllocatedSize();
  if (length == 0 || isRoomyAndShrunk) {
    // Shrinking would do nothing: the block in which was formatted stays.
    const bool hasBlock = text.Alloc(size);
    if (hasBlock) std::memcpy(ZTKStringBlocks::Data(text), pBlock, length + 1);
    std::free(pBlock);
    return hasBlock ? static_cast<int>(length) : -1;
  }
  ZTKStringBlocks::Take(text, pBlock, length, length);
  return static_cast<int>(length);
}

template <typename Number>
ZTKString& AppendInteger(ZTKString& text, Number n) noexcept {
  char digits[24];  // The longest of them has 20 digits and no sign.
  const auto result = std::to_chars(digits, digits + sizeof digits, n);
  ZTKStringBlocks::Append(text, ZTKStringBlocks::CountFresh(text), digits,
                          static_cast<unsigned long>(result.ptr - digits));
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

template <typename Number, typename Parse>
bool ParseWhole(const char* psz, Number* pVal, Parse parse) noexcept {
  char* end = const_cast<char*>(psz);  // A base that the C library refuses leaves it alone.
  *pVal = parse(psz, &end);
  return end != psz && *end == '\0';
}

}  // namespace

int ZTKStringBlocks::Format(ZTKString& text, const char* pszFormat, va_list args) noexcept {
  // Aside, since arguments may be texts of this string.
  unsigned long room = kOrdinaryLength + 1;
  auto* block = static_cast<char*>(std::malloc(room));
  int result = -1;
  if (block != nullptr && !HasImpossibleWidth(pszFormat)) {
    va_list attempt;
    va_copy(attempt, args);
    result = std::vsnprintf(block, room, pszFormat, attempt);
    va_end(attempt);
  }
  if (result > static_cast<int>(kOrdinaryLength)) {
    room = std::min(static_cast<unsigned long>(result), ZTKString::kMaxLength) + 1;
    std::free(block);
    block = static_cast<char*>(std::malloc(room));
    if (block != nullptr) result = std::vsnprintf(block, room, pszFormat, args);
  }
  if (block == nullptr) {
    ZTKMemoryWatch::NoteFailure();
    text.Clear();
    return -1;
  }
  if (result < 0) {
    std::free(block);
    text.Empty();
    return -1;
  }
  return Keep(text, block, std::min(static_cast<unsigned long>(result), room - 1));
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
  return ParseWhole(c_str(), pVal, [nBase](const char* psz, char** ppEnd) {
    return std::strtol(psz, ppEnd, static_cast<int>(nBase));
  });
}

bool ZTKString::ToULong(unsigned long* pVal, long nBase) const noexcept {
  if (pVal == nullptr) return false;
  if (nBase == 10 && ParsePlain(c_str(), pVal)) return true;
  return ParseWhole(c_str(), pVal, [nBase](const char* psz, char** ppEnd) {
    return std::strtoul(psz, ppEnd, static_cast<int>(nBase));
  });
}

bool ZTKString::ToDouble(double* pVal) const noexcept {
  if (pVal == nullptr) return false;
  return ParseWhole(c_str(), pVal,
                    [](const char* psz, char** ppEnd) { return std::strtod(psz, ppEnd); });
}
