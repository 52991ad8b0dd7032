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
/// applications.
///
/// The highest bit of a string's allocated size says that its block is *borrowed* from a larger
/// allocation that outlives the string's use of it, such as a slab of an array (BM_AddStrings,
/// BM_Load64MiB8). All that the string reports of it is the string's to write to, but it never
/// frees or resizes it: what does not fit there, shrinks or asks for a fresh buffer moves to a
/// block that the string owns.
///
/// A size of the rule ends in the bits 0100, which say nothing: kMarked tells that they are marks.
///
/// kExact: the recorded length is the text's, and `Len` need not count (BM_StringAppendChar). An
/// operation that leaves the recorded length as it was clears the mark; the next one that records
/// a length sets it again, unless the block is kWritable.
///
/// kWritable: a reference or pointer to a character was handed out, and whoever keeps it may write
/// a NUL at any time: lengths in this block are counted, however long the string keeps it.
///
/// kSpare: the block is larger than it reports. The reported size follows the rule, step by step,
/// while most steps only raise it: amortised O(1) (BM_StringAppend8, BM_StringAppendChar).
///
/// A shrunk block has any size, and no room for marks. Where its length is exact it is that size,
/// and the field has marks and no size. Without kMarked a length is never exact.
struct ZTKStringBlocks {
  static constexpr uint32_t kBorrowed = 0x80000000;
  static constexpr uint32_t kMarked = 0x40000000;
  static constexpr uint32_t kExact = 1;
  static constexpr uint32_t kWritable = 2;
  static constexpr uint32_t kSpare = 8;
  static constexpr uint32_t kSizeBits = 0x3FFFFFF0;
  static constexpr uint32_t kRuleEnd = 4;

  /// Bytes of the block for a request of `nLength` characters.
  static constexpr unsigned long BlockSize(unsigned long nLength) noexcept {
    return nLength < ZTKString::kMaxLength - 8 ? (nLength & ~15ul) + 20 : ZTKString::kMaxBlock;
  }

  /// The field for a size, with the marks where it has room for them.
  static constexpr uint32_t Field(unsigned long nSize, uint32_t nMarks = 0) noexcept {
    const auto size = static_cast<uint32_t>(nSize);
    const bool hasRoom = (size & 15) == kRuleEnd && size > kRuleEnd;
    return hasRoom ? kMarked | (size & kSizeBits) | nMarks : size;
  }

  static constexpr uint32_t kShrunk = kMarked | kExact;
  /// Shorter texts are counted: with the least size of the rule as its own, 4, a shrunk block must
  /// look full.
  static constexpr unsigned long kLeastShrunk = 4;

  /// `AllocatedSize()`, without a call.
  static unsigned long ReportedSize(const ZTKString& text) noexcept {
    const uint32_t field = text.m_nAllocated;
    if ((field & kMarked) == 0) return field & ~kBorrowed;
    const uint32_t size = field & kSizeBits;
    return size != 0 ? size | kRuleEnd : text.m_nDataLength;
  }
  static bool IsBorrowed(const ZTKString& text) noexcept {
    return (text.m_nAllocated & kBorrowed) != 0;
  }
  static bool IsExact(const ZTKString& text) noexcept { return text.HasExactLength(); }

  /// Records a length that the text may not have.
  static void RecordHint(ZTKString& text, unsigned long nLength) noexcept {
    NoteStale(text);
    text.m_nDataLength = static_cast<uint32_t>(nLength);
  }
  /// Records the length of the text.
  static void Record(ZTKString& text, unsigned long nLength) noexcept {
    if (text.m_nAllocated == kShrunk) text.m_nAllocated = Field(text.m_nDataLength);
    text.m_nDataLength = static_cast<uint32_t>(nLength);
    const uint32_t field = text.m_nAllocated;
    if ((field & (kMarked | kWritable)) == kMarked) text.m_nAllocated = field | kExact;
  }
  /// To be called where the text gets another length and none is recorded.
  static void NoteStale(ZTKString& text) noexcept {
    if (!text.HasExactLength()) return;
    text.m_nAllocated =
        text.m_nAllocated == kShrunk ? Field(text.m_nDataLength) : text.m_nAllocated & ~kExact;
  }
  /// To be called where a caller gets the means to write to the block, and may keep them.
  static void NoteWritable(ZTKString& text) noexcept {
    NoteStale(text);
    if ((text.m_nAllocated & kMarked) != 0) text.m_nAllocated |= kWritable;
  }

  /// A block from `malloc`; null, and noted, when the allocation fails.
  static char* Allocate(unsigned long nSize) noexcept {
    void* const block = std::malloc(nSize);
    if (block == nullptr) ZTKAllocationWatch::NoteFailure();
    return static_cast<char*>(block);
  }

  /// Has `raw`, which owns nothing yet, borrow the `nSize` bytes at `pBlock`. They start with a
  /// text of `nLength` characters and its NUL. Its lengths are exact only where nobody but the
  /// string writes there, and the text holds no NUL.
  static void BorrowBlock(ZTKString& raw, char* pBlock, unsigned long nLength, unsigned long nSize,
                          bool bExact = false) noexcept {
    raw.m_pBuffer = pBlock;
    raw.m_nDataLength = static_cast<uint32_t>(nLength);
    raw.m_nAllocated = Field(nSize, bExact ? kExact : kWritable) | kBorrowed;
  }

