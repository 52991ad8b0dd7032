#include "ztk/foundation/string.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/foundation/internal/string_block.h"

// Storage, copying and appending. The recorded data length is a hint that only `Shrink` reads;
// every other operation counts.

namespace {

constexpr unsigned long kToNul = static_cast<unsigned long>(-1);

/// The largest reported size of a block with spare capacity.
constexpr unsigned long kLargestSpareSize = 1016;

/// Shorter texts are copied to a new block faster than `realloc` finds out whether they can stay.
constexpr unsigned long kWorthResizing = 256;

}  // namespace

ZTKString& ZTKStringBlocks::AppendMore(ZTKString& text, unsigned long nShortLength,
                                       const char* pBytes, unsigned long nCount) noexcept {
  Append(text, nShortLength < kShort ? nShortLength : text.Len(), pBytes, nCount);
  return text;
}

bool ZTKStringBlocks::AppendGrowing(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                                    unsigned long nCount) noexcept {
  if (nOldLength >= ZTKString::kMaxLength) return true;
  nCount = std::min(nCount, ZTKString::kMaxLength - nOldLength);
  const unsigned long newLength = nOldLength + nCount;
  if (!GrowInPlace(text, newLength)) {
    const bool hasSpare = BlockSize(newLength) <= kLargestSpareSize;
    return MoveToBlock(text, nOldLength, pBytes, nCount, hasSpare);
  }
  Place(text.m_pBuffer + nOldLength, pBytes, nCount);
  text.m_nDataLength = static_cast<uint32_t>(newLength);
  return true;
}

bool ZTKStringBlocks::MoveToBlock(ZTKString& text, unsigned long nOldLength, const char* pBytes,
                                  unsigned long nCount, bool bSpare) noexcept {
  nCount = std::min(nCount, ZTKString::kMaxLength - nOldLength);
  const unsigned long newLength = nOldLength + nCount;
  const unsigned long size = BlockSize(newLength);
  const unsigned long realSize = bSpare ? CapacityFor(size) : size;
  const bool isResized = nOldLength > kWorthResizing && text.OwnsBlock() && !Contains(text, pBytes);
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
  text.m_nDataLength = static_cast<uint32_t>(newLength);
  text.m_nAllocated = static_cast<uint32_t>(size) | (bSpare ? kSpare : 0);
  return true;
}

void ZTKStringBlocks::Copy(ZTKString& text, const char* pBytes, unsigned long nCount) noexcept {
  const unsigned long size = BlockSize(nCount);
  char* const block = Allocate(size);
  if (block == nullptr) return text.Clear();
  std::memcpy(block, pBytes, nCount);
  block[nCount] = '\0';
  AdoptBlock(text, block, nCount, size);
}

const char ZTKString::s_szEmpty[] = "";

ZTKString::ZTKString(const ZTKString& other) noexcept {
  const unsigned long length = other.Len();
  if (length != 0) ZTKStringBlocks::Copy(*this, other.m_pBuffer, length);
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
  ZTKStringBlocks::Copy(*this, src.m_pBuffer + nPos, std::min(length - nPos, nLen));
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
  if (nLength == kToNul) nLength = ZTKCountOf(std::strlen(psz));
  if (nLength == 0) return;
  ZTKStringBlocks::Copy(*this, psz, std::min(nLength, kMaxLength));
}

ZTKString& ZTKString::AssignCopy(const char* psz) noexcept {
  if (psz == nullptr) {
    Empty();
    return *this;
  }
  if (std::strcmp(c_str(), psz) == 0) return *this;

  // A text of our own that differs does not start at the first byte.
  ZTKStringBlocks::Assign(*this, psz, ZTKCountOf(std::strlen(psz)));
  return *this;
}

unsigned long ZTKString::AllocatedSize() const noexcept {
  return ZTKStringBlocks::ReportedSize(*this);
}

ZTKString& ZTKString::operator=(const unsigned char* psz) noexcept {
  return AssignCopy(reinterpret_cast<const char*>(psz));
}

ZTKString& ZTKString::operator=(const ZTKString& other) noexcept {
  return this == &other ? *this : AssignCopy(other.c_str());
}

ZTKString& ZTKString::operator=(char ch) noexcept {
  Empty();
  return append(ch, 1);
}

void ZTKString::Empty() noexcept {
  if (m_pBuffer == nullptr) return;
  m_pBuffer[0] = '\0';
  m_nDataLength = 0;
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
  m_nAllocated = static_cast<uint32_t>(size);
  m_nDataLength = static_cast<uint32_t>(std::strlen(block));
  return true;
}

bool ZTKString::AllocBuffer(unsigned long n) noexcept {
  Clear();
  const unsigned long size = ZTKStringBlocks::BlockSize(n);
  char* const block = ZTKStringBlocks::Allocate(size);
  if (block == nullptr) return false;
  block[0] = '\0';
  block[size - 1] = '\0';
  m_pBuffer = block;
  m_nAllocated = static_cast<uint32_t>(size);
  return true;
}

