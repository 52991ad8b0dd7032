#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "ztk/export.h"
#include "ztk/foundation/list.h"
#include "ztk/foundation/word.h"

/// A hash map from an unsigned machine word to `Value`, iterated in the order of insertion. Used
/// through its two kinds, `ZTKMap` and `ZTKPtrMap`.
///
/// The number of buckets is chosen at construction and never grows. The bucket of a key is
/// `(key >> 4) % buckets`, so keys that differ in their low four bits only share one. Lookups do
/// not walk buckets: they take constant time whatever their number. A map with about as many
/// buckets as it will hold keys has room for them from the start.
///
/// The list of each bucket and the list of all entries can be seen through an entry only. The map
/// builds them when `GetNodeAt` first returns one, in a time that grows with the map, and keeps
/// them from then on: inserting takes eight times, erasing six times as long. `Find` needs none.
///
/// The map owns its entries, never what the values point to. After `EraseAll()` it has no buckets:
/// everything but `Insert` is safe, and `Insert` stops the process with a message, until
/// `InitHashTable` gives it buckets again. When memory runs out, `Insert` changes nothing and
/// returns the end.
///
/// An iterator is the map and an entry. Inserting leaves iterators valid. `Erase(iterator)` frees
/// the entry, so that copies of the iterator must not be used any more. `Erase(key)` does not free
/// it: such an iterator still gives its key and value, and its next step is the end; the memory
/// stays with the map until `EraseAll()` or the end of the map. Programs that erase for ever use
/// the iterator form or `EraseAndFree`.
///
/// One thread at a time; any number of threads may call const operations of a map that no thread
/// changes meanwhile. They may wait for one that builds the lists.
template <class Value>
class ZTK_API ZTKHashMap {
  struct ZTK_LOCAL Record;

 public:
  /// What the map knows about one key.
  struct Entry {
    ZTKWord key;
    Value value;
    ZTKListBase::ZTKNodebase* bucketNode;   // In the list of its bucket; null once erased.
    ZTKListBase::ZTKNodebase* entriesNode;  // In the list of all entries; null once erased.
    ZTKWord bucket;
  };

  /// What a range `for` gives.
  struct Item {
    ZTKWord key;
    Value value;
  };

  class iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Item;
    using difference_type = std::ptrdiff_t;
    using pointer = const Item*;
    using reference = Item;

    iterator() noexcept = default;

    /// The key and the value; 0 at the end.
    ZTKWord GetKey() const noexcept { return m_pEntry ? m_pEntry->key : 0; }
    Value GetValue() const noexcept { return m_pEntry ? m_pEntry->value : Value(); }
    Item operator*() const noexcept { return {GetKey(), GetValue()}; }
    /// Goes to the entry inserted next; stays at the end.
    iterator& operator++() noexcept {
      if (!m_pEntry) return *this;
      Record* const record = static_cast<Record*>(m_pEntry);
      m_pEntry = (record->next & 1) != 0 ? record + 1 : m_pMap->Next(m_pEntry);
      return *this;
    }
    iterator operator++(int) noexcept {
      const iterator old = *this;
      ++*this;
      return old;
    }
    bool operator==(const iterator& other) const noexcept { return m_pEntry == other.m_pEntry; }
    bool operator!=(const iterator& other) const noexcept { return m_pEntry != other.m_pEntry; }

   private:
    friend class ZTKHashMap;
    iterator(const ZTKHashMap* pMap, Entry* pEntry) noexcept : m_pMap(pMap), m_pEntry(pEntry) {}

    const ZTKHashMap* m_pMap = nullptr;
    Entry* m_pEntry = nullptr;  // Null at the end.
  };

  /// A map with `nBuckets` buckets; 17 for 0.
  explicit ZTKHashMap(unsigned long nBuckets);
  ~ZTKHashMap();
  ZTKHashMap(const ZTKHashMap&) = delete;
  ZTKHashMap& operator=(const ZTKHashMap&) = delete;

  /// Gives the map a new, empty table of `nBuckets` buckets. It is allocated at once, whatever the
  /// flag says. What the map held is out of reach from then on, but not freed before `EraseAll()`.
  /// Out of memory: the map stays as it was.
  void InitHashTable(unsigned long nBuckets, int bAllocNow);

  /// Sets the value of a key. A key that is there already keeps its position in the order.
  iterator Insert(const ZTKWord& nKey, const Value& value);
  iterator Find(const ZTKWord& nKey) const noexcept;
  /// The entry of a key, and in any case the key's bucket (0 without buckets). Null when there is
  /// no entry, and when there is no memory for the lists that it is in.
  Entry* GetNodeAt(const ZTKWord& nKey, ZTKWord& nBucket) const noexcept;
  /// 1 when the key is present, else 0: a membership test, not a size.
  unsigned long GetCount(const ZTKWord& nKey) const noexcept;
  bool IsEmpty() const noexcept;

  iterator Begin() const noexcept;
  iterator End() const noexcept { return iterator(this, nullptr); }
  iterator begin() const noexcept { return Begin(); }
  iterator end() const noexcept { return End(); }

  /// Removes the entry, frees it and leaves the iterator at the end. 0 at the end, and for an
  /// iterator of another map.
  int Erase(iterator& it) noexcept;
  int Erase(iterator&& it) noexcept { return Erase(it); }
  /// Removes the entry of a key without freeing it (see above). 0 when there is none.
  int Erase(const ZTKWord& nKey) noexcept;
  /// Removes and frees the entry of a key, as `Erase(Find(nKey))` does, with one search for both.
  int EraseAndFree(const ZTKWord& nKey) noexcept;
  /// Frees every entry, the erased ones included, and the table. Returns 1.
  int EraseAll() noexcept;

  /// 0 after `EraseAll()`.
  unsigned long GetBucketCount() const noexcept { return m_nBuckets; }

 private:
  friend struct ZTKMapLayout;
  class ZTK_LOCAL Table;

  // An entry in memory. The lowest bit of `next` tells that the entry inserted next is the record
  // that follows: a walk need not wait for the word to be loaded. Programs know that bit and the
  // size (docs/abi.md); the rest is the library's. The row MapIterate pays for it.
  struct ZTK_LOCAL Record : Entry {
    std::uintptr_t next;
  };

  ZTK_LOCAL Table* GetTable() const noexcept;
  Entry* Next(Entry* pEntry) const noexcept;

  unsigned long m_nBuckets;
  ZTKListBase** m_ppBuckets = nullptr;  // A list for every bucket that ever had an entry.
  ZTKListBase* m_pEntries = nullptr;    // All entries, in the order of insertion.
};

ZTK_EXTERN_TEMPLATE(ZTKHashMap<ZTKWord>);
ZTK_EXTERN_TEMPLATE(ZTKHashMap<void*>);

/// A map from an unsigned machine word to another. A value can hold a pointer.
class ZTK_API ZTKMap : public ZTKHashMap<ZTKWord> {
 public:
  using ZTKHashMap::ZTKHashMap;
};

/// A map from an unsigned machine word to a pointer. What it points to belongs to someone else.
class ZTK_API ZTKPtrMap : public ZTKHashMap<void*> {
 public:
  using ZTKHashMap::ZTKHashMap;
};
