#include "ztk/foundation/string.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/foundation/internal/string_block.h"

// Storage, copying and appending. The recorded data length is a hint, which only `Shrink` reads as
// it stands; every other operation counts, unless the length is marked as exact.

namespace {

constexpr unsigned long kToNul = static_cast<unsigned long>(-1);

/// Shorter texts are copied to a new block faster than `realloc` finds out whether they can stay.
constexpr unsigned long kWorthResizing = 256;

}  // namespace

ZTKString& ZTKStringBlocks::AppendMore(ZTKString& text, const char* pBytes,
                                       unsigned long nCount) noexcept {
  Append(text, CountFresh(text), pBytes, nCount, true);
  return text;
}

bool ZTKStringBlocks::AppendGrowing(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                                    unsigned long nCount, bool bExact) noexcept {
  if (nOldLength >= ZTKString::kMaxLength) return true;
  nCount = std::min(nCount, ZTKString::kMaxLength - nOldLength);
  const unsigned long newLength = nOldLength + nCount;
  if (!GrowInPlace(text, newLength)) {
    const bool hasSpare = BlockSize(newLength) <= kLargestSpareSize;
    return MoveToBlock(text, nOldLength, pBytes, nCount, hasSpare, bExact);
  }
  Place(text.m_pBuffer + nOldLength, pBytes, nCount);
  RecordNew(text, newLength, bExact);
  return true;
}

bool ZTKStringBlocks::MoveToBlock(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                                  unsigned long nCount, bool bSpare, bool bExact) noexcept {
  nCount = std::min(nCount, ZTKString::kMaxLength - nOldLength);
  const unsigned long newLength = nOldLength + nCount;
  const unsigned long size = BlockSize(newLength);
  const unsigned long realSize = bSpare ? CapacityFor(size) : size;
  const bool isResized = nOldLength > kWorthResizing && text.OwnsBlock() && !Contains(text, pBytes);
  const uint32_t writable = isResized ? WritableMark(text) : 0;
  const auto oldPlace = reinterpret_cast<uintptr_t>(text.m_pBuffer);
  auto* block = static_cast<char*>(isResized ? std::realloc(text.m_pBuffer, realSize)
                                             : std::malloc(realSize));
  if (block == nullptr) {
    ZTKAllocationWatch::NoteFailure();
    text.Init();  // The old block is not freed: pointers to its text stay good.
    return false;
  }
  if (!isResized && nOldLength != 0) std::memcpy(block, text.m_pBuffer, nOldLength);
  Place(block + nOldLength, pBytes, nCount);
  if (!isResized) FreeBlock(text);  // Not before: the bytes may lie inside it.
  text.m_pBuffer = block;
  const bool isSame = reinterpret_cast<uintptr_t>(block) == oldPlace;
  text.m_nAllocated = Field(size, (bSpare ? kSpare : 0) | (isSame ? writable : 0));
  RecordNew(text, newLength, bExact);
  return true;
}

void ZTKStringBlocks::Copy(ZTKString& text, const char* pBytes, unsigned long nCount,
                           bool bExact) noexcept {
  const unsigned long size = BlockSize(nCount);
  char* const block = Allocate(size);
  if (block == nullptr) return text.Clear();
  std::memcpy(block, pBytes, nCount);
  block[nCount] = '\0';
  AdoptBlock(text, block, nCount, size, bExact);
}

void ZTKStringBlocks::Move(ZTKString& text, ZTKString& from) noexcept {
  if (!IsBorrowed(from)) return text.SwapFields(from);
  const unsigned long length = from.Len();
  if (length != 0) Copy(text, from.m_pBuffer, length, true);
  if (length == 0 || text.m_pBuffer != nullptr) from.Clear();
}

const char ZTKString::s_szEmpty[] = "";

ZTKString::ZTKString(const ZTKString& other) noexcept {
  const unsigned long length = other.Len();
  if (length != 0) ZTKStringBlocks::Copy(*this, other.m_pBuffer, length, true);
}

