#include "ztk/foundation/maps.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
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
constexpr int kIgnoredBits = 4;  // The low bits of a key that no bucket depends on.

// The list of one bucket. Its nodes are the table's.
class Bucket final : public ZTKListBase {
 public:
  int DoDeleteNode(Node*) override { return 1; }
  using ZTKListBase::LinkLast;
  using ZTKListBase::Unlink;
};

// Where lookups look. The bucket of a key is a list, and to walk it is to fetch a node and an entry
// at each step; here one look at one line of the cache mostly tells where the entry is. The place
// of a key has nothing to do with its bucket, so a lookup stays fast with fewer buckets than keys.
template <class Record>
class Index {
 public:
  Index() noexcept = default;
  Index(const Index&) = delete;
  Index& operator=(const Index&) = delete;
  ~Index() { delete[] m_pPlaces; }

  /// Makes room, before the first record comes, for about as many as there are buckets.
  bool Init(unsigned long nBuckets) noexcept {
    const int bits = static_cast<int>(std::bit_width(nBuckets / kInPlace / 2));
    return Resize(std::clamp(bits, kFewestBits, kMostBits));
  }

  Record* Find(unsigned long nKey) const noexcept {
    const std::uint64_t hash = HashOf(nKey);
    const Place& place = PlaceOf(hash);
    for (std::uint64_t same = place.Tagged(TagOf(hash)); same != 0; same &= same - 1) {
      Record* const record = place.records[FirstByte(same)];
      if (record->key == nKey) return record;
    }
    if (!place.records[kLast]) return nullptr;
    Record* record = place.records[kLast]->Other();
    while (record && record->key != nKey) record = record->Other();
    return record;
  }

  void Add(Record* pRecord) noexcept {
    const std::uint64_t hash = HashOf(pRecord->key);
    Place& place = PlaceOf(hash);
    const std::uint64_t free = place.Tagged(0);
    const int i = free != 0 ? FirstByte(free) : kLast;
    pRecord->SetOther(place.records[i]);
    place.Set(i, pRecord, TagOf(hash));
  }

  void Remove(const Record* pRecord) noexcept {
    const std::uint64_t hash = HashOf(pRecord->key);
    Place& place = PlaceOf(hash);
    for (std::uint64_t same = place.Tagged(TagOf(hash)); same != 0; same &= same - 1) {
      const int i = FirstByte(same);
      if (place.records[i] != pRecord) continue;
      Record* const other = pRecord->Other();
      place.Set(i, other, other ? TagOf(HashOf(other->key)) : 0);
      return;
    }
    Record* before = place.records[kLast];
    while (before->Other() != pRecord) before = before->Other();
    before->SetOther(pRecord->Other());
  }

  bool IsFull(unsigned long nRecords) const noexcept {
    return (nRecords >> (kHashBits - m_nShift)) >= kFull;
  }
  /// Makes places for many more, which lie empty then. Without memory the old ones stay.
  bool Grow() noexcept {
    const int bits = kHashBits - m_nShift + kGrowthBits;
    return bits <= kMostBits && Resize(bits);
  }

 private:
  static constexpr int kHashBits = 64;
  static constexpr int kInPlace = 7;
  static constexpr int kLast = kInPlace - 1;
  static constexpr unsigned long kFull = 5;  // So many on average, and one in twenty is full.
  static constexpr int kFewestBits = 2;
  static constexpr int kGrowthBits = 2;
  static constexpr int kMostBits = 24;
  static constexpr std::uint64_t kEachByte = 0x01010101010101u;
  static constexpr std::uint64_t kMarks = kEachByte << 7;

  // Seven records, and seven bits of the hash of each in a byte of its own: that of the first is
  // the lowest, and it is 0 where there is no record. Further records hang on the last.
  struct alignas(8 * sizeof(void*)) Place {
    std::uint64_t tags;
    Record* records[kInPlace];

    // Marks the highest bit of each byte that is the tag. Above such a byte there may be a mark too
    // many, where the tag differs in its lowest bit: never where there is no record.
    std::uint64_t Tagged(std::uint64_t nTag) const noexcept {
      const std::uint64_t others = tags ^ kEachByte * nTag;
      return (others - kEachByte) & ~others & kMarks;
    }
    void Set(int i, Record* pRecord, std::uint64_t nTag) noexcept {
      records[i] = pRecord;
      tags = (tags & ~(std::uint64_t{0xFF} << 8 * i)) | nTag << 8 * i;
    }
  };

