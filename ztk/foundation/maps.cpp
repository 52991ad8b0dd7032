#include "ztk/foundation/maps.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

// Programs outside the library depend on where the fields lie.
struct ZTKMapLayout {
  static constexpr size_t kWord = sizeof(void*);
  static_assert(offsetof(ZTKMap::Entry, key) == 0 * kWord);
  static_assert(offsetof(ZTKMap::Entry, value) == 1 * kWord);
  static_assert(offsetof(ZTKMap::Entry, bucketNode) == 2 * kWord);
  static_assert(offsetof(ZTKMap::Entry, entriesNode) == 3 * kWord);
  static_assert(offsetof(ZTKMap::Entry, bucket) == 4 * kWord);
  static_assert(sizeof(ZTKMap::Entry) == 5 * kWord);
  static_assert(sizeof(ZTKMap::iterator) == 2 * kWord);
  static_assert(offsetof(ZTKHashMap<void*>, m_nBuckets) == 0 * kWord);
  static_assert(offsetof(ZTKHashMap<void*>, m_ppBuckets) == 1 * kWord);
  static_assert(offsetof(ZTKHashMap<void*>, m_pEntries) == 2 * kWord);
  static_assert(sizeof(ZTKMap) == 3 * kWord && sizeof(ZTKPtrMap) == 3 * kWord);
  static_assert(sizeof(unsigned long) >= sizeof(void*), "a value must be able to hold a pointer");
};

namespace {

using Node = ZTKListBase::ZTKNodebase;

constexpr unsigned long kDefaultBuckets = 17;
constexpr unsigned long kLongBucket = 8;  // More entries than a map of fitting size has in one.

// The hash takes the whole key. Most processors divide 32 bits several times as fast as 64.
unsigned long BucketOf(unsigned long nKey, unsigned long nBuckets) noexcept {
  const unsigned long high = nKey >> 4;
  if (((std::uint64_t{high} | nBuckets) >> 32) != 0) return high % nBuckets;
  return static_cast<std::uint32_t>(high) % static_cast<std::uint32_t>(nBuckets);
}

// Memory of one table's entries and lists, packed densely and given back all at once.
class Pool {
 public:
  Pool() noexcept = default;
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;
  ~Pool() {
    while (m_pChunks) {
      Chunk* const next = m_pChunks->next;
      std::free(m_pChunks);
      m_pChunks = next;
    }
  }

  unsigned char* Take(size_t nSize) noexcept {
    if (nSize > m_nLeft && !Grow()) return nullptr;
    unsigned char* const piece = m_pFree;
    m_pFree += nSize;
    m_nLeft -= nSize;
    return piece;
  }

 private:
  struct Chunk {
    Chunk* next;
  };
  // In few steps to chunks that are large beside what came before: the C library's heap keeps
  // about twice its largest for the next map, where it would give many small ones back each time
  // and fetch them again page by page.
  static constexpr size_t kFirstChunk = 1024;
  static constexpr size_t kLastChunk = size_t{16} * 1024 * 1024;
  static constexpr size_t kGrowth = 4;

  bool Grow() noexcept {
    void* const memory = std::malloc(m_nChunk);
    if (!memory) return false;
    m_pChunks = new (memory) Chunk{m_pChunks};
    m_pFree = static_cast<unsigned char*>(memory) + sizeof(Chunk);
    m_nLeft = m_nChunk - sizeof(Chunk);
    if (m_nChunk < kLastChunk) m_nChunk *= kGrowth;
    return true;
  }

  Chunk* m_pChunks = nullptr;
  unsigned char* m_pFree = nullptr;
  size_t m_nLeft = 0;
  size_t m_nChunk = kFirstChunk;
};

}  // namespace

// The list of one bucket. Its nodes are those of the slots.
template <class Value>
class ZTKHashMap<Value>::Bucket final : public ZTKListBase {
 public:
  Node* CreateNode(Node* pPrev, Node* pNext, void* pData) override {
    BucketNode& node = static_cast<Slot&>(*static_cast<Entry*>(pData));
    node.Link(pPrev, pNext, pData);
    return &node;
  }
  int DoDeleteNode(Node*) override { return 1; }
};

