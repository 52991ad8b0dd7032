#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <ostream>
#include <string_view>
#include <utility>

#include "ztk/export.h"
#include "ztk/foundation/word.h"

/// The library's string: an owned, growable, NUL-terminated sequence of 8-bit characters.
///
/// It knows no encoding. A string that never held anything owns no block and reads as "". A length
/// is what is in front of the first NUL: text behind an embedded one is out of reach. `Len()`
/// counts it, O(n), unless the last change has recorded it. Once a non-const `[]` or `Last()`, or
/// `erase` between two pointers, has given out a place in the block, lengths are counted for as
/// long as the string keeps this block, since that place may be written to. `c_str()` is for
/// reading. Null `const char*` arguments mean "nothing" everywhere; text inside the string itself
/// is a valid argument. No string gets longer than `kMaxLength`; appends are cut there.
///
/// A block for `n` characters has `(n & ~15) + 20` bytes and grows by that rule, never by doubling:
/// reserve with `Alloc` before many appends. A pointer from `c_str()` or a reference to a character
/// is good until the next operation that changes the string.
///
/// When an allocation fails, an operation does nothing or leaves the string empty. Growth that
/// fails gives up the old block without freeing it: pointers to its text stay readable. One thread
/// at a time.
class ZTK_API ZTKString {
 public:
  /// The greatest number of characters in a string.
  static constexpr unsigned long kMaxLength = 0x3FFFFFE8;
  /// The largest block, in bytes, that a string asks for.
  static constexpr unsigned long kMaxBlock = 0x3FFFFFE9;

  ZTKString() noexcept = default;
  ZTKString(const char* psz) noexcept { AssignCopy(psz); }  // NOLINT: implicit on purpose.
  /// A copy of an empty string owns no block, whatever the other one owns.
  ZTKString(const ZTKString& other) noexcept;
  ZTKString(char ch, unsigned long nRepeat) noexcept;
  /// Copies the bytes `[pStart, pEnd)`, NULs included; empty for null and a reversed range.
  ZTKString(const void* pStart, const void* pEnd) noexcept;
  /// At most `nLen` characters of `src` from `nPos` on.
  ZTKString(const ZTKString& src, unsigned long nPos, unsigned long nLen) noexcept;
  explicit ZTKString(std::string_view text) noexcept;
  /// Takes the block of `other` as it is, recorded sizes included; `other` is then empty and owns
  /// no block. Only an element of an array may be copied, and when that allocation fails, `other`
  /// keeps its text and this string is empty.
  ZTKString(ZTKString&& other) noexcept {
    if (other.IsBorrowed()) {
      MoveBorrowed(other);
    } else {
      SwapFields(other);
    }
  }
  ~ZTKString() {
    if (OwnsBlock()) std::free(m_pBuffer);
  }

  /// Zeroes the fields without freeing anything: for raw storage only.
  ZTKString& Init() noexcept;
  /// Copies `nLength` bytes from `psz + nPos`, up to the NUL for -1, into a fresh block; null and
  /// 0: nothing.
  void InitWith(const char* psz, unsigned long nPos, unsigned long nLength) noexcept;
  /// Keeps the block where it is large enough; an equal text changes nothing and null empties.
  ZTKString& AssignCopy(const char* psz) noexcept;

  ZTKString& operator=(const char* psz) noexcept { return AssignCopy(psz); }
  ZTKString& operator=(const unsigned char* psz) noexcept;
  ZTKString& operator=(const ZTKString& other) noexcept;
  ZTKString& operator=(char ch) noexcept;
  ZTKString& operator=(std::nullptr_t) noexcept { return AssignCopy(nullptr); }
  /// As assigning a copy, sizes included, but takes the block of `other` where a copy would need a
  /// new one of its size. `other` is then empty and owns no block; it keeps its text when an
  /// allocation fails, and when it is this string.
  ZTKString& operator=(ZTKString&& other) noexcept {
    if (m_nAllocated != 0 || !other.HasBlockOfACopy()) return MoveAssign(other);
    SwapFields(other);
    return *this;
  }
  /// Exchanges the blocks, recorded sizes included. An element of an array may have to be copied;
  /// when that allocation fails, nothing changes.
  void swap(ZTKString& other) noexcept {
    if (IsBorrowed() || other.IsBorrowed()) {
      SwapBorrowed(other);
    } else {
      SwapFields(other);
    }
  }

