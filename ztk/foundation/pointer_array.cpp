#include "ztk/foundation/pointer_array.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>

#include "ztk/foundation/internal/allocation_watch.h"

namespace {

constexpr unsigned long kFirstCapacity = 16;
constexpr unsigned long kMaxStep = 2048;

// Above this capacity a block is as large as the next power of two: the capacity grows by 2,048
// slots only, and copying millions of slots that often would cost the square of their number. The
// size depends on nothing but the capacity, so a block that changes hands needs no further record.
// A block may be larger than its capacity asks for, never smaller.
constexpr unsigned long kExactCapacity = 4096;

unsigned long BlockSlots(unsigned long nCapacity) {
  if (nCapacity <= kExactCapacity) return nCapacity;
  return std::min(std::bit_ceil(nCapacity), ZTKPtrArr::kMaxCount);
}

// A block whose first `nCapacity` slots are null; null when memory runs out.
void** NewBlock(unsigned long nCapacity) {
  if (nCapacity == 0 || nCapacity > ZTKPtrArr::kMaxCount) return nullptr;
  void** const block = new (std::nothrow) void*[BlockSlots(nCapacity)];
  if (block == nullptr) {
    ZTKAllocationWatch::NoteFailure();
    return nullptr;
  }
  std::fill_n(block, nCapacity, nullptr);
  return block;
}

}  // namespace

ZTKPtrArr::ZTKPtrArr(const ZTKPtrArr& src) { DoCopy(src); }

ZTKPtrArr::~ZTKPtrArr() {
  // Clear() would call the base hook for every element, which does nothing.
  if (m_bAttached == 0) delete[] m_ppItems;
}

ZTKArrayEntries::~ZTKArrayEntries() = default;
ZTKArrayGroups::~ZTKArrayGroups() = default;

void ZTKPtrArr::DataDelete(void*) {}

bool ZTKPtrArr::DataEqual(const void* pA, const void* pB) { return pA == pB; }

void ZTKPtrArr::DataCopy(void** ppSrc, unsigned long n) {
  if (n == 0 || ppSrc == nullptr || m_ppItems == nullptr) {
    ReplaceBlock(nullptr, 0);
    m_nCount = 0;
    return;
  }
  if (n > m_nCapacity && !Realloc(n)) return;
  std::memmove(m_ppItems, ppSrc, n * sizeof(void*));
  m_nCount = n;
  m_nCapacity = n;
}

ZTKPtrArr& ZTKPtrArr::Init() noexcept {
  m_nCapacity = 0;
  m_nCount = 0;
  m_ppItems = nullptr;
  m_bAttached = 0;
  return *this;
}

void ZTKPtrArr::Add(void* p, unsigned long nCount) {
  if (nCount == 0 || nCount > kMaxCount || m_nCount >= kMaxCount) return;
  Grow(nCount);
  // Growth may have failed or been cut at the limit: only what fits is stored.
  const unsigned long fits = std::min(nCount, m_nCapacity - m_nCount);
  if (fits == 0) return;
  std::fill_n(m_ppItems + m_nCount, fits, p);
  m_nCount += fits;
}

bool ZTKPtrArr::AppendToFull(void* p) {
  const unsigned long before = m_nCount;
  Add(p, 1);
  return m_nCount > before;
}

void ZTKPtrArr::Reserve(unsigned long n) noexcept {
  if (n <= m_nCapacity || n > kMaxCount) return;
  void** const block = new (std::nothrow) void*[BlockSlots(n)];
  if (block == nullptr) return;
  std::copy_n(m_ppItems, m_nCount, block);
  ReplaceBlock(block, n);
}

void ZTKPtrArr::Insert(void* p, unsigned long nIndex) {
  if (m_nCount >= kMaxCount) return;
  if (nIndex >= m_nCount) {
    Add(p, 1);
    return;
  }
  Grow(1);
  if (m_nCount == m_nCapacity) return;
  void** const slot = m_ppItems + nIndex;
  std::memmove(slot + 1, slot, (m_nCount - nIndex) * sizeof(void*));
  *slot = p;
  ++m_nCount;
}

void ZTKPtrArr::RemoveAt(unsigned long nIndex, unsigned long nCount) {
  // Not `nIndex + nCount`, which could wrap.
  if (nIndex >= m_nCount || nCount > m_nCount - nIndex || nCount == 0) return;
  for (unsigned long i = nIndex; i < nIndex + nCount; ++i) {
    DataDelete(m_ppItems[i]);
    m_ppItems[i] = nullptr;
  }
  const unsigned long tail = m_nCount - nIndex - nCount;
  std::memmove(m_ppItems + nIndex, m_ppItems + nIndex + nCount, tail * sizeof(void*));
  m_nCount -= nCount;
}

