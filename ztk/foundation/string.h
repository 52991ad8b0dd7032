#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <ostream>
#include <string_view>

#include "ztk/export.h"

/// The library's string: an owned, growable, NUL-terminated sequence of 8-bit characters.
///
/// It knows no encoding. A string that never held anything owns no block and reads as "". Lengths
/// are counted up to the first NUL, so text behind an embedded NUL is out of reach. Null
/// `const char*` arguments are accepted everywhere and mean "nothing". Text that lies inside the
/// string itself is a valid argument of every operation. No operation makes a string longer than
/// `kMaxLength`; appends are cut there. When memory runs out, an operation does nothing or leaves
/// the string empty; nothing is ever thrown. One thread at a time.
class ZTK_API ZTKString {
 public:
  /// The greatest number of characters in a string.
  static constexpr unsigned long kMaxLength = 0x3FFFFFE8;
  /// The largest block, in bytes, that a string asks for.
  static constexpr unsigned long kMaxBlock = 0x3FFFFFE9;

  ZTKString() noexcept = default;
  ZTKString(const char* psz) noexcept { AssignCopy(psz); }  // NOLINT: implicit on purpose.
  ZTKString(const ZTKString& other) noexcept;
  ZTKString(char ch, unsigned long nRepeat) noexcept;
  /// Copies the bytes `[pStart, pEnd)`; empty when either is null or the range is reversed.
  ZTKString(const void* pStart, const void* pEnd) noexcept;
  /// At most `nLen` characters of `src` from `nPos` on.
  ZTKString(const ZTKString& src, unsigned long nPos, unsigned long nLen) noexcept;
  explicit ZTKString(std::string_view text) noexcept;
  ~ZTKString() {
    if (OwnsBlock()) std::free(m_pBuffer);
  }

  /// Zeroes the fields without freeing anything: for raw storage only.
  ZTKString& Init() noexcept;
  void InitWith(const char* psz, unsigned long nPos, unsigned long nLength) noexcept;
  ZTKString& AssignCopy(const char* psz) noexcept;

  ZTKString& operator=(const char* psz) noexcept { return AssignCopy(psz); }
  ZTKString& operator=(const unsigned char* psz) noexcept;
  ZTKString& operator=(const ZTKString& other) noexcept;
  ZTKString& operator=(char ch) noexcept;
  ZTKString& operator=(std::nullptr_t) noexcept { return AssignCopy(nullptr); }

  unsigned long Len() const noexcept {
    return m_pBuffer != nullptr ? static_cast<unsigned long>(std::strlen(m_pBuffer)) : 0;
  }
  const char* c_str() const noexcept { return m_pBuffer != nullptr ? m_pBuffer : ""; }
  std::string_view view() const noexcept { return {c_str(), Len()}; }

  void Empty() noexcept;
  void Clear() noexcept;
  [[nodiscard]] bool Alloc(unsigned long n) noexcept;
  bool AllocBuffer(unsigned long n) noexcept;
  bool Shrink() noexcept;
  ZTKString& Truncate(unsigned long n) noexcept;
  ZTKString& erase(unsigned long nPos, unsigned long n) noexcept;
  char* erase(char* pFirst, char* pLast) noexcept;

  bool ConcatSelf(unsigned long nLen, const char* psz, unsigned long nMax) noexcept;
  ZTKString& append(const char* psz) noexcept {
    return psz != nullptr ? AppendText(psz, static_cast<unsigned long>(std::strlen(psz))) : *this;
  }
  ZTKString& append(const ZTKString& other) noexcept {
    return AppendText(other.c_str(), other.Len());
  }
  ZTKString& append(char ch, unsigned long nRepeat) noexcept;

  ZTKString& operator<<(const char* psz) noexcept { return append(psz); }
  ZTKString& operator<<(const ZTKString& other) noexcept { return append(other); }
  ZTKString& operator<<(char ch) noexcept { return append(ch, 1); }
  ZTKString& operator<<(int n) noexcept;
  ZTKString& operator<<(unsigned int n) noexcept;
  ZTKString& operator<<(long n) noexcept;
  ZTKString& operator<<(unsigned long n) noexcept;
  ZTKString& operator<<(long long n) noexcept;
  ZTKString& operator<<(unsigned long long n) noexcept;
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