  bool Resize(int nBits) noexcept {
    Place* const places = new (std::nothrow) Place[size_t{1} << nBits]();
    if (!places) return false;
    delete[] m_pPlaces;
    m_pPlaces = places;
    m_nShift = kHashBits - nBits;
    return true;
  }
  static std::uint64_t HashOf(std::uint64_t nKey) noexcept { return nKey * 0x9E3779B97F4A7C15u; }
  // The upper bits are spread best.
  Place& PlaceOf(std::uint64_t nHash) const noexcept { return m_pPlaces[nHash >> m_nShift]; }
  static std::uint64_t TagOf(std::uint64_t nHash) noexcept { return 0x80 | ((nHash >> 32) & 0x7F); }
  static int FirstByte(std::uint64_t nMarks) noexcept { return std::countr_zero(nMarks) / 8; }

  Place* m_pPlaces = nullptr;
  int m_nShift = 0;  // Leaves of a hash the number of its place.
};

}  // namespace

// The list of all entries, and all the memory behind it: the table of the buckets and their lists,
// the entries, their nodes, and the index.
template <class Value>
class ZTKHashMap<Value>::Table final : public ZTKListBase {
 public:
  explicit Table(Table* pEarlier) noexcept : m_pEarlier(pEarlier) {}
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;
  ~Table() override {
    Init();  // The nodes go with their chunks, and so do the lists of the buckets.
    while (m_pChunks) {
      Chunk* const next = m_pChunks->next;
      std::free(m_pChunks);
      m_pChunks = next;
    }
    delete[] m_ppLists;
  }
  int DoDeleteNode(Node*) override { return 1; }

  /// The table of the buckets, or null when memory runs out.
  ZTKListBase** Create(unsigned long nBuckets) noexcept {
    if (nBuckets > PTRDIFF_MAX / sizeof(void*) || !m_index.Init(nBuckets)) return nullptr;
    m_ppLists = new (std::nothrow) ZTKListBase*[nBuckets]();
    return m_ppLists;
  }

  Record* Find(unsigned long nKey) const noexcept { return m_index.Find(nKey); }

  /// A new entry for a key that has none. Null, and nothing changed, when memory runs out.
  Record* Append(unsigned long nKey, const Value& value, unsigned long nBucket) noexcept {
    if (m_index.IsFull(m_nCount)) GrowIndex();
    ZTKListBase*& list = m_ppLists[nBucket];
    const bool needsRecord = !m_pFreeRecords;
    const bool needsNodes = !m_pFreeNodes || !list;
    if ((needsRecord && m_nRecordsLeft == 0) || (needsNodes && m_nNodesLeft == 0)) {
      if (!GrowMemory()) return nullptr;
    }
    Record* const record = needsRecord ? NewRecord() : UsedRecord();
    Nodes* const nodes = needsNodes ? NewNodes() : UsedNodes();
    Entry* const entry = record;
    nodes->inBucket.SetData(entry);
    nodes->inEntries.SetData(entry);
    entry->key = nKey;
    entry->value = value;
    entry->bucketNode = &nodes->inBucket;
    entry->entriesNode = &nodes->inEntries;
    entry->bucket = nBucket;
    record->link = m_pTail && RecordOf(m_pTail) + 1 == record;
    m_index.Add(record);
    list = list ? list : &nodes->list;
    nodes->listOfBucket = static_cast<Bucket*>(list);
    nodes->listOfBucket->LinkLast(entry->bucketNode);
    LinkLast(entry->entriesNode);
    return record;
  }

  /// Takes the entry out of both lists and deletes its nodes.
  void Remove(Record* pRecord) noexcept {
    m_index.Remove(pRecord);
    auto* const nodes = reinterpret_cast<Nodes*>(pRecord->bucketNode);  // Its first member.
    nodes->listOfBucket->Unlink(pRecord->bucketNode);
    Unlink(pRecord->entriesNode);
    nodes->inBucket.SetData(m_pFreeNodes);
    m_pFreeNodes = nodes;
    Forget(pRecord);
  }
  /// The next entry may have the memory.
  void Free(Record* pRecord) noexcept {
    pRecord->SetOther(m_pFreeRecords);
    m_pFreeRecords = pRecord;
  }
  /// An iterator that still stands on the entry takes its next step to the end.
  static void Forget(Record* pRecord) noexcept {
    pRecord->bucketNode = nullptr;
    pRecord->entriesNode = nullptr;
    pRecord->SetFollows(false);
  }
  Table* GetEarlier() const noexcept { return m_pEarlier; }

 private:
  // The two nodes of an entry, and with those of the first in a bucket the bucket's list, which
  // stays when the nodes are used again.
  struct Nodes {
    Node inBucket{nullptr, nullptr, nullptr};
    Node inEntries{nullptr, nullptr, nullptr};
    Bucket list;
    Bucket* listOfBucket = nullptr;  // Here, so that an erasure needs no look at the table.
  };