ZTKString::ZTKString(char ch, unsigned long nRepeat) noexcept { append(ch, nRepeat); }

ZTKString::ZTKString(const void* pStart, const void* pEnd) noexcept {
  const auto start = reinterpret_cast<uintptr_t>(pStart);
  const auto end = reinterpret_cast<uintptr_t>(pEnd);
  if (pStart == nullptr || end <= start) return;
  // The length that would mean "up to the NUL" is far past the maximum, where the copy ends.
  InitWith(static_cast<const char*>(pStart), 0,
           static_cast<unsigned long>(std::min<uintptr_t>(end - start, kMaxLength)));
}

ZTKString::ZTKString(const ZTKString& src, unsigned long nPos, unsigned long nLen) noexcept {
  const unsigned long length = src.Len();
  if (length <= nPos || nLen == 0) return;
  ZTKStringBlocks::Copy(*this, src.m_pBuffer + nPos, std::min(length - nPos, nLen), true);
}

ZTKString::ZTKString(std::string_view text) noexcept {
  InitWith(text.data(), 0, static_cast<unsigned long>(std::min<size_t>(text.size(), kMaxLength)));
}

ZTKString& ZTKString::Init() noexcept {
  m_pBuffer = nullptr;
  m_nDataLength = 0;
  m_nAllocated = 0;
  return *this;
}

void ZTKString::InitWith(const char* psz, unsigned long nPos, unsigned long nLength) noexcept {
  if (psz == nullptr) return;
  psz += nPos;
  const bool isCounted = nLength == kToNul;
  if (isCounted) nLength = ZTKCountOf(std::strlen(psz));
  if (nLength == 0) return;
  ZTKStringBlocks::Copy(*this, psz, std::min(nLength, kMaxLength), isCounted);
}

ZTKString& ZTKString::AssignCopy(const char* psz) noexcept {
  if (psz == nullptr) {
    Empty();
    return *this;
  }
  if (std::strcmp(c_str(), psz) == 0) return *this;

  // A text of our own that differs does not start at the first byte.
  ZTKStringBlocks::Assign(*this, psz, ZTKCountOf(std::strlen(psz)), true);
  return *this;
}

unsigned long ZTKString::AllocatedSize() const noexcept {
  return ZTKStringBlocks::ReportedSize(*this);
}

ZTKString& ZTKString::operator=(const unsigned char* psz) noexcept {
  return AssignCopy(reinterpret_cast<const char*>(psz));
}

ZTKString& ZTKString::operator=(const ZTKString& other) noexcept {
  if (this == &other || *this == other) return *this;
  ZTKStringBlocks::Assign(*this, other.c_str(), other.Len(), true);
  return *this;
}

ZTKString& ZTKString::MoveAssign(ZTKString& other) noexcept {
  using Blocks = ZTKStringBlocks;
  if (this == &other) return *this;
  const unsigned long length = other.Len();
  // As a copy would be: in the block that there is, or in one by the rule. Nothing happens to one
  // that is equal.
  const bool needsBlock = length != 0 && length >= Blocks::ReportedSize(*this) &&
                          (m_pBuffer == nullptr || !(*this == other));
  if (needsBlock && !other.IsBorrowed() &&
      Blocks::ReportedSize(other) == Blocks::BlockSize(length)) {
    Blocks::FreeBlock(*this);
    Init();
    SwapFields(other);
    Blocks::Record(*this, length);
    return *this;
  }
  *this = static_cast<const ZTKString&>(other);
  if (Len() == length) other.Clear();
  return *this;
}

void ZTKString::MoveBorrowed(ZTKString& other) noexcept { ZTKStringBlocks::Move(*this, other); }

