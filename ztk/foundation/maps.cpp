#include "ztk/foundation/maps.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>

#include "ztk/foundation/internal/lock_xp.h"
#include "ztk/foundation/internal/map_index.h"
#include "ztk/foundation/internal/map_records.h"

namespace {

using Node = ZTKListBase::ZTKNodebase;

constexpr unsigned long kDefaultBuckets = 17;
constexpr int kIgnoredBits = 4;  // The low bits of a key that no bucket depends on.

}  // namespace

// The list of all entries, with everything else that a map has: the records, their order, the
// index, and the lists of the buckets.
//
// Keeping both kinds of list makes an insert eight times and an erasure six times as long (the rows
// MapInsert and MapErase of bench/foundation/map_bench.cpp), and only `GetNodeAt` shows them. So
// they are empty until `BuildLists`, and the order is a doubly linked list within the records: the
// word `next`, and the word for the bucket's node as the previous record until there are lists.
// Const operations may call `BuildLists` from several threads: it writes nothing that other const
// operations read, except under the lock.
template <class Value>
class ZTKHashMap<Value>::Table final : public ZTKListBase {
 public:
  Table(Table* pEarlier, unsigned long nBuckets) noexcept
      : m_nBuckets(nBuckets), m_pEarlier(pEarlier) {}
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;
  ~Table() override {
    if (HasLists()) DropLists();
    std::free(m_ppLists);
  }

  /// The table of the buckets, or null when memory runs out.
  ZTKListBase** Create() noexcept {
    if (m_nBuckets > PTRDIFF_MAX / sizeof(void*) || !m_index.Init(m_nBuckets)) return nullptr;
    m_records.Init(m_nBuckets);
    const size_t slots = std::max(m_nBuckets, 1ul);
    m_ppLists = static_cast<ZTKListBase**>(std::calloc(slots, sizeof(void*)));
    return m_ppLists;
  }
  Table* GetEarlier() const noexcept { return m_pEarlier; }

  bool IsEmpty() const noexcept { return m_index.GetCount() == 0; }
  Record* First() const noexcept { return m_pFirst; }

  Record* Find(ZTKWord nKey) const noexcept { return m_index.Find(nKey, Index::HashOf(nKey)); }
  /// The entry of a key, a new one where it has none. Null, and nothing changed, when memory runs
  /// out.
  Record* FindOrAdd(ZTKWord nKey) noexcept {
    const std::uint64_t hash = Index::HashOf(nKey);
    if (Record* const record = m_index.Find(nKey, hash)) return record;
    if (m_index.NeedsGrowth()) GrowIndex();
    Record* const record = m_records.Allocate();
    if (!record) return nullptr;
    record->key = nKey;
    if (m_index.Add(record, hash)) {
      if (LinkLast(record)) return record;
      m_index.Remove(record, hash);
    }
    m_records.Release(record);
    return nullptr;
  }
  /// Removes an entry from the index and the lists. Its memory goes to the next entry, if `bFree`.
  /// False for null, for an entry that is removed already, and for one of an earlier table.
  bool Remove(Record* pRecord, bool bFree) noexcept {
    if (!pRecord || !m_index.Remove(pRecord, Index::HashOf(pRecord->key))) return false;
    Unlink(pRecord);
    Forget(pRecord);
    if (bFree) m_records.Release(pRecord);
    return true;
  }

  static Record* NextOf(const Record* pRecord) noexcept {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the lowest bit of the address is a flag.
    return reinterpret_cast<Record*>(pRecord->next & ~std::uintptr_t{1});
  }

  /// Builds both kinds of list, and keeps them from now on. False, and nothing changed, when memory
  /// runs out. Any number of threads may call it at a time.
  bool BuildLists() noexcept {
    if (m_bLists.load(std::memory_order_acquire)) return true;
    const std::lock_guard lock(m_listsBeingBuilt);
    if (HasLists()) return true;
    for (Record* record = m_pFirst; record; record = NextOf(record)) {
      if (Append(static_cast<Entry*>(record)) && AppendToBucket(record)) continue;
      DropLists();
      return false;
    }
    // The words of the records change only now that nothing can fail.
    for (Node* node = m_pHead; node; node = node->GetNext()) RecordOf(node)->entriesNode = node;
    for (unsigned long i = 0; i < m_nBuckets; ++i) {
      if (!m_ppLists[i]) continue;
      for (Node* node = m_ppLists[i]->GetFirst(); node; node = node->GetNext()) {
        RecordOf(node)->bucketNode = node;
        RecordOf(node)->bucket = i;
      }
    }
    m_bLists.store(true, std::memory_order_release);
    return true;
  }