bool ZTKString::Shrink() noexcept {
  if (m_nDataLength == ZTKStringBlocks::ReportedSize(*this)) return true;
  const unsigned long length = Len();
  if (length == 0) return true;

  auto* block = static_cast<char*>(std::malloc(length + 1));
  if (block == nullptr) return false;
  std::memcpy(block, m_pBuffer, length + 1);
  ZTKStringBlocks::AdoptBlock(*this, block, length, length);
  return true;
}

ZTKString& ZTKString::Truncate(unsigned long n) noexcept {
  if (Len() > n) m_pBuffer[n] = '\0';
  return *this;
}

ZTKString& ZTKString::erase(unsigned long nPos, unsigned long n) noexcept {
  const unsigned long length = Len();
  if (nPos >= length) return *this;
  if (n > length - nPos) n = length - nPos;
  std::memmove(m_pBuffer + nPos, m_pBuffer + nPos + n, length - nPos - n + 1);
  return *this;
}

char* ZTKString::erase(char* pFirst, char* pLast) noexcept {
  if (pFirst == nullptr || pLast == nullptr || Len() == 0) return nullptr;
  // Through integers, so that any two pointers have a difference; a reversed range is a huge count.
  const auto first = reinterpret_cast<uintptr_t>(pFirst);
  erase(ZTKCountOf(first - reinterpret_cast<uintptr_t>(m_pBuffer)),
        ZTKCountOf(reinterpret_cast<uintptr_t>(pLast) - first));
  return pFirst;
}

bool ZTKString::ConcatSelf(unsigned long nLen, const char* psz, unsigned long nMax) noexcept {
  if (psz == nullptr) return true;
  const auto count = static_cast<unsigned long>(::strnlen(psz, std::min(nLen, nMax)));
  return count == 0 ||
         ZTKStringBlocks::Append(*this, ZTKStringBlocks::CountFresh(*this), psz, count);
}

ZTKString& ZTKString::AppendText(const char* pText, unsigned long nCount) noexcept {
  using Blocks = ZTKStringBlocks;
  const bool isShort = m_pBuffer != nullptr && m_nDataLength < Blocks::kShort;
  const unsigned long length = isShort ? Blocks::CountShort(m_pBuffer) : Blocks::kShort;
  // What is most common, a few characters more behind a short text, needs no other function.
  if (length == Blocks::kShort || nCount - 1 >= Blocks::kFewBytes ||
      (nCount >= Blocks::ReportedSize(*this) - length &&
       !Blocks::GrowInPlace(*this, length + nCount))) {
    return Blocks::AppendMore(*this, length, pText, nCount);
  }
  ZTKMoveFewBytes(m_pBuffer + length, pText, nCount);
  m_pBuffer[length + nCount] = '\0';
  m_nDataLength = static_cast<uint32_t>(length + nCount);
  return *this;
}

ZTKString& ZTKString::append(char ch, unsigned long nRepeat) noexcept {
  const unsigned long length = ZTKStringBlocks::CountFresh(*this);
  if (nRepeat == 1) {
    ZTKStringBlocks::Append(*this, length, &ch, 1);
    return *this;
  }
  if (nRepeat == 0 || length >= kMaxLength) return *this;
  nRepeat = std::min(nRepeat, kMaxLength - length);

  const unsigned long newLength = length + nRepeat;
  if (ZTKStringBlocks::ReportedSize(*this) <= newLength && !Alloc(newLength)) return *this;
  std::memset(m_pBuffer + length, ch, nRepeat);
  m_pBuffer[newLength] = '\0';
  m_nDataLength = static_cast<uint32_t>(newLength);
  return *this;
}

char ZTKString::operator[](unsigned long i) const noexcept {
  return i < Len() ? m_pBuffer[i] : '\0';
}

char& ZTKString::operator[](unsigned long i) noexcept {
  static char s;  // One byte for all strings, so that a wild write harms none of them.
  return i < Len() ? m_pBuffer[i] : s;
}

char ZTKString::Last() const noexcept {
  const unsigned long length = Len();
  return length != 0 ? m_pBuffer[length - 1] : '\0';
}

char& ZTKString::Last() noexcept {
  const unsigned long length = Len();
  return length != 0 ? m_pBuffer[length - 1] : (*this)[0];
}

char* _lstrcpyn(char* pszDst, const char* pszSrc, unsigned long n) noexcept {
  if (pszDst == nullptr || pszSrc == nullptr || n == 0) return nullptr;
  const size_t length = std::min<size_t>(::strnlen(pszSrc, n), n - 1);
  std::memmove(pszDst, pszSrc, length);
  pszDst[length] = '\0';
  return pszDst;
}
