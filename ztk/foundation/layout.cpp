// Where the fields of this folder's classes lie. Programs outside the library depend on it: their
// subclasses, and the inline operations of the headers that were compiled into them. It is checked
// for every target that the library is built for.
#include <cstddef>
#include <type_traits>

#include "ztk/foundation/lines_type_array.h"
#include "ztk/foundation/list.h"
#include "ztk/foundation/maps.h"
#include "ztk/foundation/pointer_array.h"
#include "ztk/foundation/string.h"
#include "ztk/foundation/string_array.h"

// offsetof of a class with virtual operations is conditionally supported: both compilers do.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace {

constexpr std::size_t kWord = sizeof(void*);
constexpr std::size_t kLong = sizeof(long);  // Half a word on 64-bit Windows.

}  // namespace

struct ZTKStringLayout {
  static_assert(offsetof(ZTKString, m_pBuffer) == 0);
  static_assert(offsetof(ZTKString, m_nDataLength) == 1 * kWord);
  static_assert(offsetof(ZTKString, m_nAllocated) == 1 * kWord + 4);
  static_assert(sizeof(ZTKString) == 1 * kWord + 8);
  static_assert(std::is_standard_layout_v<ZTKString>);
};

struct ZTKPtrArrLayout {
  static_assert(offsetof(ZTKPtrArr, m_nCapacity) == 1 * kWord);
  static_assert(offsetof(ZTKPtrArr, m_nCount) == kWord + kLong);
  static_assert(offsetof(ZTKPtrArr, m_ppItems) == kWord + 2 * kLong);
  static_assert(offsetof(ZTKPtrArr, m_bAttached) == 2 * kWord + 2 * kLong);
  static_assert(sizeof(ZTKPtrArr) == 3 * kWord + 2 * kLong);
  static_assert(sizeof(ZTKArrayEntries) == sizeof(ZTKPtrArr));
  static_assert(sizeof(ZTKArrayGroups) == sizeof(ZTKPtrArr));
};

struct ZTKStringArrayLayout {
  static_assert(offsetof(ZTKStringArray, m_pInner) == 1 * kWord);
  static_assert(sizeof(ZTKStringArray) == 2 * kWord);
};

struct ZTKArrayLinesTypeLayout {
  static_assert(offsetof(ZTKArrayLinesType, m_pInner) == 1 * kWord);
  static_assert(sizeof(ZTKArrayLinesType) == 2 * kWord);
};

struct ZTKListLayout {
  using Node = ZTKListBase::ZTKNodebase;
  static_assert(offsetof(Node, m_pData) == 1 * kWord);
  static_assert(offsetof(Node, m_pNext) == 2 * kWord);
  static_assert(offsetof(Node, m_pPrev) == 3 * kWord);
  static_assert(sizeof(Node) == 4 * kWord);
  static_assert(offsetof(ZTKListBase, m_nCount) == 1 * kWord);
  static_assert(offsetof(ZTKListBase, m_bDetached) == kWord + kLong);
  static_assert(offsetof(ZTKListBase, m_pHead) == kWord + 2 * kLong);
  static_assert(offsetof(ZTKListBase, m_pTail) == 2 * kWord + 2 * kLong);
  static_assert(sizeof(ZTKListBase) == 3 * kWord + 2 * kLong);
};

struct ZTKMapLayout {
  using Map = ZTKHashMap<void*>;
  static_assert(offsetof(Map::Entry, key) == 0 * kWord);
  static_assert(offsetof(Map::Entry, value) == 1 * kWord);
  static_assert(offsetof(Map::Entry, bucketNode) == 2 * kWord);
  static_assert(offsetof(Map::Entry, entriesNode) == 3 * kWord);
  static_assert(offsetof(Map::Entry, bucket) == 4 * kWord);
  static_assert(sizeof(Map::Entry) == 5 * kWord && sizeof(ZTKMap::Entry) == 5 * kWord);
  static_assert(sizeof(Map::iterator) == 2 * kWord && sizeof(ZTKMap::iterator) == 2 * kWord);
  static_assert(offsetof(Map, m_nBuckets) == 0 * kWord);
  static_assert(offsetof(Map, m_ppBuckets) == 1 * kWord);
  static_assert(offsetof(Map, m_pEntries) == 2 * kWord);
  static_assert(sizeof(ZTKMap) == 3 * kWord && sizeof(ZTKPtrMap) == 3 * kWord);
  static_assert(sizeof(ZTKWord) == kWord, "a value must be able to hold a pointer");
};
