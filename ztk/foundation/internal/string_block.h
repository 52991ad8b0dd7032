#pragma once

#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/foundation/short_bytes.h"
#include "ztk/foundation/string.h"

/// How the library itself handles the blocks of its strings; not installed, nothing for
/// applications. Two bits of a string's allocated size are the library's own.
///
/// A *borrowed* block belongs to a larger allocation that outlives the string's use of it, such as
/// a slab of an array (BM_AddStrings, BM_Load64MiB8). All that the string reports of it is the
/// string's to write to, but it never frees or resizes it: what does not fit there, shrinks or asks
/// for a fresh buffer moves to a block that the string owns.
///
/// A short text that grows gets a block with *spare* capacity: the size that it reports follows the
/// rule, step by step, while the block is a power of two less the allocator's header, so that most
/// steps only raise that size: amortised O(1) (BM_StringAppend8).
struct ZTKStringBlocks {
  static constexpr uint32_t kBorrowed = 0x80000000;
  static constexpr uint32_t kSpare = 0x40000000;

  /// Bytes of the block for a request of `nLength` characters.
  static constexpr unsigned long BlockSize(unsigned long nLength) noexcept {
    return nLength < ZTKString::kMaxLength - 8 ? (nLength & ~15ul) + 20 : ZTKString::kMaxBlock;
  }

  /// `AllocatedSize()`, without a call.
  static unsigned long ReportedSize(const ZTKString& text) noexcept {
    return text.m_nAllocated & ~(kBorrowed | kSpare);
  }
  static bool IsBorrowed(const ZTKString& text) noexcept {
    return (text.m_nAllocated & kBorrowed) != 0;
  }

  /// A block from `malloc`; null, and noted, when the allocation fails.
  static char* Allocate(unsigned long nSize) noexcept {
    void* const block = std::malloc(nSize);
    if (block == nullptr) ZTKAllocationWatch::NoteFailure();
    return static_cast<char*>(block);
  }

  /// Has `raw`, which owns nothing yet, borrow the `nSize` bytes at `pBlock`. They start with a
  /// text of `nLength` characters and its NUL.
  static void BorrowBlock(ZTKString& raw, char* pBlock, unsigned long nLength,
                          unsigned long nSize) noexcept {
    raw.m_pBuffer = pBlock;
    raw.m_nDataLength = static_cast<uint32_t>(nLength);
    raw.m_nAllocated = static_cast<uint32_t>(nSize) | kBorrowed;
  }

  /// Has `text` own `pBlock`, which came from `malloc`, in place of the block that it had.
  static void AdoptBlock(ZTKString& text, char* pBlock, unsigned long nLength,
                         unsigned long nSize) noexcept {
    FreeBlock(text);
    text.m_pBuffer = pBlock;
    text.m_nDataLength = static_cast<uint32_t>(nLength);
    text.m_nAllocated = static_cast<uint32_t>(nSize);
  }

  /// Frees the block if the string owns it. The fields keep their values.
  static void FreeBlock(ZTKString& text) noexcept {
    if (text.OwnsBlock()) std::free(text.m_pBuffer);
  }

  /// Texts from this length on are counted by `strlen`, whatever has been done to them.
  static constexpr unsigned long kShort = 64;

  /// The length of a short text, kShort for any other. Byte by byte, since the text has often been
  /// written a moment ago in several stores: a wide load over them has no store forwarding and
  /// waits until they have reached the cache (BM_StringAppend8, which tells `strlen` from it).
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
  /// inside the string. Cut at the maximum length; dropped, false, when an allocation fails.
  static bool Append(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                     unsigned long nCount) noexcept {
    if (nCount == 0) return true;
    const unsigned long size = ReportedSize(text);
    if (text.m_pBuffer == nullptr || nOldLength >= size || nCount >= size - nOldLength) {
      return AppendGrowing(text, nOldLength, pBytes, nCount);
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
    if (nCount >= ReportedSize(text)) {
      MoveToBlock(text, 0, pBytes, nCount, false);
      return;
    }
    Place(text.m_pBuffer, pBytes, nCount);
    text.m_nDataLength = static_cast<uint32_t>(nCount);
  }

  /// Whether `p` points into the block of `text`.
  static bool Contains(const ZTKString& text, const char* p) noexcept {
    const auto start = reinterpret_cast<uintptr_t>(text.m_pBuffer);
    return reinterpret_cast<uintptr_t>(p) - start < ReportedSize(text);
  }

  /// Gives `text` a block by the rule with a copy of the `nCount` bytes, which may lie inside it,
  /// in place of what it held; empty and unallocated when the allocation fails.
  static void Copy(ZTKString& text, const char* pBytes, unsigned long nCount) noexcept;

  /// Formats as `PrintfV` does; the format is not null.
  static int Format(ZTKString& text, const char* pszFormat, va_list args) noexcept ZTK_PRINTF(2, 0);

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
      ZTKMoveFewBytes(pTarget, pBytes, nCount);
    } else {
      std::memmove(pTarget, pBytes, nCount);
    }
    pTarget[nCount] = '\0';
  }

  /// What is appended is short as a rule, and then copied without a call.
  static constexpr unsigned long kFewBytes = 16;

  /// What `ZTKString::AppendText` does not do itself. The length is kShort when it is not counted.
  [[gnu::noinline]] static ZTKString& AppendMore(ZTKString& text, unsigned long nShortLength,
                                                 const char* pBytes, unsigned long nCount) noexcept;

  /// Bytes of the block with spare capacity that reports `nSize`, and of all those that report more
  /// and still fit there.
  static constexpr unsigned long CapacityFor(unsigned long nSize) noexcept {
    return std::bit_ceil(std::max(nSize, 56ul) + 8) - 8;
  }
  /// Raises the reported size for a text of `nLength` characters, which do not fit in it as it is;
  /// false where the capacity is too small as well.
  static bool GrowInPlace(ZTKString& text, unsigned long nLength) noexcept {
    const unsigned long size = BlockSize(nLength);
    if ((text.m_nAllocated & kSpare) == 0 || size > CapacityFor(ReportedSize(text))) return false;
    text.m_nAllocated = static_cast<uint32_t>(size) | kSpare;
    return true;
  }

  static bool AppendGrowing(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                            unsigned long nCount) noexcept;
  /// Appends in a new block that the string owns.
  static bool MoveToBlock(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                          unsigned long nCount, bool bSpare) noexcept;
};
