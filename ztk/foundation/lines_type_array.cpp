#include "ztk/foundation/lines_type_array.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <new>

#include "ztk/foundation/internal/own_type.h"

namespace {

// The pointers to the cells.
class CellPointers : public ZTKPtrArr {
 public:
  explicit CellPointers(const ZTKArrayLinesType* pArray) noexcept : ownType(pArray) {}

  const ZTKOwnType ownType;
};

// The cells of the four types there are, shared by all arrays of the class itself, where nobody can
// see that elements of one type have one cell: a text of a million lines would hold a million of
// them. A subclass may do with its cells what it likes, `delete` them for one.
ZTKTextFileType s_sharedCells[] = {EOL_NONE, EOL_UNIX, EOL_DOS, EOL_MAC};

bool IsShared(const ZTKTextFileType* pCell) {
  const std::less<const ZTKTextFileType*> less;
  return !less(pCell, std::begin(s_sharedCells)) && less(pCell, std::end(s_sharedCells));
}

}  // namespace

ZTKArrayLinesType::ZTKArrayLinesType() : m_pInner(new (std::nothrow) CellPointers(this)) {}

ZTKArrayLinesType::ZTKArrayLinesType(const ZTKArrayLinesType& other) : ZTKArrayLinesType() {
  // No shared cells: this may become an object of a subclass.
  for (const ZTKTextFileType type : other) {
    if (!AppendElement(DataCreate(type))) return;
  }
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
  return new (std::nothrow) ZTKTextFileType(type);
}

void* ZTKArrayLinesType::NewElement(ZTKTextFileType type) {
  const bool isKnown = type >= EOL_NONE && type <= EOL_MAC;
  const bool isShared = isKnown && static_cast<CellPointers*>(m_pInner)->ownType.IsTypeOf(this);
  return isShared ? &s_sharedCells[type] : DataCreate(type);
}

bool ZTKArrayLinesType::AppendElement(void* pElement) {
  if (pElement == nullptr) return false;
  if (m_pInner != nullptr && m_pInner->Append(pElement)) return true;
  ZTKArrayLinesType::DataDelete(pElement);  // Never an element, so no subclass hears of it.
  return false;
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
  return m_pInner != nullptr && AppendElement(NewElement(type));
}

void ZTKArrayLinesType::Reserve(unsigned long n) noexcept {
  if (m_pInner != nullptr) m_pInner->Reserve(n);
}

void ZTKArrayLinesType::Insert(ZTKTextFileType type, unsigned long nIndex) {
  if (m_pInner == nullptr) return;
  void* const cell = NewElement(type);
  if (cell == nullptr) return;
  const unsigned long before = m_pInner->GetCount();
  m_pInner->Insert(cell, nIndex);
  if (m_pInner->GetCount() == before) ZTKArrayLinesType::DataDelete(cell);
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
