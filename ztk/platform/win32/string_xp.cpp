#include "ztk/foundation/internal/string_xp.h"

#include <windows.h>

#include <array>
#include <clocale>
#include <cstdint>
#include <cstring>

#include "ztk/foundation/internal/utf8.h"

namespace {

constexpr UINT kAsciiCodePage = 20127;

// The C library's tables are those of its locale, which says nothing of the text in a `char`: that
// is UTF-8 towards the system, and every byte of it above 0x7F is part of a longer character.
constexpr int kFirst = -128;
constexpr int kLast = 255;
using CaseTable = std::array<int, kLast - kFirst + 1>;

constexpr CaseTable MakeTable(char chFirst, char chLast, int nDistance) noexcept {
  CaseTable table{};
  for (int i = kFirst; i <= kLast; ++i) {
    int to = i;
    if (i >= chFirst && i <= chLast) to += nDistance;
    if (i < -1) to += 256;  // The same byte, as it stands in a `char`.
    table[static_cast<size_t>(i - kFirst)] = to;
  }
  return table;
}

constexpr CaseTable kLower = MakeTable('A', 'Z', 'a' - 'A');
constexpr CaseTable kUpper = MakeTable('a', 'z', 'A' - 'a');

}  // namespace

ZTKSystemCodeSet XPSystemCodeSet() noexcept {
  const UINT codePage = GetACP();
  if (codePage == CP_UTF8) return ZTKSystemCodeSet::kUtf8;
  return codePage == kAsciiCodePage ? ZTKSystemCodeSet::kAscii : ZTKSystemCodeSet::kOther;
}

bool XPIsValidText(const char* psz) noexcept {
  // A text that is too long for the call is one of more than 2 GiB.
  return MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, psz, -1, nullptr, 0) > 0;
}

size_t XPDecode(const char* pText, std::mbstate_t&, char32_t& codePoint) noexcept {
  const bool isPair = IsDBCSLeadByte(static_cast<BYTE>(*pText)) != 0 && pText[1] != '\0';
  wchar_t wide[2] = {};
  const int units = MultiByteToWideChar(CP_ACP, 0, pText, isPair ? 2 : 1, wide, 2);
  if (units <= 0) return 0;
  codePoint = units == 2 ? ztk_utf8::JoinSurrogates(wide[0], wide[1]) : wide[0];
  return isPair ? 2 : 1;
}

size_t XPEncode(char32_t codePoint, std::mbstate_t&, char* pTarget) noexcept {
  wchar_t wide[2] = {static_cast<wchar_t>(codePoint), 0};
  int units = 1;
  if (codePoint > 0xFFFF) {
    wide[0] = static_cast<wchar_t>(0xD800 + ((codePoint - 0x10000) >> 10));
    wide[1] = static_cast<wchar_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
    units = 2;
  }
  // A character that only looks alike is another one.
  BOOL hasNone = FALSE;
  const int length = WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide, units, pTarget,
                                         MB_LEN_MAX, nullptr, &hasNone);
  return length > 0 && hasNone == FALSE ? static_cast<size_t>(length) : 0;
}

// The C library has no search from the end: words that hold no `ch` are skipped.
const char* XPFindLast(const char* pText, char ch, size_t nCount) noexcept {
  constexpr uint64_t kOnes = 0x0101010101010101;
  const uint64_t wanted = kOnes * static_cast<unsigned char>(ch);
  while (nCount >= sizeof(uint64_t)) {
    uint64_t word;
    std::memcpy(&word, pText + nCount - sizeof word, sizeof word);
    word ^= wanted;  // Where the character is, a byte of zeros.
    if (((word - kOnes) & ~word & (kOnes << 7)) != 0) break;
    nCount -= sizeof word;
  }
  while (nCount > 0) {
    if (pText[--nCount] == ch) return pText + nCount;
  }
  return nullptr;
}

bool XPHasPointInNumbers() noexcept {
  return std::strcmp(std::localeconv()->decimal_point, ".") == 0;
}

const int* XPLowerTable() noexcept { return kLower.data() - kFirst; }
const int* XPUpperTable() noexcept { return kUpper.data() - kFirst; }

bool XPAreSameInLowerCase(const char* pszA, const char* pszB) noexcept {
  const auto lower = [](char ch) { return XPLowerTable()[static_cast<int>(ch)]; };
  for (; lower(*pszA) == lower(*pszB); ++pszA, ++pszB) {
    if (*pszA == '\0') return true;
  }
  return false;
}
