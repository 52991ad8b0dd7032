#include "ztk/foundation/string_array.h"

#include <algorithm>
#include <new>

#include "ztk/foundation/never_destroyed.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // Both compilers support it here.
struct ZTKStringArrayLayout {
  static_assert(sizeof(ZTKStringArray) == 2 * sizeof(void*));
  static_assert(offsetof(ZTKStringArray, m_pInner) == sizeof(void*));
};
#pragma GCC diagnostic pop

namespace {

const ZTKString& EmptyString() {
  static const ZTKNeverDestroyed<ZTKString> empty;
  return empty.value;
}

// What a caller may write to when there is no element.
ZTKString& ScratchString() {
  static ZTKNeverDestroyed<ZTKString> scratch;
  scratch.value.Clear();
  return scratch.value;
}

}  // namespace

ZTKStringArray::ZTKStringArray() : m_pInner(new (std::nothrow) ZTKPtrArr) {}

ZTKStringArray::ZTKStringArray(const ZTKStringArray& other) : ZTKStringArray() { DoCopyArr(other); }

ZTKStringArray::~ZTKStringArray() {
  RemoveAt(0, GetCount());
  delete m_pInner;
}

ZTKStringArray& ZTKStringArray::operator=(const ZTKStringArray& other) {
  if (&other == this) return *this;
  RemoveAt(0, GetCount());
  DoCopyArr(other);
  return *this;
}

void* ZTKStringArray::DataCreate(const ZTKString& s) {
  ZTKString* const copy = new (std::nothrow) ZTKString(s);
  if (copy == nullptr) return nullptr;
  if (copy->AllocatedSize() == 0 && s.c_str()[0] != '\0') {  // No memory for the text.
    delete copy;
    return nullptr;
  }
  return copy;
}

void ZTKStringArray::DataDelete(void* p) { delete static_cast<ZTKString*>(p); }

void ZTKStringArray::Add(const ZTKString& s, unsigned long nCount) {
  if (nCount > ZTKPtrArr::kMaxCount) return;
  for (; nCount > 0; --nCount) {
    // Not the count as the index: an insertion past the end appends.
    const unsigned long before = GetCount();
    Insert(s, ZTKPtrArr::kMaxCount);
    if (GetCount() == before) return;
  }
}

void ZTKStringArray::Insert(const ZTKString& s, unsigned long nIndex) {
  if (m_pInner == nullptr) return;
  void* const copy = DataCreate(s);
  if (copy == nullptr) return;
  const unsigned long before = m_pInner->GetCount();
  m_pInner->Insert(copy, nIndex);
  if (m_pInner->GetCount() == before) DataDelete(copy);
}

void ZTKStringArray::RemoveAt(unsigned long nIndex, unsigned long nCount) {
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

long ZTKStringArray::Index(const ZTKString& s, int bFromEnd) const {
  const unsigned long count = GetCount();
  for (unsigned long i = 0; i < count; ++i) {
    const unsigned long at = bFromEnd != 0 ? count - 1 - i : i;
    if (Item(at) == s) return static_cast<long>(at);
  }
  return -1;
}

void ZTKStringArray::Remove(const ZTKString& s) {
  const long index = Index(s, 0);
  if (index >= 0) RemoveAt(static_cast<unsigned long>(index), 1);
}

void ZTKStringArray::DoCopyArr(const ZTKStringArray& other) {
  const unsigned long count = other.GetCount();  // Fixed now: `other` may be this array.
  for (unsigned long i = 0; i < count; ++i) Add(other.Item(i), 1);
}

const ZTKString& ZTKStringArray::AsString(const void* p) noexcept {
  return p != nullptr ? *static_cast<const ZTKString*>(p) : EmptyString();
}

const ZTKString& ZTKStringArray::Item(unsigned long i) const noexcept {
  return i < GetCount() ? AsString(m_pInner->GetItems()[i]) : EmptyString();
}

ZTKString& ZTKStringArray::Item(unsigned long i) noexcept {
  if (i >= GetCount()) return ScratchString();
  void*& slot = m_pInner->GetItems()[i];
  if (slot == nullptr) slot = DataCreate(ZTKString());
  return slot != nullptr ? *static_cast<ZTKString*>(slot) : ScratchString();
}
