#pragma once

#include "ztk/export.h"

/// A growable array of untyped pointers.
///
/// The array owns its block of slots; what the slots point to belongs to whoever put it there,
/// unless a subclass overrides the three hooks. One that owns its elements calls `Clear()` in its
/// own destructor (the base's no longer reaches its hook) and overrides `DataCopy`, shallow here.
///
/// An array may also borrow the block of another one (`Attach` without ownership) and sees the
/// owner's elements until either gets a new block; a borrower that reallocates leaves the owner's
/// block alone. Only `Clear()` frees a block whatever its owner: leave a borrowed one with
/// `Release()` or the destructor.
///
/// Filled one at a time it takes the capacities 16, 24, 36, 54, ..., and from 4,096 slots on grows
/// by 2,048. Positions out of range never fail, and nothing is reported: when memory runs out the
/// elements remain and nothing is added. One thread at a time.
class ZTK_API ZTKPtrArr {
 public:
  /// The greatest number of elements.
  static constexpr unsigned long kMaxCount = 0x1FFFFFFE;

  ZTKPtrArr() noexcept = default;
  /// Copies the pointers (no override is reachable yet).
  ZTKPtrArr(const ZTKPtrArr& src);
  /// Frees the block if it is not borrowed. It calls no hook.
  virtual ~ZTKPtrArr();

  /// Destroys one element. Here: nothing.
  virtual void DataDelete(void* p);
  /// Here: the same pointer.
  virtual bool DataEqual(const void* pA, const void* pB);
  /// Replaces the contents with copies of `n` elements; count and capacity become `n`. Here: of the
  /// pointers; with nothing to copy, or no block to copy into, the array ends empty.
  virtual void DataCopy(void** ppSrc, unsigned long n);

  /// Zeroes the fields without freeing anything.
  ZTKPtrArr& Init() noexcept;

  /// Appends `p` `nCount` times.
  void Add(void* p, unsigned long nCount);
  /// Puts `p` in front of element `nIndex`; an index past the end appends.
  void Insert(void* p, unsigned long nIndex);
  /// Deletes `nCount` elements from `nIndex` on; nothing if the range does not lie in the array.
  void RemoveAt(unsigned long nIndex, unsigned long nCount);
  /// Deletes the first element that equals `p`.
  void Remove(const void* p);
  /// The position of the first (`bFromEnd`: the last) element that equals `p`, or -1.
  long Index(const void* p, int bFromEnd);

  /// The slot. Past the end: one shared slot, null at first, that keeps what is stored in it.
  void*& Item(unsigned long i) noexcept { return i < m_nCount ? m_ppItems[i] : OutOfRangeItem(); }
  /// The element; null past the end.
  void* Item(unsigned long i) const noexcept { return i < m_nCount ? m_ppItems[i] : nullptr; }
  /// The last slot. Of an empty array: a shared slot as for `Item`, but not the same one.
  void*& Last() noexcept { return m_nCount > 0 ? m_ppItems[m_nCount - 1] : MissingLast(); }

  /// Keeps the block.
  void RemoveAll();
  /// Deletes every element and frees the block, borrowed or not.
  void Clear();

  /// Forgets the elements and makes room for `n`. On failure the array has no block.
  void Alloc(unsigned long n);
  /// Changes the capacity to `n`, true on success; otherwise nothing changes. Elements that no
  /// longer fit are deleted.
  bool Realloc(unsigned long n);
  /// Makes room for `nAdd` more elements by the growth rule; a full array grows even for 0.
  void Grow(unsigned long nAdd);
  /// Lowers the capacity to the count.
  void Shrink();

  /// Adopts `other`'s block, or (`bTakeOwnership` 0) borrows it. An own block is cleared first.
  void Attach(ZTKPtrArr& other, int bTakeOwnership);
  /// Zeroes the fields; the caller keeps the block (and frees an owned one with array delete).
  ZTKPtrArr& Release() noexcept { return Init(); }
  ZTKPtrArr& Detach() noexcept { return Init(); }

  /// Replaces the elements with copies of `src`'s, through `DataCopy`.
  void DoCopy(const ZTKPtrArr& src);
  /// Deletes every element, then copies.
  ZTKPtrArr& operator=(const ZTKPtrArr& src);

  unsigned long GetCount() const noexcept { return m_nCount; }
  unsigned long GetCapacity() const noexcept { return m_nCapacity; }
  void** GetItems() const noexcept { return m_ppItems; }
  bool IsAttached() const noexcept { return m_bAttached != 0; }

  void* const* begin() const noexcept { return m_ppItems; }
  void* const* end() const noexcept { return m_ppItems + m_nCount; }

 private:
  friend struct ZTKPtrArrLayout;
  friend class ZTKArrayLinesType;
  friend class ZTKStringArray;

  // Add(p, 1) for the arrays that are built on this one. False when there was no room for it.
  ZTK_LOCAL bool Append(void* p) {
    if (m_nCount == m_nCapacity) return AppendToFull(p);
    m_ppItems[m_nCount++] = p;
    return true;
  }
  ZTK_LOCAL bool AppendToFull(void* p);
  // Makes room for `n` elements in all, if there is memory for them. The free slots are not zeroed:
  // memory that is never used should not be touched. Only for arrays whose block nobody sees.
  ZTK_LOCAL void Reserve(unsigned long n) noexcept;

  static void*& OutOfRangeItem() noexcept;
  static void*& MissingLast() noexcept;
  ZTK_LOCAL void ReplaceBlock(void** ppItems, unsigned long nCapacity) noexcept;

  unsigned long m_nCapacity = 0;  // The recorded slots; the block may be larger.
  unsigned long m_nCount = 0;
  void** m_ppItems = nullptr;
  int m_bAttached = 0;  // Non-zero: the block is borrowed.
};

/// The entries of a configuration group. It does not own them.
class ZTK_API ZTKArrayEntries : public ZTKPtrArr {
 public:
  ZTKArrayEntries() noexcept = default;
  ZTKArrayEntries(const ZTKArrayEntries&) = default;
  ZTKArrayEntries& operator=(const ZTKArrayEntries&) = default;
  ~ZTKArrayEntries() override;
};

/// The child groups of a configuration group. It does not own them.
class ZTK_API ZTKArrayGroups : public ZTKPtrArr {
 public:
  ZTKArrayGroups() noexcept = default;
  ZTKArrayGroups(const ZTKArrayGroups&) = default;
  ZTKArrayGroups& operator=(const ZTKArrayGroups&) = default;
  ~ZTKArrayGroups() override;
};
