#include "ztk/foundation/maps.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>

#include "ztk/foundation/internal/map_index.h"
#include "ztk/foundation/internal/map_records.h"

namespace {

using Node = ZTKListBase::ZTKNodebase;

constexpr unsigned long kDefaultBuckets = 17;
constexpr int kIgnoredBits = 4;  // The low bits of a key that no bucket depends on.

}  // namespace

// The list of all entries, and all that is behind it: the records of the entries, their order, the
// index, and the lists of the buckets. Both kinds of list are empty until `KeepLists`, which const
// operations may call from several threads: nothing that they read of a map is written then, but
// for what the lock guards.
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

  Record* Find(unsigned long nKey) const noexcept {
    return m_index.Find(nKey, Index::HashOf(nKey));
  }
  /// The entry of a key, a new one where it has none. Null, and nothing changed, when memory runs
  /// out.
  Record* FindOrAdd(unsigned long nKey) noexcept {
    const std::uint64_t hash = Index::HashOf(nKey);
    if (Record* const record = m_index.Find(nKey, hash)) return record;
    if (m_index.IsCrowded()) GrowIndex();
    Record* const record = m_records.Take();
    if (!record) return nullptr;
    record->key = nKey;
    if (m_index.Add(record, hash)) {
      if (LinkLast(record)) return record;
      m_index.Remove(record, hash);
    }
    m_records.Give(record);
    return nullptr;
  }
  /// Takes an entry out of both lists, and leaves its memory to the next. False when it is out
  /// already, and for an entry of an earlier table.
  bool RemoveAndFree(Record* pRecord) noexcept {
    if (!Remove(pRecord, Index::HashOf(pRecord->key))) return false;
    m_records.Give(pRecord);
    return true;
  }
  /// Takes the entry of a key out of both lists. Null when there is none.
  Record* Remove(unsigned long nKey) noexcept {
    const std::uint64_t hash = Index::HashOf(nKey);
    Record* const record = m_index.Find(nKey, hash);
    return record && Remove(record, hash) ? record : nullptr;
  }
  bool RemoveAndFree(unsigned long nKey) noexcept {
    Record* const record = Remove(nKey);
    if (record) m_records.Give(record);
    return record;
  }

  /// Builds both kinds of list, and keeps them from now on. False, and nothing changed, when memory
  /// runs out. Any number of threads may call it at a time.
  bool KeepLists() noexcept {
    if (m_bLists.load(std::memory_order_acquire)) return true;
    const std::lock_guard lock(m_listsBeingBuilt);
    if (HasLists()) return true;
    for (Record* record = m_pFirst; record; record = record->Behind()) {
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

  /// Makes the present step of every iterator its last one.
  void ForgetAll() noexcept {
    for (Record* record = m_pFirst; record;) {
      Record* const next = record->Behind();
      Forget(record);
      record = next;
    }
    if (HasLists()) DropLists();
  }

 private:
  using Index = MapIndex<Record>;

  static Record* RecordOf(const Node* pNode) noexcept {
    return pNode ? static_cast<Record*>(static_cast<Entry*>(pNode->GetData())) : nullptr;
  }
  static void Forget(Record* pRecord) noexcept {
    pRecord->bucketNode = nullptr;
    pRecord->entriesNode = nullptr;
    pRecord->SetBehind(nullptr);
  }
  // For operations that change the map: no other thread builds lists then.
  bool HasLists() const noexcept { return m_bLists.load(std::memory_order_relaxed); }
  [[gnu::noinline]] void GrowIndex() noexcept {
    if (!m_index.Grow()) return;
    for (Record* record = m_pFirst; record; record = record->Behind()) {
      m_index.Add(record, Index::HashOf(record->key));
    }
  }

  bool Remove(Record* pRecord, std::uint64_t nHash) noexcept {
    if (!m_index.Remove(pRecord, nHash)) return false;
    Unlink(pRecord);
    Forget(pRecord);
    return true;
  }

  // False, and nothing changed, when memory for the nodes runs out.
  bool LinkLast(Record* pRecord) noexcept {
    if (!HasLists()) {
      pRecord->SetBefore(m_pLast);
    } else if (!AppendToLists(pRecord)) {
      return false;
    }
    pRecord->SetBehind(nullptr);
    if (m_pLast) {
      m_pLast->SetBehind(pRecord);
    } else {
      m_pFirst = pRecord;
    }
    m_pLast = pRecord;
    return true;
  }
  void Unlink(Record* pRecord) noexcept {
    Record* const before = BeforeOf(pRecord);
    Record* const behind = pRecord->Behind();
    if (before) {
      before->SetBehind(behind);
    } else {
      m_pFirst = behind;
    }
    if (!behind) m_pLast = before;
    if (HasLists()) {
      m_ppLists[pRecord->bucket]->DeleteNode(pRecord->bucketNode);
      DeleteNode(pRecord->entriesNode);
    } else if (behind) {
      behind->SetBefore(before);
    }
  }
  Record* BeforeOf(const Record* pRecord) const noexcept {
    return HasLists() ? RecordOf(pRecord->entriesNode->GetPrev()) : pRecord->Before();
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
  unsigned long BucketOf(const Record* pRecord) const noexcept {
    return (pRecord->key >> kIgnoredBits) % m_nBuckets;
  }

  // The printers of the debugger find the first entry and the number of entries by their places.
  Record* m_pFirst = nullptr;  // In the order of insertion.
  Record* m_pLast = nullptr;
  Index m_index;
  MapRecords<Record> m_records;
  unsigned long m_nBuckets;
  ZTKListBase** m_ppLists = nullptr;
  std::atomic<bool> m_bLists{false};  // Set once, with everything behind it.
  std::mutex m_listsBeingBuilt;
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
  // Iterators on what is replaced still give their key and value, and are at their last step.
  if (m_pEntries) GetTable()->ForgetAll();
  m_nBuckets = nBuckets;
  m_ppBuckets = buckets;
  m_pEntries = table;
}

template <class Value>
typename ZTKHashMap<Value>::iterator ZTKHashMap<Value>::Insert(const unsigned long& nKey,
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
typename ZTKHashMap<Value>::iterator ZTKHashMap<Value>::Find(
    const unsigned long& nKey) const noexcept {
  return iterator(this, m_ppBuckets ? GetTable()->Find(nKey) : nullptr);
}

template <class Value>
typename ZTKHashMap<Value>::Entry* ZTKHashMap<Value>::GetNodeAt(
    const unsigned long& nKey, unsigned long& nBucket) const noexcept {
  // The key may be the very object that the bucket is written to.
  const unsigned long key = nKey;
  nBucket = m_nBuckets != 0 ? (key >> kIgnoredBits) % m_nBuckets : 0;
  Record* const record = m_ppBuckets ? GetTable()->Find(key) : nullptr;
  return record && GetTable()->KeepLists() ? record : nullptr;
}

template <class Value>
unsigned long ZTKHashMap<Value>::GetCount(const unsigned long& nKey) const noexcept {
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
  return static_cast<const Record*>(pEntry)->Behind();
}

template <class Value>
int ZTKHashMap<Value>::Erase(iterator& it) noexcept {
  if (!m_ppBuckets || !it.m_pEntry || it.m_pMap != this) return 0;
  if (!GetTable()->RemoveAndFree(static_cast<Record*>(it.m_pEntry))) return 0;
  it.m_pEntry = nullptr;
  return 1;
}

template <class Value>
int ZTKHashMap<Value>::Erase(const unsigned long& nKey) noexcept {
  return m_ppBuckets && GetTable()->Remove(nKey) ? 1 : 0;
}

template <class Value>
int ZTKHashMap<Value>::EraseAndFree(const unsigned long& nKey) noexcept {
  return m_ppBuckets && GetTable()->RemoveAndFree(nKey) ? 1 : 0;
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

template class ZTKHashMap<unsigned long>;
template class ZTKHashMap<void*>;