// The list of all entries. It carries the memory of the whole table.
template <class Value>
class ZTKHashMap<Value>::Entries final : public ZTKListBase {
 public:
  Entries(ZTKListBase** ppTable, Entries* pEarlier) noexcept
      : m_ppTable(ppTable), m_pEarlier(pEarlier) {}
  Entries(const Entries&) = delete;
  Entries& operator=(const Entries&) = delete;
  ~Entries() override {
    Init();  // The nodes go with the pool, and so do the lists of the buckets.
    delete[] m_ppTable;
  }
  Node* CreateNode(Node* pPrev, Node* pNext, void* pData) override {
    EntriesNode& node = static_cast<Slot&>(*static_cast<Entry*>(pData));
    node.Link(pPrev, pNext, pData);
    return &node;
  }
  int DoDeleteNode(Node*) override { return 1; }

  // A list for a bucket and, right behind it, the slot that the next entry gets: a lookup finds
  // the list's head and the first key in neighbouring memory.
  ZTKListBase* NewBucket() noexcept {
    unsigned char* const room = m_pool.Take(sizeof(Bucket) + sizeof(Slot));
    if (!room) return nullptr;
    FreeSlot(::new (room + sizeof(Bucket)) Slot);
    return new (room) Bucket;
  }
  Slot* NewSlot() noexcept {
    if (!m_pFreed) {
      void* const room = m_pool.Take(sizeof(Slot));
      return room ? ::new (room) Slot : nullptr;
    }
    Slot* const slot = m_pFreed;
    m_pFreed = static_cast<Slot*>(slot->BucketNode::GetData());
    return slot;
  }
  // The next entry may have the slot. Its key and value stay as they are till then.
  void FreeSlot(Slot* pSlot) noexcept {
    pSlot->BucketNode::SetData(m_pFreed);
    m_pFreed = pSlot;
  }
  Entries* GetEarlier() const noexcept { return m_pEarlier; }

  /// No key of the table has ever been larger.
  unsigned long GetLargestKey() const noexcept { return m_nLargestKey; }
  void NoteKey(unsigned long nKey) noexcept {
    if (nKey > m_nLargestKey) m_nLargestKey = nKey;
  }