  /// The next `++` of any iterator reaches the end.
  void ForgetAll() noexcept {
    for (Record* record = m_pFirst; record;) {
      Record* const next = NextOf(record);
      Forget(record);
      record = next;
    }
    if (HasLists()) DropLists();
  }

 private:
  using Index = MapIndex<Record>;

  static void SetNext(Record* pRecord, Record* pNext) noexcept {
    pRecord->next = reinterpret_cast<std::uintptr_t>(pNext) | (pNext == pRecord + 1 ? 1 : 0);
  }
  static void SetPrevious(Record* pRecord, Record* pPrevious) noexcept {
    pRecord->bucketNode = reinterpret_cast<Node*>(pPrevious);
  }
  static Record* RecordOf(const Node* pNode) noexcept {
    return pNode ? static_cast<Record*>(static_cast<Entry*>(pNode->GetData())) : nullptr;
  }
  static void Forget(Record* pRecord) noexcept {
    pRecord->bucketNode = nullptr;
    pRecord->entriesNode = nullptr;
    SetNext(pRecord, nullptr);
  }
  // For operations that change the map: no other thread builds lists then.
  bool HasLists() const noexcept { return m_bLists.load(std::memory_order_relaxed); }
  [[gnu::noinline]] void GrowIndex() noexcept {
    if (!m_index.Grow()) return;
    for (Record* record = m_pFirst; record; record = NextOf(record)) {
      m_index.Add(record, Index::HashOf(record->key));
    }
  }

  // False, and nothing changed, when memory for the nodes runs out.
  bool LinkLast(Record* pRecord) noexcept {
    if (!HasLists()) {
      SetPrevious(pRecord, m_pLast);
    } else if (!AppendToLists(pRecord)) {
      return false;
    }
    SetNext(pRecord, nullptr);
    if (m_pLast) {
      SetNext(m_pLast, pRecord);
    } else {
      m_pFirst = pRecord;
    }
    m_pLast = pRecord;
    return true;
  }
  void Unlink(Record* pRecord) noexcept {
    Record* const previous = HasLists() ? RecordOf(pRecord->entriesNode->GetPrev())
                                        : reinterpret_cast<Record*>(pRecord->bucketNode);
    Record* const next = NextOf(pRecord);
    if (previous) {
      SetNext(previous, next);
    } else {
      m_pFirst = next;
    }
    if (!next) m_pLast = previous;
    if (HasLists()) {
      m_ppLists[pRecord->bucket]->DeleteNode(pRecord->bucketNode);
      DeleteNode(pRecord->entriesNode);
    } else if (next) {
      SetPrevious(next, previous);
    }
  }

  // Null, and no node left behind, when memory runs out.
  Node* AppendToBucket(Record* pRecord) noexcept {
    ZTKListBase*& list = m_ppLists[BucketOf(pRecord)];
    if (!list) list = new (std::nothrow) ZTKListBase;
    return list ? list->Append(static_cast<Entry*>(pRecord)) : nullptr;
  }
  [[gnu::noinline]] bool AppendToLists(Record* pRecord) noexcept {
    pRecord->bucket = BucketOf(pRecord);
    pRecord->entriesNode = Append(static_cast<Entry*>(pRecord));
    if (!pRecord->entriesNode) return false;
    pRecord->bucketNode = AppendToBucket(pRecord);
    if (pRecord->bucketNode) return true;
    DeleteNode(pRecord->entriesNode);
    pRecord->entriesNode = nullptr;
    return false;
  }
  void DropLists() noexcept {
    Clear();
    for (unsigned long i = 0; i < m_nBuckets; ++i) {
      delete m_ppLists[i];
      m_ppLists[i] = nullptr;
    }
  }
  ZTKWord BucketOf(const Record* pRecord) const noexcept {
    return (pRecord->key >> kIgnoredBits) % m_nBuckets;
  }

  // The printers of the debugger find the first entry and the number of entries by their positions.
  Record* m_pFirst = nullptr;  // In the order of insertion.
  Record* m_pLast = nullptr;
  Index m_index;
  MapRecords<Record> m_records;
  unsigned long m_nBuckets;
  ZTKListBase** m_ppLists = nullptr;
  std::atomic<bool> m_bLists{false};  // Set once, with everything behind it.
  XPLock m_listsBeingBuilt;
  Table* m_pEarlier;  // What InitHashTable replaced, kept for EraseAll.
};

template <class Value>
ZTKHashMap<Value>::ZTKHashMap(unsigned long nBuckets)
    : m_nBuckets(nBuckets != 0 ? nBuckets : kDefaultBuckets) {
  InitHashTable(m_nBuckets, 1);
}