  /// Characters before the first NUL.
  unsigned long Len() const noexcept {
    if (HasExactLength()) return m_nDataLength;
    return m_pBuffer != nullptr ? static_cast<unsigned long>(std::strlen(m_pBuffer)) : 0;
  }
  /// The text, never null.
  const char* c_str() const noexcept { return m_pBuffer != nullptr ? m_pBuffer : s_szEmpty; }
  std::string_view view() const noexcept { return {c_str(), Len()}; }

  /// Makes the text "" and keeps the block.
  void Empty() noexcept;
  /// Makes the text "" and frees the block.
  void Clear() noexcept;
  /// Reserves a block for `n` characters, `kMaxLength` at most, and keeps the text. False, and the
  /// string empty, when the allocation fails.
  [[nodiscard]] bool Alloc(unsigned long n) noexcept;
  /// Discards the text and allocates a fresh block for `n` characters; false when that fails.
  bool AllocBuffer(unsigned long n) noexcept;
  /// Moves the text to a block of exactly its size; `AllocatedSize()` is then its length. Not for
  /// "" nor where `DataLength()` equals `AllocatedSize()`, as after a `Shrink`. False, and nothing
  /// changed, when the allocation fails.
  bool Shrink() noexcept;
  /// Cuts a text that is longer than `n` characters.
  ZTKString& Truncate(unsigned long n) noexcept;
  /// Removes `n` characters from `nPos` on, or what there is of them.
  ZTKString& erase(unsigned long nPos, unsigned long n) noexcept;
  /// Removes `[pFirst, pLast)` and returns `pFirst`; a reversed range cuts at `pFirst`, one outside
  /// the text changes nothing. Null for an empty string or a null pointer.
  char* erase(char* pFirst, char* pLast) noexcept;

  /// Appends the first characters of `psz`, as many as both counts allow, and reads no further.
  /// False only when an allocation fails.
  bool ConcatSelf(unsigned long nLen, const char* psz, unsigned long nMax) noexcept;
  ZTKString& append(const char* psz) noexcept {
    return psz != nullptr ? AppendText(psz, ZTKCountOf(std::strlen(psz))) : *this;
  }
  ZTKString& append(const ZTKString& other) noexcept {
    return AppendText(other.c_str(), other.Len());
  }
  ZTKString& append(char ch, unsigned long nRepeat) noexcept;

  /// Appends text, or a number in decimal: `char` is text, every other integer a number.
  ZTKString& operator<<(const char* psz) noexcept { return append(psz); }
  ZTKString& operator<<(const ZTKString& other) noexcept { return append(other); }
  ZTKString& operator<<(char ch) noexcept { return append(ch, 1); }
  ZTKString& operator<<(int n) noexcept;
  ZTKString& operator<<(unsigned int n) noexcept;
  ZTKString& operator<<(long n) noexcept;
  ZTKString& operator<<(unsigned long n) noexcept;
  ZTKString& operator<<(long long n) noexcept;
  ZTKString& operator<<(unsigned long long n) noexcept;
  /// A float with six decimals ("%f"), a double in its shorter form ("%g").
  ZTKString& operator<<(float f) noexcept;
  ZTKString& operator<<(double f) noexcept;
  ZTKString& operator<<(long double f) noexcept;

  ZTKString& operator+=(const char* psz) noexcept { return append(psz); }
  ZTKString& operator+=(const ZTKString& other) noexcept { return append(other); }
  ZTKString& operator+=(char ch) noexcept { return append(ch, 1); }
  /// Appends to this string and returns it: `a + b` changes `a`. Deliberate.
  ZTKString& operator+(const char* psz) noexcept { return append(psz); }
  ZTKString& operator+(const ZTKString& other) noexcept { return append(other); }
  ZTKString& operator+(char ch) noexcept { return append(ch, 1); }

