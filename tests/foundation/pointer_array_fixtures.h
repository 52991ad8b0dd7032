#pragma once

// What the tests of the pointer array are made with.

#include <cstdint>
#include <vector>

#include "ztk/foundation/pointer_array.h"

inline std::vector<void*> Elements(const ZTKPtrArr& array) { return {array.begin(), array.end()}; }

// The `i`-th of many distinct pointers; none is ever followed.
inline void* Pointer(unsigned long i) {
  return reinterpret_cast<void*>(std::uintptr_t{16} * (i + 1));
}

inline void Fill(ZTKPtrArr& array, unsigned long count) {
  for (unsigned long i = 0; i < count; ++i) array.Add(Pointer(i), 1);
}

inline std::vector<void*> Pointers(unsigned long count) {
  std::vector<void*> pointers;
  for (unsigned long i = 0; i < count; ++i) pointers.push_back(Pointer(i));
  return pointers;
}

// Owns integers, compares them by value, and knows what it has destroyed.
class IntArray : public ZTKPtrArr {
 public:
  IntArray() = default;
  ~IntArray() override { Clear(); }
  IntArray(const IntArray&) = delete;
  IntArray& operator=(const IntArray& other) {
    ZTKPtrArr::operator=(other);
    return *this;
  }

  void DataDelete(void* p) override {
    if (p == nullptr) return;
    ++deleted;
    delete static_cast<int*>(p);
  }
  bool DataEqual(const void* pA, const void* pB) override {
    return *static_cast<const int*>(pA) == *static_cast<const int*>(pB);
  }
  void DataCopy(void** ppSrc, unsigned long n) override {
    ZTKPtrArr::DataCopy(ppSrc, n);
    for (unsigned long i = 0; i < GetCount(); ++i) {
      GetItems()[i] = new int(*static_cast<const int*>(ppSrc[i]));
    }
  }
  void AddInt(int value) { Add(new int(value), 1); }

  int deleted = 0;
};