  // Memory for a number of entries. Behind its head lie the records, and one more that is never
  // used, to look at behind the last; then the nodes.
  struct alignas(std::max_align_t) Chunk {
    Chunk* next;
  };
  // In few steps to chunks that are large beside what came before: the C library's heap keeps
  // about twice its largest for the next map, where it would give many small ones back each time
  // and fetch them again page by page.
  static constexpr size_t kFirstChunk = 8;
  static constexpr size_t kLastChunk = size_t{128} * 1024;
  static constexpr size_t kGrowth = 4;

  bool GrowMemory() noexcept {
    const size_t count = m_nChunk;
    void* const memory =
        std::malloc(sizeof(Chunk) + sizeof(Record) + count * (sizeof(Record) + sizeof(Nodes)));
    if (!memory) return false;
    m_pChunks = new (memory) Chunk{m_pChunks};
    m_pRecords = reinterpret_cast<Record*>(m_pChunks + 1);
    m_pNodes = reinterpret_cast<Nodes*>(m_pRecords + count + 1);
    m_nRecordsLeft = count;
    m_nNodesLeft = count;
    if (m_nChunk < kLastChunk) m_nChunk *= kGrowth;
    return true;
  }

  Record* NewRecord() noexcept {
    Record* const record = ::new (m_pRecords++) Record;
    --m_nRecordsLeft;
    record[1].link = 0;
    return record;
  }
  Record* UsedRecord() noexcept {
    Record* const record = m_pFreeRecords;
    m_pFreeRecords = record->Other();
    record[1].SetFollows(false);
    return record;
  }
  Nodes* NewNodes() noexcept {
    --m_nNodesLeft;
    return ::new (m_pNodes++) Nodes;
  }
  Nodes* UsedNodes() noexcept {
    Nodes* const nodes = m_pFreeNodes;
    m_pFreeNodes = static_cast<Nodes*>(nodes->inBucket.GetData());
    return nodes;
  }

  static Record* RecordOf(const Node* pNode) noexcept {
    return static_cast<Record*>(static_cast<Entry*>(pNode->GetData()));
  }
  void GrowIndex() noexcept {
    if (!m_index.Grow()) return;
    for (Node* node = m_pHead; node; node = node->GetNext()) {
      m_index.Add(RecordOf(node));
    }
  }

  Index<Record> m_index;
  ZTKListBase** m_ppLists = nullptr;
  Record* m_pRecords = nullptr;
  Nodes* m_pNodes = nullptr;
  size_t m_nRecordsLeft = 0;
  size_t m_nNodesLeft = 0;
  Record* m_pFreeRecords = nullptr;
  Nodes* m_pFreeNodes = nullptr;
  Chunk* m_pChunks = nullptr;
  size_t m_nChunk = kFirstChunk;
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
  Table* const table = new (std::nothrow) Table(GetTable());
  if (!table) return;
  ZTKListBase** const buckets = table->Create(nBuckets);
  if (!buckets) {
    delete table;
    return;
  }
  // Iterators on what is replaced still give their key and value, and are at their last step.
  for (iterator it = Begin(); it != End();) {
    Entry* const entry = it.m_pEntry;
    ++it;
    Table::Forget(static_cast<Record*>(entry));
  }
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

  Table& table = *GetTable();
  if (Record* const record = table.Find(nKey)) {
    record->value = value;
    return iterator(this, record);
  }
  return iterator(this, table.Append(nKey, value, (nKey >> kIgnoredBits) % m_nBuckets));
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
  return m_ppBuckets ? GetTable()->Find(key) : nullptr;
}

template <class Value>
unsigned long ZTKHashMap<Value>::GetCount(const unsigned long& nKey) const noexcept {
  return m_ppBuckets && GetTable()->Find(nKey) ? 1 : 0;
}

template <class Value>
bool ZTKHashMap<Value>::IsEmpty() const noexcept {
  return !m_pEntries || m_pEntries->GetCount() == 0;
}

template <class Value>
typename ZTKHashMap<Value>::iterator ZTKHashMap<Value>::Begin() const noexcept {
  const Node* const first = m_pEntries ? m_pEntries->GetFirst() : nullptr;
  return iterator(this, first ? static_cast<Entry*>(first->GetData()) : nullptr);
}

template <class Value>
int ZTKHashMap<Value>::Erase(iterator& it) noexcept {
  auto* const record = static_cast<Record*>(it.m_pEntry);
  if (!m_ppBuckets || !record || it.m_pMap != this) return 0;
  if (!record->bucketNode) return 0;  // Erased by its key, or of an earlier table.
  GetTable()->Remove(record);
  GetTable()->Free(record);
  it.m_pEntry = nullptr;
  return 1;
}

template <class Value>
int ZTKHashMap<Value>::Erase(const unsigned long& nKey) noexcept {
  Record* const record = m_ppBuckets ? GetTable()->Find(nKey) : nullptr;
  if (!record) return 0;
  GetTable()->Remove(record);
  return 1;
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
