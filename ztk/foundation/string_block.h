#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>

#include "ztk/foundation/string.h"

/// How the library itself handles the blocks of its strings; not installed, nothing for
/// applications.
///
/// A block may be *lent* to a string by a larger owner, such as an array that keeps the text of
/// many strings in one allocation. The string then never frees or resizes that block: what outgrows
/// it, shrinks or asks for a fresh buffer moves to a block of the string's own. The owner must
/// outlive the string's use of the block. Apart from that a lent block cannot be told from an owned
/// one.
struct ZTKStringBlocks {
  /// Bytes of the block for a request of `nLength` characters.
  static constexpr unsigned long BlockSize(unsigned long nLength) noexcept {
    if (nLength >= ZTKString::kMaxLength) return ZTKString::kMaxBlock;
    return std::min((nLength & ~15ul) + 20, ZTKString::kMaxBlock);
  }

  /// Lends `raw`, which owns nothing yet, the `nSize` bytes at `pBlock`. They hold a text of
  /// `nLength` characters and its NUL; `nSize` is what `AllocatedSize()` will report,
  /// `BlockSize(nLength)` as a rule.
  static void Adopt(ZTKString& raw, char* pBlock, unsigned long nLength,
                    unsigned long nSize) noexcept {
    raw.m_pBuffer = pBlock;
    raw.m_nDataLength = static_cast<uint32_t>(nLength);
    raw.m_nAllocated = static_cast<uint32_t>(nSize) | ZTKString::kLent;
  }

  static bool IsLent(const ZTKString& text) noexcept {
    return (text.m_nAllocated & ZTKString::kLent) != 0;
  }

  /// Appends `nCount` bytes to `text`, whose length the caller has just counted. The bytes may lie
  /// inside the string. Cut at the maximum length; dropped, false, when memory runs out.
  static bool Append(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                     unsigned long nCount) noexcept;

  /// Makes `text` hold `nCount` bytes that do not lie inside it, as `AssignCopy` would leave it
  /// when it held something else before.
  static void Assign(ZTKString& text, const char* pBytes, unsigned long nCount) noexcept {
    text.Empty();
    Append(text, 0, pBytes, nCount);
  }

  /// Whether `p` points into the block of `text`.
  static bool Contains(const ZTKString& text, const char* p) noexcept {
    const auto start = reinterpret_cast<uintptr_t>(text.m_pBuffer);
    return reinterpret_cast<uintptr_t>(p) - start < text.AllocatedSize();
  }

  /// Gives up the block: frees it unless it is lent. The fields keep their values.
  static void Release(ZTKString& text) noexcept {
    if (text.OwnsBlock()) std::free(text.m_pBuffer);
  }

  /// Gives `text` a block by the rule with a copy of the `nCount` bytes, which may lie inside it,
  /// in place of what it held; empty and unallocated when memory runs out.
  static void Copy(ZTKString& text, const char* pBytes, unsigned long nCount) noexcept;

  /// Formats as `PrintfV` does; the format is not null.
  static int Format(ZTKString& text, const char* pszFormat, va_list args) noexcept ZTK_PRINTF(2, 0);

  /// Replaces the block by one of `nSize` bytes of the string's own, which came from `malloc`.
  static void Take(ZTKString& text, char* pBlock, unsigned long nLength,
                   unsigned long nSize) noexcept {
    Release(text);
    text.m_pBuffer = pBlock;
    text.m_nDataLength = static_cast<uint32_t>(nLength);
    text.m_nAllocated = static_cast<uint32_t>(nSize);
  }

  /// The block, for changing characters in place; null when nothing is allocated.
  static char* Data(ZTKString& text) noexcept { return text.m_pBuffer; }
};