template <class Value>
ZTKHashMap<Value>::~ZTKHashMap() {
  EraseAll();
}

template <class Value>
typename ZTKHashMap<Value>::Table* ZTKHashMap<Value>::GetTable() const noexcept {
  return static_cast<Table*>(m_pEntries);
}

template <class Value>
void ZTKHashMap<Value>::InitHashTable(unsigned long nBuckets, int /*bAllocNow*/) {
  Table* const table = new (std::nothrow) Table(GetTable(), nBuckets);
  if (!table) return;
  ZTKListBase** const buckets = table->Create();
  if (!buckets) {
    delete table;
    return;
  }
  // Iterators on what is replaced still give their key and value; their next `++` reaches the end.
  if (m_pEntries) GetTable()->ForgetAll();
  m_nBuckets = nBuckets;
  m_ppBuckets = buckets;
  m_pEntries = table;
}

template <class Value>
typename ZTKHashMap<Value>::iterator ZTKHashMap<Value>::Insert(const ZTKWord& nKey,
                                                               const Value& value) {
  if (m_nBuckets == 0) {
    // There is no bucket to count the key into. Going on would mean a division by zero, which some
    // processors answer with a signal and others with a wrong bucket.
    std::fputs(
        "ztk: assertion failed: bucket count != 0: Insert into a map without buckets, "
        "call InitHashTable first\n",
        stderr);
    std::abort();
  }
  if (!m_ppBuckets) InitHashTable(m_nBuckets, 1);
  if (!m_ppBuckets) return End();

  Record* const record = GetTable()->FindOrAdd(nKey);
  if (record) record->value = value;
  return iterator(this, record);
}

template <class Value>
typename ZTKHashMap<Value>::iterator ZTKHashMap<Value>::Find(const ZTKWord& nKey) const noexcept {
  return iterator(this, m_ppBuckets ? GetTable()->Find(nKey) : nullptr);
}

template <class Value>
typename ZTKHashMap<Value>::Entry* ZTKHashMap<Value>::GetNodeAt(const ZTKWord& nKey,
                                                                ZTKWord& nBucket) const noexcept {
  // The key may be the very object that the bucket is written to.
  const ZTKWord key = nKey;
  nBucket = m_nBuckets != 0 ? (key >> kIgnoredBits) % m_nBuckets : 0;
  Record* const record = m_ppBuckets ? GetTable()->Find(key) : nullptr;
  return record && GetTable()->BuildLists() ? record : nullptr;
}

template <class Value>
unsigned long ZTKHashMap<Value>::GetCount(const ZTKWord& nKey) const noexcept {
  return m_ppBuckets && GetTable()->Find(nKey) ? 1 : 0;
}

template <class Value>
bool ZTKHashMap<Value>::IsEmpty() const noexcept {
  return !m_pEntries || GetTable()->IsEmpty();
}

template <class Value>
typename ZTKHashMap<Value>::iterator ZTKHashMap<Value>::Begin() const noexcept {
  return iterator(this, m_pEntries ? GetTable()->First() : nullptr);
}

template <class Value>
typename ZTKHashMap<Value>::Entry* ZTKHashMap<Value>::Next(Entry* pEntry) const noexcept {
  return Table::NextOf(static_cast<const Record*>(pEntry));
}

template <class Value>
int ZTKHashMap<Value>::Erase(iterator& it) noexcept {
  if (!m_ppBuckets || it.m_pMap != this) return 0;
  if (!GetTable()->Remove(static_cast<Record*>(it.m_pEntry), true)) return 0;
  it.m_pEntry = nullptr;
  return 1;
}

template <class Value>
int ZTKHashMap<Value>::Erase(const ZTKWord& nKey) noexcept {
  return m_ppBuckets && GetTable()->Remove(GetTable()->Find(nKey), false) ? 1 : 0;
}

template <class Value>
int ZTKHashMap<Value>::EraseAndFree(const ZTKWord& nKey) noexcept {
  return m_ppBuckets && GetTable()->Remove(GetTable()->Find(nKey), true) ? 1 : 0;
}

template <class Value>
int ZTKHashMap<Value>::EraseAll() noexcept {
  for (Table* table = GetTable(); table;) {
    Table* const earlier = table->GetEarlier();
    delete table;
    table = earlier;
  }
  m_ppBuckets = nullptr;
  m_pEntries = nullptr;
  m_nBuckets = 0;
  return 1;
}

template class ZTKHashMap<ZTKWord>;
template class ZTKHashMap<void*>;