  int PrintfV(const char* pszFormat, va_list args) noexcept ZTK_PRINTF(2, 0);
  int Printf(const char* pszFormat, ...) noexcept ZTK_PRINTF(2, 3);
  static ZTKString Format(const char* pszFormat, ...) noexcept ZTK_PRINTF(1, 2);

  long Find(char ch, int bFromEnd) const noexcept;
  long Find(const char* psz) const noexcept;
  long FindFirstOf(const char* pszSet) const noexcept;
  long FindLastOf(const char* pszSet) const noexcept;

  int Cmp(const ZTKString& other) const noexcept;
  int Cmp(const char* psz) const noexcept;
  int CmpNoCase(const ZTKString& other) const noexcept;
  int CmpNoCase(const char* psz) const noexcept;
  bool IsSameAs(const char* psz, int bCase) const noexcept;
  bool IsSameAs(char ch, int bCase) const noexcept;
  bool operator==(const ZTKString& other) const noexcept;
  bool operator!=(const ZTKString& other) const noexcept { return !(*this == other); }

  ZTKString& MakeLower() noexcept;
  ZTKString& MakeUpper() noexcept;
  ZTKString Lower() const noexcept;
  ZTKString Upper() const noexcept;
  ZTKString& Trim(int bFromRight) noexcept;
  ZTKString& TrimA() noexcept;
  unsigned long Replace(const char* pszOld, const char* pszNew, int bReplaceAll) noexcept;

  ZTKString AfterFirst(char ch) const noexcept;
  ZTKString AfterLast(char ch) const noexcept;
  ZTKString BeforeFirst(char ch) const noexcept;
  ZTKString BeforeLast(char ch) const noexcept;
  ZTKString Left(unsigned long n) const noexcept;
  ZTKString Right(unsigned long n) const noexcept;
  ZTKString Mid(unsigned long nFirst,
                unsigned long nCount = static_cast<unsigned long>(-1)) const noexcept;
  ZTKString SubString(unsigned long nFrom, unsigned long nTo) const noexcept;

  char operator[](unsigned long i) const noexcept;
  char& operator[](unsigned long i) noexcept;
  char Last() const noexcept;
  char& Last() noexcept;

  bool IsNumber() const noexcept;
  bool IsAscii() const noexcept;
  bool ToLong(long* pVal, long nBase) const noexcept;
  bool ToULong(unsigned long* pVal, long nBase) const noexcept;
  bool ToDouble(double* pVal) const noexcept;

  /// Allocate a converted copy of `pIn` (code page 0) in `*ppOut`, freed by the caller with array
  /// delete. The result is the element count, terminator included; 0 with a null `*ppOut`.
  static unsigned long XPAChar2W(wchar_t** ppOut, char* pIn) noexcept;
  static unsigned long XPWChar2A(char** ppOut, wchar_t* pIn) noexcept;

  /// The recorded size of the block in bytes; 0 when nothing is allocated.
  unsigned long AllocatedSize() const noexcept { return m_nAllocated & ~kLent; }
  /// The length that the last operation recorded: a hint, see the class comment of the sources.
  unsigned long DataLength() const noexcept { return m_nDataLength; }

 private:
  friend struct ZTKStringBlocks;
  friend struct ZTKStringLayout;

  /// Set in m_nAllocated while the block belongs to someone else (string_block.h).
  static constexpr uint32_t kLent = 0x80000000;

  bool OwnsBlock() const noexcept { return m_nAllocated - 1 < kLent - 1; }  // Neither 0 nor lent.
  ZTKString& AppendText(const char* pText, unsigned long nCount) noexcept;

  char* m_pBuffer = nullptr;
  uint32_t m_nDataLength = 0;
  uint32_t m_nAllocated = 0;
};

ZTK_API char* _lstrcpyn(char* pszDst, const char* pszSrc, unsigned long n) noexcept;
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
