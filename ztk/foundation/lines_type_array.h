#pragma once

#include <cstddef>
#include <iterator>

#include "ztk/export.h"
#include "ztk/foundation/pointer_array.h"
#include "ztk/foundation/text_file_type.h"

// One virtual operation and no virtual destructor: such an array is never deleted through a base.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// An ordered array of line-end types, one per line of a text.
///
/// It has the operations and the rules of ZTKStringArray, for values of ZTKTextFileType; any 32-bit
/// value is kept as it is. The elements of a subclass are cells of their own from plain `new`.
class ZTK_API ZTKArrayLinesType {
 public:
  class const_iterator;

  ZTKArrayLinesType();
  ZTKArrayLinesType(const ZTKArrayLinesType& other);
  ~ZTKArrayLinesType();
  ZTKArrayLinesType& operator=(const ZTKArrayLinesType& other);

  /// A cell from plain `new`, the caller's; null when the allocation fails.
  void* DataCreate(ZTKTextFileType type);
  /// Destroys an element, or what `DataCreate` gave.
  virtual void DataDelete(void* p);

  void Add(ZTKTextFileType type, unsigned long nCount);
  void Insert(ZTKTextFileType type, unsigned long nIndex);
  /// As for strings, a range that runs past the end keeps its slots; they read as EOL_NONE.
  void RemoveAt(unsigned long nIndex, unsigned long nCount);
  long Index(ZTKTextFileType type, int bFromEnd) const;
  void Remove(ZTKTextFileType type);
  void DoCopyArr(const ZTKArrayLinesType& other);

  unsigned long GetCount() const noexcept { return m_pInner != nullptr ? m_pInner->GetCount() : 0; }
  /// The type at `i`; EOL_NONE past the end.
  ZTKTextFileType Item(unsigned long i) const noexcept {
    return i < GetCount() ? AsType(m_pInner->GetItems()[i]) : EOL_NONE;
  }

  inline const_iterator begin() const noexcept;
  inline const_iterator end() const noexcept;

 private:
  friend struct ZTKArrayLinesTypeLayout;
  friend class ZTKTextBuffer;

  // Makes room for `n` elements in all, if there is memory for them.
  ZTK_LOCAL void Reserve(unsigned long n) noexcept;
  // A cell made the way that suits this array. Null when memory runs out. Only with an inner array.
  ZTK_LOCAL void* NewElement(ZTKTextFileType type);
  // Destroys the element if there is no room for it.
  ZTK_LOCAL bool AppendElement(void* pElement);
  // Add(type, 1). False when memory runs out.
  ZTK_LOCAL bool Append(ZTKTextFileType type);

  static ZTKTextFileType AsType(const void* p) noexcept {
    return p != nullptr ? *static_cast<const ZTKTextFileType*>(p) : EOL_NONE;
  }

  ZTKPtrArr* m_pInner;  // Null if there was no memory for it: the array then stays empty.
};

#pragma GCC diagnostic pop

/// Walks over the types in order. Adding and removing elements ends the walk.
class ZTKArrayLinesType::const_iterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = ZTKTextFileType;
  using difference_type = std::ptrdiff_t;
  using pointer = const ZTKTextFileType*;
  using reference = ZTKTextFileType;

  const_iterator() noexcept = default;
  explicit const_iterator(void* const* ppItem) noexcept : m_ppItem(ppItem) {}

  reference operator*() const noexcept { return AsType(*m_ppItem); }
  const_iterator& operator++() noexcept {
    ++m_ppItem;
    return *this;
  }
  const_iterator operator++(int) noexcept { return const_iterator(m_ppItem++); }
  bool operator==(const const_iterator& other) const noexcept { return m_ppItem == other.m_ppItem; }
  bool operator!=(const const_iterator& other) const noexcept { return m_ppItem != other.m_ppItem; }

 private:
  void* const* m_ppItem = nullptr;
};

inline ZTKArrayLinesType::const_iterator ZTKArrayLinesType::begin() const noexcept {
  return const_iterator(m_pInner != nullptr ? m_pInner->begin() : nullptr);
}

inline ZTKArrayLinesType::const_iterator ZTKArrayLinesType::end() const noexcept {
  return const_iterator(m_pInner != nullptr ? m_pInner->end() : nullptr);
}