void ZTKPtrArr::Remove(const void* p) {
  const long index = Index(p, 0);
  if (index >= 0) RemoveAt(static_cast<unsigned long>(index), 1);
}

long ZTKPtrArr::Index(const void* p, int bFromEnd) {
  for (unsigned long i = 0; i < m_nCount; ++i) {
    const unsigned long at = bFromEnd != 0 ? m_nCount - 1 - i : i;
    if (DataEqual(m_ppItems[at], p)) return static_cast<long>(at);
  }
  return -1;
}

void*& ZTKPtrArr::OutOfRangeItem() noexcept {
  static void* e = nullptr;
  return e;
}

void*& ZTKPtrArr::MissingLast() noexcept {
  static void* e = nullptr;
  return e;
}

void ZTKPtrArr::RemoveAll() { RemoveAt(0, m_nCount); }

void ZTKPtrArr::Clear() {
  RemoveAll();
  delete[] m_ppItems;
  m_ppItems = nullptr;
  m_nCapacity = 0;
}

// Frees the present block unless it is borrowed.
void ZTKPtrArr::ReplaceBlock(void** ppItems, unsigned long nCapacity) noexcept {
  if (m_bAttached == 0) delete[] m_ppItems;
  m_ppItems = ppItems;
  m_nCapacity = nCapacity;
  m_bAttached = 0;
}

void ZTKPtrArr::Alloc(unsigned long n) {
  m_nCount = 0;
  if (m_nCapacity >= n) return;
  ReplaceBlock(nullptr, 0);
  m_ppItems = NewBlock(n);
  if (m_ppItems != nullptr) m_nCapacity = n;
}

bool ZTKPtrArr::Realloc(unsigned long n) {
  if (n > kMaxCount) return false;

  const bool inPlace =
      m_ppItems != nullptr && m_bAttached == 0 && n > 0 && BlockSlots(n) == BlockSlots(m_nCapacity);
  void** const block = inPlace ? m_ppItems : NewBlock(n);
  if (block == nullptr && n > 0) return false;

  if (n < m_nCount) {
    // What does not fit is deleted, unless the block is borrowed.
    if (m_bAttached == 0) RemoveAt(n, m_nCount - n);
    m_nCount = n;
  }
  if (inPlace) {
    std::fill_n(block + m_nCount, n - m_nCount, nullptr);
    m_nCapacity = n;
    return true;
  }
  std::copy_n(m_ppItems, m_nCount, block);
  ReplaceBlock(block, n);
  return true;
}

void ZTKPtrArr::Grow(unsigned long nAdd) {
  if (m_nCapacity >= kMaxCount || nAdd > kMaxCount) return;
  if (m_nCount != m_nCapacity && m_nCapacity - m_nCount >= nAdd) return;

  if (m_nCapacity == 0) {
    Alloc(std::max(nAdd, kFirstCapacity));
    return;
  }
  unsigned long step = m_nCapacity < kFirstCapacity ? kFirstCapacity : m_nCapacity / 2;
  step = std::max(std::min(step, kMaxStep), nAdd);
  Realloc(std::min(m_nCapacity + step, kMaxCount));
}

void ZTKPtrArr::Shrink() {
  if (m_nCount < m_nCapacity) Realloc(m_nCount);
}

void ZTKPtrArr::Attach(ZTKPtrArr& other, int bTakeOwnership) {
  if (&other == this) return;
  // When the two share a block already, clearing it would pull it from under both.
  const bool sameBlock = m_ppItems != nullptr && m_ppItems == other.m_ppItems;
  const bool ownsIt = sameBlock && m_bAttached == 0;
  if (m_ppItems != nullptr && m_bAttached == 0 && !sameBlock) Clear();

  m_ppItems = other.m_ppItems;
  m_nCapacity = other.m_nCapacity;
  m_nCount = other.m_nCount;
  m_bAttached = bTakeOwnership != 0 || ownsIt ? 0 : 1;
  if (bTakeOwnership != 0) other.Init();
}

void ZTKPtrArr::DoCopy(const ZTKPtrArr& src) {
  if (&src == this) return;
  if (m_nCount > 0) {
    if (m_bAttached != 0) {
      Init();  // The block is borrowed, its elements too.
    } else {
      Clear();
    }
  }
  if (src.m_nCount == 0) return;
  Alloc(src.m_nCount);
  DataCopy(src.m_ppItems, src.m_nCount);
}

ZTKPtrArr& ZTKPtrArr::operator=(const ZTKPtrArr& src) {
  if (&src == this) return *this;
  RemoveAll();
  DoCopy(src);
  return *this;
}
