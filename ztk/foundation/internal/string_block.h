#pragma once

#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "ztk/foundation/string.h"

/// How the library itself handles the blocks of its strings; not installed, nothing for
/// applications.
///
/// A block may be *lent* to a string by a larger owner, such as an array that keeps many strings in
/// one allocation. All of the block that the string reports is there and is the string's to write
/// to, but it never frees or resizes it: what outgrows it, shrinks or asks for a fresh buffer moves
/// to a block of the string's own. The owner must outlive the string's use of the block.
///
/// A short text that grows gets a *roomy* block: it reports the size that the rule gives, but there
/// is more of it, so that the next steps of growth raise that size and move nothing.
struct ZTKStringBlocks {
  /// Bytes of the block for a request of `nLength` characters.
  static constexpr unsigned long BlockSize(unsigned long nLength) noexcept {
    return nLength < ZTKString::kMaxLength - 8 ? (nLength & ~15ul) + 20 : ZTKString::kMaxBlock;
  }

  /// Lends `raw`, which owns nothing yet, the `nSize` bytes at `pBlock`. They start with a text of
  /// `nLength` characters and its NUL.
  static void Adopt(ZTKString& raw, char* pBlock, unsigned long nLength,
                    unsigned long nSize) noexcept {
    raw.m_pBuffer = pBlock;
    raw.m_nDataLength = static_cast<uint32_t>(nLength);
    raw.m_nAllocated = static_cast<uint32_t>(nSize) | ZTKString::kLent;
  }

  static bool IsLent(const ZTKString& text) noexcept {
    return (text.m_nAllocated & ZTKString::kLent) != 0;
  }

  /// Texts from this length on are counted by `strlen`, whatever has been done to them.
  static constexpr unsigned long kShort = 64;

  /// The length of a short text, kShort for any other: one byte after the other. Where the text has
  /// been written a moment ago, many bytes at once are slower: the processor would wait for the
  /// stores that wrote them piece by piece.
  static unsigned long CountShort(const char* pText) noexcept {
    for (unsigned long i = 0; i != kShort; i += 8) {
      if (pText[i] == '\0') return i;
      if (pText[i + 1] == '\0') return i + 1;
      if (pText[i + 2] == '\0') return i + 2;
      if (pText[i + 3] == '\0') return i + 3;
      if (pText[i + 4] == '\0') return i + 4;
      if (pText[i + 5] == '\0') return i + 5;
      if (pText[i + 6] == '\0') return i + 6;
      if (pText[i + 7] == '\0') return i + 7;
    }
    return kShort;
  }

  /// The length of a text that has just been written; `nExpected` only tells how best to count it.
  static unsigned long CountFresh(const char* pText, unsigned long nExpected) noexcept {
    const unsigned long length = nExpected < kShort ? CountShort(pText) : kShort;
    return length < kShort ? length : static_cast<unsigned long>(std::strlen(pText));
  }
  static unsigned long CountFresh(const ZTKString& text) noexcept {
    return CountFresh(text.c_str(), text.m_nDataLength);
  }

  /// Appends `nCount` bytes to `text`, whose length the caller has just counted. The bytes may lie
  /// inside the string. Cut at the maximum length; dropped, false, when memory runs out.
  static bool Append(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                     unsigned long nCount) noexcept {
    if (nCount == 0) return true;
    const unsigned long room = text.AllocatedSize();
    if (text.m_pBuffer == nullptr || nOldLength >= room || nCount >= room - nOldLength) {
      return AppendBeyondRoom(text, nOldLength, pBytes, nCount);
    }
    Place(text.m_pBuffer + nOldLength, pBytes, nCount);
    text.m_nDataLength = static_cast<uint32_t>(nOldLength + nCount);
    return true;
  }

  /// Makes `text` hold `nCount` bytes, as `AssignCopy` would leave it when it held something else
  /// before. They may lie inside it, but not at its start.
  static void Assign(ZTKString& text, const char* pBytes, unsigned long nCount) noexcept {
    text.Empty();
    if (nCount == 0) return;
    if (nCount >= text.AllocatedSize()) {
      MoveToBlock(text, 0, pBytes, nCount, false);
      return;
    }
    Place(text.m_pBuffer, pBytes, nCount);
    text.m_nDataLength = static_cast<uint32_t>(nCount);
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

  /// Ends a text that was written through `Data`, within the block, behind `nLength` characters.
  static void Terminate(ZTKString& text, unsigned long nLength) noexcept {
    text.m_pBuffer[nLength] = '\0';
    text.m_nDataLength = static_cast<uint32_t>(nLength);
  }

  /// Copies the bytes, at least one, which may overlap the target, and writes a NUL behind them.
  static void Place(char* pTarget, const char* pBytes, unsigned long nCount) noexcept {
    if (nCount <= kFewBytes) {
      PlaceFew(pTarget, pBytes, nCount);
    } else {
      std::memmove(pTarget, pBytes, nCount);
    }
    pTarget[nCount] = '\0';
  }

  /// What is appended is short as a rule, and then copied without a call.
  static constexpr unsigned long kFewBytes = 16;

  static void PlaceFew(char* pTarget, const char* pBytes, unsigned long nCount) noexcept {
    if (nCount > 8) return PlaceEnds<uint64_t>(pTarget, pBytes, nCount);
    if (nCount >= 4) return PlaceEnds<uint32_t>(pTarget, pBytes, nCount);
    const char first = pBytes[0];
    const char middle = pBytes[nCount / 2];
    const char last = pBytes[nCount - 1];
    pTarget[0] = first;
    pTarget[nCount / 2] = middle;
    pTarget[nCount - 1] = last;
  }
  /// Copies as many bytes as one `Unit` and a last one that overlaps it cover.
  template <typename Unit>
  static void PlaceEnds(char* pTarget, const char* pBytes, unsigned long nCount) noexcept {
    Unit first, last;
    std::memcpy(&first, pBytes, sizeof first);
    std::memcpy(&last, pBytes + nCount - sizeof last, sizeof last);
    std::memcpy(pTarget, &first, sizeof first);
    std::memcpy(pTarget + nCount - sizeof last, &last, sizeof last);
  }

  /// What `ZTKString::AppendText` does not do itself. The length is kShort when it is not counted.
  [[gnu::noinline]] static ZTKString& AppendMore(ZTKString& text, unsigned long nShortLength,
                                                 const char* pBytes, unsigned long nCount) noexcept;

  /// Bytes of the roomy block that reports `nSize`, and of all those that report more and still fit
  /// there. It fills what the allocator gives out for a power of two.
  static constexpr unsigned long RoomySize(unsigned long nSize) noexcept {
    return std::bit_ceil(std::max(nSize, 56ul) + 8) - 8;
  }
  /// Raises the reported size of a roomy block for a text of `nLength` characters, which do not fit
  /// in it as it is; false where the real size is too small as well.
  static bool GrowInPlace(ZTKString& text, unsigned long nLength) noexcept {
    const unsigned long size = BlockSize(nLength);
    if ((text.m_nAllocated & ZTKString::kRoomy) == 0) return false;
    if (size > RoomySize(text.AllocatedSize())) return false;
    text.m_nAllocated = static_cast<uint32_t>(size) | ZTKString::kRoomy;
    return true;
  }

  static bool AppendBeyondRoom(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                               unsigned long nCount) noexcept;
  /// Appends in a block of the string's own and gives up the one that it had.
  static bool MoveToBlock(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                          unsigned long nCount, bool bRoomy) noexcept;
};