void ZTKString::SwapBorrowed(ZTKString& other) noexcept {
  if (this == &other) return;
  ZTKString mine, others;
  ZTKStringBlocks::Move(mine, *this);
  if (m_nAllocated != 0) return;
  ZTKStringBlocks::Move(others, other);
  if (other.m_nAllocated != 0) return SwapFields(mine);
  SwapFields(others);
  other.SwapFields(mine);
}

ZTKString& ZTKString::operator=(char ch) noexcept {
  Empty();
  return append(ch, 1);
}

void ZTKString::Empty() noexcept {
  if (m_pBuffer == nullptr) return;
  m_pBuffer[0] = '\0';
  ZTKStringBlocks::Record(*this, 0);
}

void ZTKString::Clear() noexcept {
  ZTKStringBlocks::FreeBlock(*this);
  Init();
}

bool ZTKString::Alloc(unsigned long n) noexcept {
  n = std::min(n, kMaxLength);
  if (ZTKStringBlocks::ReportedSize(*this) > n) return true;
  if (m_pBuffer == nullptr) return AllocBuffer(n);

  const unsigned long size = ZTKStringBlocks::BlockSize(n);
  const bool isExact = HasExactLength();
  const uint32_t writable = ZTKStringBlocks::WritableMark(*this);
  const auto oldPlace = reinterpret_cast<uintptr_t>(m_pBuffer);
  char* block;
  if (ZTKStringBlocks::IsBorrowed(*this)) {
    block = static_cast<char*>(std::malloc(size));
    // All of it: an argument may point behind the NUL.
    if (block != nullptr) std::memcpy(block, m_pBuffer, AllocatedSize());
  } else {
    block = static_cast<char*>(std::realloc(m_pBuffer, size));
  }
  if (block == nullptr) {
    ZTKAllocationWatch::NoteFailure();
    Init();  // The old block is not freed: pointers to its text stay good.
    return false;
  }
  m_pBuffer = block;
  const bool isSame = reinterpret_cast<uintptr_t>(block) == oldPlace;
  m_nAllocated = ZTKStringBlocks::Field(size, isSame ? writable : 0);
  ZTKStringBlocks::Record(*this, isExact ? m_nDataLength : ZTKCountOf(std::strlen(block)));
  return true;
}

bool ZTKString::AllocBuffer(unsigned long n) noexcept {
  Clear();
  const unsigned long size = ZTKStringBlocks::BlockSize(n);
  char* const block = ZTKStringBlocks::Allocate(size);
  if (block == nullptr) return false;
  block[0] = '\0';
  block[size - 1] = '\0';
  ZTKStringBlocks::AdoptBlock(*this, block, 0, size, true);
  return true;
}

bool ZTKString::Shrink() noexcept {
  if (m_nDataLength == ZTKStringBlocks::ReportedSize(*this)) return true;
  const unsigned long length = Len();
  if (length == 0) return true;

  auto* block = static_cast<char*>(std::malloc(length + 1));
  if (block == nullptr) return false;
  std::memcpy(block, m_pBuffer, length + 1);
  ZTKStringBlocks::AdoptBlock(*this, block, length, length, true);
  return true;
}

ZTKString& ZTKString::Truncate(unsigned long n) noexcept {
  if (Len() > n) {
    m_pBuffer[n] = '\0';
    ZTKStringBlocks::NoteStale(*this);
  }
  return *this;
}

ZTKString& ZTKString::erase(unsigned long nPos, unsigned long n) noexcept {
  const unsigned long length = Len();
  if (nPos >= length) return *this;
  if (n > length - nPos) n = length - nPos;
  if (n == 0) return *this;
  std::memmove(m_pBuffer + nPos, m_pBuffer + nPos + n, length - nPos - n + 1);
  ZTKStringBlocks::NoteStale(*this);
  return *this;
}

