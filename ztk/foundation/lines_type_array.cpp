#include "ztk/foundation/lines_type_array.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <new>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // Both compilers support it here.
struct ZTKArrayLinesTypeLayout {
  static_assert(sizeof(ZTKArrayLinesType) == 2 * sizeof(void*));
  static_assert(offsetof(ZTKArrayLinesType, m_pInner) == sizeof(void*));
};
#pragma GCC diagnostic pop

namespace {

// The cells of the four types there are. Nobody can change an element in place, so all elements of
// one type share a cell; a text of a million lines would hold a million of them.
ZTKTextFileType s_sharedCells[] = {EOL_NONE, EOL_UNIX, EOL_DOS, EOL_MAC};

bool IsShared(const ZTKTextFileType* pCell) {
  const std::less<const ZTKTextFileType*> less;
  return !less(pCell, std::begin(s_sharedCells)) && less(pCell, std::end(s_sharedCells));
}

}  // namespace

ZTKArrayLinesType::ZTKArrayLinesType() : m_pInner(new (std::nothrow) ZTKPtrArr) {}

ZTKArrayLinesType::ZTKArrayLinesType(const ZTKArrayLinesType& other) : ZTKArrayLinesType() {
  DoCopyArr(other);
}

ZTKArrayLinesType::~ZTKArrayLinesType() {
  RemoveAt(0, GetCount());
  delete m_pInner;
}

ZTKArrayLinesType& ZTKArrayLinesType::operator=(const ZTKArrayLinesType& other) {
  if (&other == this) return *this;
  RemoveAt(0, GetCount());
  DoCopyArr(other);
  return *this;
}

void* ZTKArrayLinesType::DataCreate(ZTKTextFileType type) {
  if (type >= EOL_NONE && type <= EOL_MAC) return &s_sharedCells[type];
  return new (std::nothrow) ZTKTextFileType(type);
}

// Out of line: seen beside DataCreate, it looks to a compiler as if a shared cell were deleted.
__attribute__((noinline)) void ZTKArrayLinesType::DataDelete(void* p) {
  ZTKTextFileType* const cell = static_cast<ZTKTextFileType*>(p);
  if (!IsShared(cell)) delete cell;  // NOLINT(clang-analyzer-cplusplus.NewDelete): not shared.
}

void ZTKArrayLinesType::Add(ZTKTextFileType type, unsigned long nCount) {
  if (nCount > ZTKPtrArr::kMaxCount) return;
  while (nCount > 0 && Append(type)) --nCount;
}

bool ZTKArrayLinesType::Append(ZTKTextFileType type) {
  if (m_pInner == nullptr) return false;
  void* const cell = DataCreate(type);
  if (cell == nullptr) return false;
  if (m_pInner->Append(cell)) return true;
  DataDelete(cell);
  return false;
}

void ZTKArrayLinesType::Reserve(unsigned long n) noexcept {
  if (m_pInner != nullptr) m_pInner->Reserve(n);
}

void ZTKArrayLinesType::Insert(ZTKTextFileType type, unsigned long nIndex) {
  if (m_pInner == nullptr) return;
  void* const cell = DataCreate(type);
  if (cell == nullptr) return;
  const unsigned long before = m_pInner->GetCount();
  m_pInner->Insert(cell, nIndex);
  if (m_pInner->GetCount() == before) DataDelete(cell);
}

void ZTKArrayLinesType::RemoveAt(unsigned long nIndex, unsigned long nCount) {
  const unsigned long count = GetCount();
  if (nIndex >= count) return;
  void** const items = m_pInner->GetItems();
  const unsigned long end = nIndex + std::min(nCount, count - nIndex);
  for (unsigned long i = nIndex; i < end; ++i) {
    DataDelete(items[i]);
    items[i] = nullptr;
  }
  m_pInner->RemoveAt(nIndex, nCount);
}

long ZTKArrayLinesType::Index(ZTKTextFileType type, int bFromEnd) const {
  const unsigned long count = GetCount();
  for (unsigned long i = 0; i < count; ++i) {
    const unsigned long at = bFromEnd != 0 ? count - 1 - i : i;
    if (Item(at) == type) return static_cast<long>(at);
  }
  return -1;
}

void ZTKArrayLinesType::Remove(ZTKTextFileType type) {
  const long index = Index(type, 0);
  if (index >= 0) RemoveAt(static_cast<unsigned long>(index), 1);
}

void ZTKArrayLinesType::DoCopyArr(const ZTKArrayLinesType& other) {
  const unsigned long count = other.GetCount();  // Fixed now: `other` may be this array.
  for (unsigned long i = 0; i < count; ++i) Add(other.Item(i), 1);
}
