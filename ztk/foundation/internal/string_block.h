#pragma once

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "ztk/foundation/string.h"

/// How the library itself handles the blocks of its strings; not installed, nothing for
/// applications.
///
/// A text may be *lent* to a string by a larger owner, such as an array that keeps the text of many
/// strings in one allocation. The string then never frees or lengthens it: what outgrows it,
/// shrinks or asks for a fresh buffer moves to a block of the string's own. The owner must outlive
/// the string's use of the text. Such a string reports the block that it would have of its own,
/// though only the text and its NUL are there: its room ends with the recorded data length, which
/// no operation raises in place. Apart from that it cannot be told from another.
struct ZTKStringBlocks {
  /// Bytes of the block for a request of `nLength` characters.
  static constexpr unsigned long BlockSize(unsigned long nLength) noexcept {
    if (nLength >= ZTKString::kMaxLength) return ZTKString::kMaxBlock;
    return std::min((nLength & ~15ul) + 20, ZTKString::kMaxBlock);
  }

  /// Lends `raw`, which owns nothing yet, the text of `nLength` characters and its NUL at `pText`.
  /// `nSize` is what `AllocatedSize()` will report: to look like a copy, `BlockSize(nLength)`.
  static void Adopt(ZTKString& raw, char* pText, unsigned long nLength,
                    unsigned long nSize) noexcept {
    raw.m_pBuffer = pText;
    raw.m_nDataLength = static_cast<uint32_t>(nLength);
    raw.m_nAllocated = static_cast<uint32_t>(nSize) | ZTKString::kLent;
  }

  static bool IsLent(const ZTKString& text) noexcept {
    return (text.m_nAllocated & ZTKString::kLent) != 0;
  }

  /// Bytes that may be written at the start of the block: fewer than reported in a lent one.
  static unsigned long Room(const ZTKString& text) noexcept {
    return IsLent(text) ? text.m_nDataLength + 1ul : text.m_nAllocated;
  }

  /// Bytes of the block to which a string without room for `nLength` characters moves. A lent one
  /// may have to move where the block that it reports would do.
  static unsigned long GrownSize(const ZTKString& text, unsigned long nLength) noexcept {
    return text.AllocatedSize() > nLength ? text.AllocatedSize() : BlockSize(nLength);
  }

  /// Appends `nCount` bytes to `text`, whose length the caller has just counted. The bytes may lie
  /// inside the string. Cut at the maximum length; dropped, false, when memory runs out.
  static bool Append(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                     unsigned long nCount) noexcept {
    if (nCount == 0) return true;
    const unsigned long room = Room(text);
    if (nOldLength >= room || nCount >= room - nOldLength) {
      return AppendInNewBlock(text, nOldLength, pBytes, nCount);
    }
    Place(text.m_pBuffer + nOldLength, pBytes, nCount);
    text.m_nDataLength = static_cast<uint32_t>(nOldLength + nCount);
    return true;
  }

  /// Makes `text` hold `nCount` bytes that do not lie inside it, as `AssignCopy` would leave it
  /// when it held something else before.
  static void Assign(ZTKString& text, const char* pBytes, unsigned long nCount) noexcept {
    text.Empty();
    Append(text, 0, pBytes, nCount);
  }

  /// Whether `p` points into the room of `text`.
  static bool Contains(const ZTKString& text, const char* p) noexcept {
    const auto start = reinterpret_cast<uintptr_t>(text.m_pBuffer);
    return reinterpret_cast<uintptr_t>(p) - start < Room(text);
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

  /// Ends a text that was written through `Data`, within the room, behind `nLength` characters.
  static void Terminate(ZTKString& text, unsigned long nLength) noexcept {
    text.m_pBuffer[nLength] = '\0';
    text.m_nDataLength = static_cast<uint32_t>(nLength);
  }

 private:
  /// Copies the bytes, which may overlap the target, and writes a NUL behind them.
  static void Place(char* pTarget, const char* pBytes, unsigned long nCount) noexcept {
    if (nCount >= 4 && nCount <= 8) {  // What is appended is short as a rule.
      uint32_t first, last;
      std::memcpy(&first, pBytes, 4);
      std::memcpy(&last, pBytes + nCount - 4, 4);
      std::memcpy(pTarget, &first, 4);
      std::memcpy(pTarget + nCount - 4, &last, 4);
    } else {
      std::memmove(pTarget, pBytes, nCount);
    }
    pTarget[nCount] = '\0';
  }

  static bool AppendInNewBlock(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                               unsigned long nCount) noexcept;
};
