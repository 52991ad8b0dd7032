#include "ztk/foundation/string_array.h"

#include <algorithm>
#include <new>

#include "ztk/foundation/internal/memory_watch.h"
#include "ztk/foundation/internal/never_destroyed.h"
#include "ztk/foundation/internal/string_pool.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // Both compilers support it here.
struct ZTKStringArrayLayout {
  static_assert(sizeof(ZTKStringArray) == 2 * sizeof(void*));
  static_assert(offsetof(ZTKStringArray, m_pInner) == sizeof(void*));
};
#pragma GCC diagnostic pop

namespace {

// The pointers to the strings, and the strings themselves.
class StringPointers : public ZTKPtrArr {
 public:
  ZTKStringPool pool;
};

ZTKStringPool& PoolOf(ZTKPtrArr* pInner) { return static_cast<StringPointers*>(pInner)->pool; }

// What a caller may write to when there is no element.
ZTKString& ScratchString() {
  static ZTKNeverDestroyed<ZTKString> scratch;
  scratch.value.Clear();
  return scratch.value;
}

}  // namespace

ZTKStringArray::ZTKStringArray() : m_pInner(new (std::nothrow) StringPointers) {
  if (m_pInner == nullptr) ZTKMemoryWatch::NoteFailure();
}

ZTKStringArray::ZTKStringArray(const ZTKStringArray& other) : ZTKStringArray() { DoCopyArr(other); }

ZTKStringArray::~ZTKStringArray() {
  // What the strings own goes one by one, their places with the pool.
  for (unsigned long i = 0; i < GetCount(); ++i) {
    auto* const string = static_cast<ZTKString*>(m_pInner->GetItems()[i]);
    if (string != nullptr) string->Clear();
  }
  delete m_pInner;
}

ZTKStringArray& ZTKStringArray::operator=(const ZTKStringArray& other) {
  if (&other == this) return *this;
  RemoveAt(0, GetCount());
  DoCopyArr(other);
  return *this;
}

void* ZTKStringArray::DataCreate(const ZTKString& s) {
  return m_pInner != nullptr ? PoolOf(m_pInner).New(s.c_str(), s.Len()) : nullptr;
}

void ZTKStringArray::DataDelete(void* p) {
  if (m_pInner != nullptr) PoolOf(m_pInner).Delete(static_cast<ZTKString*>(p));
}

bool ZTKStringArray::AppendText(const char* pText, unsigned long nLength) {
  if (m_pInner == nullptr) return false;
  ZTKString* const string = PoolOf(m_pInner).New(pText, nLength);
  if (string == nullptr) return false;
  if (m_pInner->Append(string)) return true;
  PoolOf(m_pInner).Delete(string);
  return false;
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
  if (slot == nullptr) slot = DataCreate(ZTKString());
  return slot != nullptr ? *static_cast<ZTKString*>(slot) : ScratchString();
}