  /// Replaces the contents by a formatted text of any length, shrinks the block to it and returns
  /// its length. -1, with the string empty, when the C library cannot format the arguments, a field
  /// or a number's precision is beyond the greatest length, or an allocation fails. A null format
  /// leaves the string: -1, of `Printf` 0, and "" of `Format`.
  int PrintfV(const char* pszFormat, va_list args) noexcept ZTK_PRINTF(2, 0);
  int Printf(const char* pszFormat, ...) noexcept ZTK_PRINTF(2, 3);
  static ZTKString Format(const char* pszFormat, ...) noexcept ZTK_PRINTF(1, 2);

  /// Searches give an index or -1; in an empty string nothing is found. From the front a NUL is
  /// found at the end of the text; from the end (`bFromEnd`) it is not.
  long Find(char ch, int bFromEnd) const noexcept;
  /// An empty `psz` is found at the end of the text.
  long Find(const char* psz) const noexcept;
  long FindFirstOf(const char* pszSet) const noexcept;
  long FindLastOf(const char* pszSet) const noexcept;

  /// Compare bytes as unsigned, then lengths; only the sign counts. -2 for null.
  int Cmp(const ZTKString& other) const noexcept;
  int Cmp(const char* psz) const noexcept;
  /// As `ZTKDoCmpNoCase`: good for equality, not an order to sort by. -2 for null.
  int CmpNoCase(const ZTKString& other) const noexcept;
  int CmpNoCase(const char* psz) const noexcept;
  /// Whether the texts are equal, their case included where `bCase` is not 0; false for null.
  bool IsSameAs(const char* psz, int bCase) const noexcept;
  bool IsSameAs(char ch, int bCase) const noexcept;
  bool operator==(const ZTKString& other) const noexcept;
  bool operator!=(const ZTKString& other) const noexcept { return !(*this == other); }

  /// Change case byte by byte, as the current locale has it.
  ZTKString& MakeLower() noexcept;
  ZTKString& MakeUpper() noexcept;
  ZTKString Lower() const noexcept;
  ZTKString Upper() const noexcept;
  /// Removes white space of the current locale from the right end, or from the left for 0; `TrimA`
  /// from both. 0x7F stays in any locale.
  ZTKString& Trim(int bFromRight) noexcept;
  ZTKString& TrimA() noexcept;
  /// Replaces the first `pszOld`, or all of them, and returns how many; what was put in is not
  /// searched. 0, and nothing changed, for an empty `pszOld`, for null, when the text before a
  /// match would pass the greatest length, and when an allocation fails.
  unsigned long Replace(const char* pszOld, const char* pszNew, int bReplaceAll) noexcept;

  /// Without a `ch`, `AfterFirst` and `BeforeLast` are "", the other two the whole string.
  ZTKString AfterFirst(char ch) const noexcept;
  ZTKString AfterLast(char ch) const noexcept;
  ZTKString BeforeFirst(char ch) const noexcept;
  ZTKString BeforeLast(char ch) const noexcept;
  /// Parts take what there is of them and never fail.
  ZTKString Left(unsigned long n) const noexcept;
  ZTKString Right(unsigned long n) const noexcept;
  ZTKString Mid(unsigned long nFirst,
                unsigned long nCount = static_cast<unsigned long>(-1)) const noexcept;
  /// `Mid(nFrom, nTo - nFrom + 1)`: an `nTo` two or more before `nFrom` reaches to the end.
  ZTKString SubString(unsigned long nFrom, unsigned long nTo) const noexcept;

  /// Out of range: 0, or a reference to a character that all strings share and none holds.
  char operator[](unsigned long i) const noexcept;
  char& operator[](unsigned long i) noexcept;
  char Last() const noexcept;
  char& Last() noexcept;