char* ZTKString::erase(char* pFirst, char* pLast) noexcept {
  if (pFirst == nullptr || pLast == nullptr || Len() == 0) return nullptr;
  // Through integers, so that any two pointers have a difference; a reversed range is a huge count.
  const auto first = reinterpret_cast<uintptr_t>(pFirst);
  erase(ZTKCountOf(first - reinterpret_cast<uintptr_t>(m_pBuffer)),
        ZTKCountOf(reinterpret_cast<uintptr_t>(pLast) - first));
  ZTKStringBlocks::NoteWritable(*this);
  return pFirst;
}

bool ZTKString::ConcatSelf(unsigned long nLen, const char* psz, unsigned long nMax) noexcept {
  if (psz == nullptr) return true;
  const auto count = static_cast<unsigned long>(::strnlen(psz, std::min(nLen, nMax)));
  return count == 0 ||
         ZTKStringBlocks::Append(*this, ZTKStringBlocks::CountFresh(*this), psz, count, true);
}

ZTKString& ZTKString::AppendText(const char* pText, unsigned long nCount) noexcept {
  using Blocks = ZTKStringBlocks;
  const unsigned long length = m_nDataLength;
  const unsigned long size = (m_nAllocated & Blocks::kSizeBits) + Blocks::kRuleEnd;
  // What is most common, a few characters more behind a length that is known, calls nothing.
  if (!HasExactLength() || nCount > Blocks::kFewBytes || length + nCount >= size) {
    return Blocks::AppendMore(*this, pText, nCount);
  }
  ZTKMoveFewBytes(m_pBuffer + length, pText, nCount);
  m_pBuffer[length + nCount] = '\0';
  m_nDataLength = static_cast<uint32_t>(length + nCount);
  return *this;
}

ZTKString& ZTKString::append(char ch, unsigned long nRepeat) noexcept {
  using Blocks = ZTKStringBlocks;
  const bool isExact = ch != '\0';  // What is behind a NUL counts for the recorded length only.
  if (nRepeat == 1 && isExact && HasExactLength()) {
    const uint32_t end = m_nDataLength + 1;
    if (end < (m_nAllocated & Blocks::kSizeBits) + Blocks::kRuleEnd) {
      m_pBuffer[end - 1] = ch;
      m_pBuffer[end] = '\0';
      m_nDataLength = end;
      return *this;
    }
  }
  const unsigned long length = Blocks::CountFresh(*this);
  if (nRepeat == 0 || length >= kMaxLength) return *this;
  if (nRepeat == 1) {
    Blocks::Append(*this, length, &ch, 1, isExact);
    return *this;
  }
  nRepeat = std::min(nRepeat, kMaxLength - length);

  const unsigned long newLength = length + nRepeat;
  if (Blocks::ReportedSize(*this) <= newLength && !Alloc(newLength)) return *this;
  std::memset(m_pBuffer + length, ch, nRepeat);
  m_pBuffer[newLength] = '\0';
  Blocks::RecordNew(*this, newLength, isExact);
  return *this;
}

char ZTKString::operator[](unsigned long i) const noexcept {
  return i < Len() ? m_pBuffer[i] : '\0';
}

char& ZTKString::operator[](unsigned long i) noexcept {
  static char s;  // One byte for all strings, so that a wild write harms none of them.
  if (i >= Len()) return s;
  ZTKStringBlocks::NoteWritable(*this);
  return m_pBuffer[i];
}

char ZTKString::Last() const noexcept {
  const unsigned long length = Len();
  return length != 0 ? m_pBuffer[length - 1] : '\0';
}

char& ZTKString::Last() noexcept {
  const unsigned long length = Len();
  return (*this)[length != 0 ? length - 1 : 0];
}

char* _lstrcpyn(char* pszDst, const char* pszSrc, unsigned long n) noexcept {
  if (pszDst == nullptr || pszSrc == nullptr || n == 0) return nullptr;
  const size_t length = std::min<size_t>(::strnlen(pszSrc, n), n - 1);
  std::memmove(pszDst, pszSrc, length);
  pszDst[length] = '\0';
  return pszDst;
}
