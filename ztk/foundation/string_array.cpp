#include "ztk/foundation/string_array.h"

#include <algorithm>
#include <new>

#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/foundation/internal/never_destroyed.h"
#include "ztk/foundation/internal/own_type.h"
#include "ztk/foundation/internal/string_pool.h"

namespace {

// The pointers to the strings, and the strings themselves. A subclass may do with its elements what
// it likes, `delete` them for one: the pool is for arrays of the class itself.
class StringPointers : public ZTKPtrArr {
 public:
  explicit StringPointers(const ZTKStringArray* pArray) noexcept : ownType(pArray) {}

  ZTKStringPool pool;
  const ZTKOwnType ownType;
};

StringPointers& Pointers(ZTKPtrArr* pInner) { return static_cast<StringPointers&>(*pInner); }

// What a caller may write to when there is no element.
ZTKString& ScratchString() {
  static ZTKNeverDestroyed<ZTKString> scratch;
  scratch.value.Clear();
  return scratch.value;
}

ZTKString* NewOnHeap(const char* pText, unsigned long nLength) {
  auto* const string = new (std::nothrow) ZTKString(std::string_view(pText, nLength));
  if (string == nullptr) ZTKAllocationWatch::NoteFailure();
  if (string == nullptr || nLength == 0 || string->AllocatedSize() != 0) return string;
  delete string;
  return nullptr;
}

}  // namespace

ZTKStringArray::ZTKStringArray() : m_pInner(new (std::nothrow) StringPointers(this)) {
  if (m_pInner == nullptr) ZTKAllocationWatch::NoteFailure();
}

ZTKStringArray::ZTKStringArray(const ZTKStringArray& other) : ZTKStringArray() {
  // Not to the pool: this may become an object of a subclass.
  for (const ZTKString& string : other) {
    if (!AppendElement(DataCreate(string))) return;
  }
}

ZTKStringArray::~ZTKStringArray() {
  for (unsigned long i = 0; i < GetCount(); ++i) {
    auto* const string = static_cast<ZTKString*>(m_pInner->GetItems()[i]);
    if (string != nullptr && Pointers(m_pInner).pool.Owns(string)) {
      string->Clear();  // Its cell goes with the pool.
    } else {
      delete string;
    }
  }
  delete m_pInner;
}

ZTKStringArray& ZTKStringArray::operator=(const ZTKStringArray& other) {
  if (&other == this) return *this;
  RemoveAt(0, GetCount());
  DoCopyArr(other);
  return *this;
}

void* ZTKStringArray::DataCreate(const ZTKString& s) { return NewOnHeap(s.c_str(), s.Len()); }

void ZTKStringArray::DataDelete(void* p) {
  auto* const string = static_cast<ZTKString*>(p);
  if (m_pInner == nullptr) {
    delete string;
  } else {
    Pointers(m_pInner).pool.Delete(string);
  }
}

void* ZTKStringArray::NewElement(const char* pText, unsigned long nLength) {
  StringPointers& inner = Pointers(m_pInner);
  return inner.ownType.IsTypeOf(this) ? inner.pool.New(pText, nLength) : NewOnHeap(pText, nLength);
}

bool ZTKStringArray::AppendElement(void* pElement) {
  if (pElement == nullptr) return false;
  if (m_pInner != nullptr && m_pInner->Append(pElement)) return true;
  ZTKStringArray::DataDelete(pElement);  // Never an element, so no subclass hears of it.
  return false;
}

bool ZTKStringArray::AppendText(const char* pText, unsigned long nLength) {
  return m_pInner != nullptr && AppendElement(NewElement(pText, nLength));
}

void ZTKStringArray::Add(const ZTKString& s, unsigned long nCount) {
  if (nCount > ZTKPtrArr::kMaxCount) return;
  // Counted once. `s` may be an element of this array: elements stay where they are.
  const unsigned long length = nCount > 0 ? s.Len() : 0;
  while (nCount > 0 && AppendText(s.c_str(), length)) --nCount;
}

void ZTKStringArray::Reserve(unsigned long n) noexcept {
  if (m_pInner != nullptr) m_pInner->Reserve(n);
}

void ZTKStringArray::Insert(const ZTKString& s, unsigned long nIndex) {
  if (m_pInner == nullptr) return;
  void* const copy = NewElement(s.c_str(), s.Len());
  if (copy == nullptr) return;
  const unsigned long before = m_pInner->GetCount();
  m_pInner->Insert(copy, nIndex);
  if (m_pInner->GetCount() == before) ZTKStringArray::DataDelete(copy);
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

const ZTKString& ZTKStringArray::MissingString() noexcept {
  static const ZTKNeverDestroyed<ZTKString> empty;
  return empty.value;
}

const ZTKString& ZTKStringArray::Item(unsigned long i) const noexcept {
  return i < GetCount() ? AsString(m_pInner->GetItems()[i]) : MissingString();
}

ZTKString& ZTKStringArray::Item(unsigned long i) noexcept {
  if (i >= GetCount()) return ScratchString();
  void*& slot = m_pInner->GetItems()[i];
  if (slot == nullptr) slot = NewElement("", 0);
  return slot != nullptr ? *static_cast<ZTKString*>(slot) : ScratchString();
}