  /// Has `text` own `pBlock`, which came from `malloc`, in place of the block that it had. With a
  /// text that holds no NUL the length is exact.
  static void AdoptBlock(ZTKString& text, char* pBlock, unsigned long nLength, unsigned long nSize,
                         bool bExact = false) noexcept {
    FreeBlock(text);
    text.m_pBuffer = pBlock;
    text.m_nDataLength = static_cast<uint32_t>(nLength);
    const bool isShrunk = bExact && nLength == nSize && nLength >= kLeastShrunk;
    text.m_nAllocated = isShrunk ? kShrunk : Field(nSize, bExact ? kExact : 0);
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
    if (text.HasExactLength()) return text.m_nDataLength;
    return CountFresh(text.c_str(), text.m_nDataLength);
  }

  /// Appends `nCount` bytes to `text`, whose length the caller knows. The bytes may lie inside the
  /// string; with `bExact` they hold no NUL. Cut at the maximum length; dropped, false, when an
  /// allocation fails.
  static bool Append(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                     unsigned long nCount, bool bExact = false) noexcept {
    if (nCount == 0) return true;
    const unsigned long size = ReportedSize(text);
    if (text.m_pBuffer == nullptr || nOldLength >= size || nCount >= size - nOldLength) {
      return AppendGrowing(text, nOldLength, pBytes, nCount, bExact);
    }
    Place(text.m_pBuffer + nOldLength, pBytes, nCount);
    RecordNew(text, nOldLength + nCount, bExact);
    return true;
  }

  /// Makes `text` hold `nCount` bytes, as `AssignCopy` would leave it when it held something else
  /// before. They may lie inside it, but not at its start; with `bExact` they hold no NUL.
  static void Assign(ZTKString& text, const char* pBytes, unsigned long nCount,
                     bool bExact = false) noexcept {
    text.Empty();
    if (nCount == 0) return;
    if (nCount >= ReportedSize(text)) {
      MoveToBlock(text, 0, pBytes, nCount, false, bExact);
      return;
    }
    Place(text.m_pBuffer, pBytes, nCount);
    RecordNew(text, nCount, bExact);
  }

  /// Whether `p` points into the block of `text`.
  static bool Contains(const ZTKString& text, const char* p) noexcept {
    const auto start = reinterpret_cast<uintptr_t>(text.m_pBuffer);
    return reinterpret_cast<uintptr_t>(p) - start < ReportedSize(text);
  }

  /// Gives `text` a block by the rule with a copy of the `nCount` bytes, which may lie inside it,
  /// in place of what it held; empty and unallocated when the allocation fails. With `bExact` they
  /// hold no NUL.
  static void Copy(ZTKString& text, const char* pBytes, unsigned long nCount, bool bExact) noexcept;

  /// Has `text`, which owns nothing yet, be what `from` was; `from` is then empty and has no block.
  /// Only a borrowed text is copied, and stays where it is when the allocation fails.
  static void Move(ZTKString& text, ZTKString& from) noexcept;

  /// Formats as `PrintfV` does; the format is not null.
  static int Format(ZTKString& text, const char* pszFormat, va_list args) noexcept ZTK_PRINTF(2, 0);

  /// The block, for changing characters in place until the next operation of the string; null when
  /// nothing is allocated.
  static char* Data(ZTKString& text) noexcept {
    NoteStale(text);
    return text.m_pBuffer;
  }

  /// Ends a text that was written through `Data`, within the block, behind `nLength` characters,
  /// which may hold NULs.
  static void Terminate(ZTKString& text, unsigned long nLength) noexcept {
    text.m_pBuffer[nLength] = '\0';
    RecordHint(text, nLength);
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

  /// What `ZTKString::AppendText` does not do itself.
  [[gnu::noinline]] static ZTKString& AppendMore(ZTKString& text, const char* pBytes,
                                                 unsigned long nCount) noexcept;

  /// Blocks up to this one, in bytes, have spare capacity. Larger ones are whole pages anyway.
  static constexpr unsigned long kLargestSpareSize = 0x10000000;
  /// Bytes of the block with spare capacity that reports `nSize`, and of all those that report more
  /// and still fit there: a power of two up to 1 KiB, an eighth of it at most beyond, less the
  /// allocator's header.
  static constexpr unsigned long CapacityFor(unsigned long nSize) noexcept {
    if (nSize <= 1016) return std::bit_ceil(std::max(nSize, 56ul) + 8) - 8;
    const unsigned long step = std::bit_floor(nSize + 8) / 8;
    return (nSize + 8 + step - 1) / step * step - 8;
  }
  /// Raises the reported size for a text of `nLength` characters, which do not fit in it as it is;
  /// false where the capacity is too small as well.
  static bool GrowInPlace(ZTKString& text, unsigned long nLength) noexcept {
    constexpr uint32_t kMarkedSpare = kMarked | kSpare;
    const unsigned long size = BlockSize(nLength);
    const uint32_t field = text.m_nAllocated;
    if ((field & kMarkedSpare) != kMarkedSpare || size > CapacityFor(ReportedSize(text))) {
      return false;
    }
    text.m_nAllocated = Field(size, field & ~(kSizeBits | kMarked));
    return true;
  }

  /// kWritable, if the block has the mark or no room for it: what its next user has to assume.
  static uint32_t WritableMark(const ZTKString& text) noexcept {
    return (text.m_nAllocated & kMarked) != 0 ? text.m_nAllocated & kWritable : kWritable;
  }
  static void RecordNew(ZTKString& text, unsigned long nLength, bool bExact) noexcept {
    bExact ? Record(text, nLength) : RecordHint(text, nLength);
  }
  static bool AppendGrowing(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                            unsigned long nCount, bool bExact) noexcept;
  /// Appends in a new block that the string owns.
  static bool MoveToBlock(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                          unsigned long nCount, bool bSpare, bool bExact) noexcept;
};