  /// Whether decimal digits follow an optional sign; a sign alone counts, "" does not.
  bool IsNumber() const noexcept;
  /// Whether no byte is 0x80 or more; false for "".
  bool IsAscii() const noexcept;
  /// Read the text as `strtol`, `strtoul` and `strtod` do; true only when all of a non-empty text
  /// was a number. `*pVal` gets the value in any case. False for a null `pVal`, and, with a value
  /// of 0, for a base other than 0 and 2 to 36.
  bool ToLong(long* pVal, long nBase) const noexcept;
  bool ToULong(unsigned long* pVal, long nBase) const noexcept;
  bool ToDouble(double* pVal) const noexcept;

  /// Allocate a converted copy (code page 0), which the caller frees with array delete. The element
  /// count, terminator included; 0 with a null `*ppOut`.
  static unsigned long XPAChar2W(wchar_t** ppOut, char* pIn) noexcept;
  static unsigned long XPWChar2A(char** ppOut, wchar_t* pIn) noexcept;

  /// The recorded size of the block in bytes; 0 without one, the length after `Shrink`.
  unsigned long AllocatedSize() const noexcept;
  /// The length last recorded, a hint: `erase`, `Truncate`, trimming and changing case leave it.
  unsigned long DataLength() const noexcept { return m_nDataLength; }

 private:
  friend struct ZTKStringBlocks;
  friend struct ZTKStringLayout;

  // Of no known size: a compiler that knew it would warn of `s.c_str() + 2`.
  static const char s_szEmpty[];

  /// Neither unallocated nor borrowed, which the highest bit tells (string_block.h).
  bool OwnsBlock() const noexcept { return static_cast<int32_t>(m_nAllocated) > 0; }
  bool IsBorrowed() const noexcept { return static_cast<int32_t>(m_nAllocated) < 0; }
  /// Whether the recorded length is the text's.
  bool HasExactLength() const noexcept {
    constexpr uint32_t kExactLength = 0x40000001;
    return (m_nAllocated & kExactLength) == kExactLength;
  }
  /// Whether a copy would have the same sizes. A fast test, which is false for some.
  bool HasBlockOfACopy() const noexcept {
    constexpr uint32_t kExactAndSize = 0xFFFFFFF1;
    const uint32_t size = (m_nDataLength & ~uint32_t{15}) + 16;
    return m_nDataLength != 0 && (m_nAllocated & kExactAndSize) == (size | 0x40000001);
  }
  void SwapFields(ZTKString& other) noexcept {
    std::swap(m_pBuffer, other.m_pBuffer);
    std::swap(m_nDataLength, other.m_nDataLength);
    std::swap(m_nAllocated, other.m_nAllocated);
  }
  ZTKString& MoveAssign(ZTKString& other) noexcept;
  void MoveBorrowed(ZTKString& other) noexcept;
  void SwapBorrowed(ZTKString& other) noexcept;
  ZTKString& AppendText(const char* pText, unsigned long nCount) noexcept;

  char* m_pBuffer = nullptr;
  uint32_t m_nDataLength = 0;
  uint32_t m_nAllocated = 0;  // With marks of the library's own.
};

/// `a.swap(b)`, as generic code calls it.
inline void swap(ZTKString& a, ZTKString& b) noexcept { a.swap(b); }

/// Copies `pszSrc`, cut to `n - 1` characters and always terminated, and returns `pszDst`; null,
/// with nothing copied, for a null pointer or an `n` of 0.
ZTK_API char* _lstrcpyn(char* pszDst, const char* pszSrc, unsigned long n) noexcept;
/// Compares in the current locale's lower case: 0, or -1 and 1 by length when one text starts with
/// the other. A mismatch is ordered by the two characters as they stand, signed: "a" against "B" is
/// 1. -2 for a null pointer.
ZTK_API int ZTKDoCmpNoCase(const char* pszA, unsigned long nLenA, const char* pszB,
                           unsigned long nLenB) noexcept;

inline std::ostream& operator<<(std::ostream& stream, const ZTKString& text) {
  return stream << text.view();
}

template <>
struct std::hash<ZTKString> {
  size_t operator()(const ZTKString& text) const noexcept {
    return std::hash<std::string_view>()(text.view());
  }
};