 private:
  Pool m_pool;
  Slot* m_pFreed = nullptr;
  unsigned long m_nLargestKey = 0;
  ZTKListBase** m_ppTable;
  Entries* m_pEarlier;  // What InitHashTable replaced, kept for EraseAll.
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
typename ZTKHashMap<Value>::Entries* ZTKHashMap<Value>::EntryList() const noexcept {
  return static_cast<Entries*>(m_pEntries);
}

template <class Value>
void ZTKHashMap<Value>::InitHashTable(unsigned long nBuckets, int /*bAllocNow*/) {
  if (nBuckets > PTRDIFF_MAX / sizeof(void*)) return;
  ZTKListBase** const table = new (std::nothrow) ZTKListBase*[nBuckets]();
  if (!table) return;
  Entries* const entries = new (std::nothrow) Entries(table, EntryList());
  if (!entries) {
    delete[] table;
    return;
  }
  // Iterators on what is replaced still give their key and value, and are at their last step.
  for (iterator it = Begin(); it != End();) {
    Entry* const entry = it.m_pEntry;
    ++it;
    entry->bucketNode = nullptr;
    entry->entriesNode = nullptr;
  }
  m_nBuckets = nBuckets;
  m_ppBuckets = table;
  m_pEntries = entries;
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
  unsigned long bucket = 0;
  if (Entry* const entry = GetNodeAt(nKey, bucket)) {
    entry->value = value;
    return iterator(this, entry);
  }

  if (!m_ppBuckets) InitHashTable(m_nBuckets, 1);
  if (!m_ppBuckets) return End();
  ZTKListBase*& list = m_ppBuckets[bucket];
  if (!list) list = EntryList()->NewBucket();
  if (!list) return End();
  Slot* const slot = EntryList()->NewSlot();
  if (!slot) return End();

  slot->key = nKey;
  slot->value = value;
  slot->bucket = bucket;
  EntryList()->NoteKey(nKey);
  slot->bucketNode = list->Append(static_cast<Entry*>(slot));
  slot->entriesNode = m_pEntries->Append(static_cast<Entry*>(slot));
  return iterator(this, slot);
}

template <class Value>
typename ZTKHashMap<Value>::iterator ZTKHashMap<Value>::Find(
    const unsigned long& nKey) const noexcept {
  unsigned long bucket;
  return iterator(this, GetNodeAt(nKey, bucket));
}

// From both ends: what was inserted last and what was inserted first are asked for most.
template <class Value>
typename ZTKHashMap<Value>::Entry* ZTKHashMap<Value>::FindInLongBucket(
    const ZTKListBase& list, unsigned long nKey) noexcept {
  Node* back = list.GetLast();
  for (Node* front = list.GetFirst(); front && back; front = front->GetNext()) {
    Entry* const older = Slot::OfBucketNode(front);
    if (older->key == nKey) return older;
    if (front == back) break;
    Entry* const newer = Slot::OfBucketNode(back);
    if (newer->key == nKey) return newer;
    back = back->GetPrev();
    if (front == back) break;
  }
  return nullptr;
}

template <class Value>
typename ZTKHashMap<Value>::Entry* ZTKHashMap<Value>::GetNodeAt(
    const unsigned long& nKey, unsigned long& nBucket) const noexcept {
  // The key may be the very object that the bucket is written to.
  const unsigned long key = nKey;
  nBucket = m_nBuckets != 0 ? BucketOf(key, m_nBuckets) : 0;
  if (m_nBuckets == 0 || !m_ppBuckets) return nullptr;
  // Keys that count upwards, as ids do, are told to be new without a walk.
  if (key > EntryList()->GetLargestKey()) return nullptr;
  const ZTKListBase* const list = m_ppBuckets[nBucket];
  if (!list) return nullptr;
  if (list->GetCount() > kLongBucket) return FindInLongBucket(*list, key);
  for (Node* node = list->GetFirst(); node; node = node->GetNext()) {
    Entry* const entry = Slot::OfBucketNode(node);
    if (entry->key == key) return entry;
  }
  return nullptr;
}

template <class Value>
unsigned long ZTKHashMap<Value>::GetCount(const unsigned long& nKey) const noexcept {
  if (!m_ppBuckets || nKey > EntryList()->GetLargestKey()) return 0;
  unsigned long bucket;
  return GetNodeAt(nKey, bucket) ? 1 : 0;
}

template <class Value>
bool ZTKHashMap<Value>::IsEmpty() const noexcept {
  return !m_pEntries || m_pEntries->GetCount() == 0;
}

template <class Value>
typename ZTKHashMap<Value>::iterator ZTKHashMap<Value>::Begin() const noexcept {
  return iterator(this, m_pEntries ? Slot::OfEntriesNode(m_pEntries->GetFirst()) : nullptr);
}

template <class Value>
void ZTKHashMap<Value>::Unlink(Entry* pEntry) noexcept {
  m_ppBuckets[pEntry->bucket]->DeleteNode(pEntry->bucketNode);
  m_pEntries->DeleteNode(pEntry->entriesNode);
  // An iterator that still stands on the entry takes its next step to the end.
  pEntry->bucketNode = nullptr;
  pEntry->entriesNode = nullptr;
}

template <class Value>
int ZTKHashMap<Value>::Erase(iterator& it) noexcept {
  Entry* const entry = it.m_pEntry;
  if (!m_ppBuckets || !entry || it.m_pMap != this) return 0;
  if (!entry->bucketNode) return 0;  // Erased by its key, or of an earlier table.
  Unlink(entry);
  EntryList()->FreeSlot(static_cast<Slot*>(entry));
  it.m_pEntry = nullptr;
  return 1;
}

template <class Value>
int ZTKHashMap<Value>::Erase(const unsigned long& nKey) noexcept {
  unsigned long bucket;
  Entry* const entry = GetNodeAt(nKey, bucket);
  if (!entry) return 0;
  Unlink(entry);
  return 1;
}

template <class Value>
int ZTKHashMap<Value>::EraseAll() noexcept {
  for (Entries* entries = EntryList(); entries;) {
    Entries* const earlier = entries->GetEarlier();
    delete entries;
    entries = earlier;
  }
  m_ppBuckets = nullptr;
  m_pEntries = nullptr;
  m_nBuckets = 0;
  return 1;
}

template class ZTKHashMap<unsigned long>;
template class ZTKHashMap<void*>;
