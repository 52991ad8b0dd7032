#pragma once

#include <cstddef>
#include <iterator>

#include "ztk/export.h"
#include "ztk/foundation/pointer_array.h"
#include "ztk/foundation/string.h"

// One virtual operation and no virtual destructor: such an array is never deleted through a base.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// An ordered array of strings; it owns a copy of each.
///
/// A reference to an element stays good until that element is removed, whatever happens to others.
/// Positions past the end never fail. When an allocation fails, nothing is added. One thread at a
/// time.
///
/// The elements of a subclass are strings from plain `new`: its `DataDelete` may `delete` them or
/// call this class's. It calls `RemoveAt(0, GetCount())` in its own destructor to see the last go.
class ZTK_API ZTKStringArray {
 public:
  class const_iterator;

  ZTKStringArray();
  ZTKStringArray(const ZTKStringArray& other);
  ~ZTKStringArray();
  ZTKStringArray& operator=(const ZTKStringArray& other);

  /// A `ZTKString` from plain `new`, the caller's; null when the allocation fails.
  void* DataCreate(const ZTKString& s);
  /// Destroys an element, or what `DataCreate` gave.
  virtual void DataDelete(void* p);

  /// Appends `nCount` separate copies of `s`.
  void Add(const ZTKString& s, unsigned long nCount);
  /// Puts a copy of `s` in front of element `nIndex`; an index past the end appends.
  void Insert(const ZTKString& s, unsigned long nIndex);
  /// Removes `nCount` elements from `nIndex` on. A range that runs past the end destroys the
  /// strings in it but keeps their slots: they read as "" and the count stays.
  void RemoveAt(unsigned long nIndex, unsigned long nCount);
  /// The position of the first (`bFromEnd`: the last) string equal to `s`, or -1.
  long Index(const ZTKString& s, int bFromEnd) const;
  /// Removes the first string equal to `s`.
  void Remove(const ZTKString& s);
  /// Appends a copy of each of `other`'s strings.
  void DoCopyArr(const ZTKStringArray& other);

  unsigned long GetCount() const noexcept { return m_pInner != nullptr ? m_pInner->GetCount() : 0; }
  /// The string at `i`. Past the end: a shared string that reads as "".
  const ZTKString& Item(unsigned long i) const noexcept;
  /// The same, to be changed in place. Past the end: a shared string, "" whenever it is handed out.
  ZTKString& Item(unsigned long i) noexcept;

  inline const_iterator begin() const noexcept;
  inline const_iterator end() const noexcept;

 private:
  friend struct ZTKStringArrayLayout;
  friend class ZTKFileName;
  friend class ZTKTextBuffer;

  // Reserves slots for `n` elements in all, unless the allocation fails.
  ZTK_LOCAL void Reserve(unsigned long n) noexcept;
  // A string of bytes that hold no NUL, made the way that suits this array. Null when the
  // allocation fails. Only with an inner array.
  ZTK_LOCAL void* NewElement(const char* pText, unsigned long nLength);
  // Destroys the element if it cannot be added.
  ZTK_LOCAL bool AppendElement(void* pElement);
  // Adds a string of bytes that hold no NUL, in a block of no more than their size: for read-only
  // strings of an array of this class itself. False when an allocation fails.
  ZTK_LOCAL bool AppendText(const char* pText, unsigned long nLength);

  // A slot whose string was destroyed holds null.
  static const ZTKString& AsString(const void* p) noexcept {
    return p != nullptr ? *static_cast<const ZTKString*>(p) : MissingString();
  }
  static const ZTKString& MissingString() noexcept;

  ZTKPtrArr* m_pInner;  // Null if its allocation failed: the array then stays empty.
};

#pragma GCC diagnostic pop

/// Walks over the strings in order. Adding and removing elements ends the walk.
class ZTKStringArray::const_iterator {
 public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = ZTKString;
  using difference_type = std::ptrdiff_t;
  using pointer = const ZTKString*;
  using reference = const ZTKString&;

  const_iterator() noexcept = default;
  explicit const_iterator(void* const* ppItem) noexcept : m_ppItem(ppItem) {}

  reference operator*() const noexcept { return AsString(*m_ppItem); }
  pointer operator->() const noexcept { return &**this; }
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

inline ZTKStringArray::const_iterator ZTKStringArray::begin() const noexcept {
  return const_iterator(m_pInner != nullptr ? m_pInner->begin() : nullptr);
}

inline ZTKStringArray::const_iterator ZTKStringArray::end() const noexcept {
  return const_iterator(m_pInner != nullptr ? m_pInner->end() : nullptr);
}
