#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>

#include "ztk/foundation/word.h"

/// Where the maps look a key up; not installed, nothing for applications.
///
/// Chains of nodes cost a cache miss a step. This is an open-addressing table of groups, each one
/// cache line: seven slots with a tag of seven hash bits each, compared all at once within a word,
/// and a count of the records that overflowed to later groups of their probe sequence, in place of
/// tombstones. Swiss tables and F14 work so. Most look-ups read one group and one record. It costs
/// a line for every five records at most load. The rows MapFind, MapInsert and MapErase of
/// bench/foundation/map_bench.cpp pay for it.
template <class Record>
class MapIndex {
 public:
  MapIndex() noexcept = default;
  MapIndex(const MapIndex&) = delete;
  MapIndex& operator=(const MapIndex&) = delete;
  ~MapIndex() { delete[] m_pGroups; }

  /// Allocates groups for about `nRecords`; before anything else. False without memory.
  bool Init(unsigned long nRecords) noexcept {
    const int bits = static_cast<int>(std::bit_width(nRecords / kSlots / 2));
    return Resize(std::clamp(bits, kFewestBits, kMostAtFirst));
  }

  /// Fibonacci hashing: the upper bits are mixed best.
  static std::uint64_t HashOf(std::uint64_t nKey) noexcept { return nKey * 0x9E3779B97F4A7C15u; }

  /// The record of a key with this hash, or null.
  Record* Find(ZTKWord nKey, std::uint64_t nHash) const noexcept {
    const Group& group = m_pGroups[FirstGroup(nHash)];
    if (Record* const record = group.Find(nKey, TagOf(nHash))) return record;
    return group.Overflows() == 0 ? nullptr : FindOverflown(nKey, nHash);
  }

  /// Adds a record whose key is new. False, and nothing changed, when every slot is taken.
  bool Add(Record* pRecord, std::uint64_t nHash) noexcept {
    Group& group = m_pGroups[FirstGroup(nHash)];
    if (group.IsFull()) return AddOverflowing(pRecord, nHash);
    group.Add(pRecord, TagOf(nHash));
    ++m_nRecords;
    return true;
  }

  /// False when the record is not in the index.
  bool Remove(const Record* pRecord, std::uint64_t nHash) noexcept {
    Group& group = m_pGroups[FirstGroup(nHash)];
    if (!group.Remove(pRecord, TagOf(nHash))) {
      return group.Overflows() != 0 && RemoveOverflown(pRecord, nHash);
    }
    --m_nRecords;
    return true;
  }

  std::size_t GetCount() const noexcept { return m_nRecords; }
  /// Whether the load factor is at its limit, beyond which probe sequences grow long.
  bool NeedsGrowth() const noexcept { return m_nRecords >= kMaxLoad * (m_nMask + 1); }
  /// Allocates four times the groups, all empty: every record has to be added again. False, and
  /// nothing changed, without memory.
  bool Grow() noexcept {
    const int bits = kHashBits - m_nShift + kGrowthBits;
    return bits <= kMostBits && Resize(bits);
  }

 private:
  static constexpr int kHashBits = 64;
  static constexpr int kTagBits = 7;
  static constexpr int kSlots = 7;
  static constexpr std::size_t kMaxLoad = 5;  // Records a group: then one group in eight is full.
  static constexpr int kFewestBits = 2;
  static constexpr int kGrowthBits = 2;
  static constexpr int kMostAtFirst = 24;
  static constexpr int kMostBits = 8 * sizeof(std::size_t) - 8;
  static constexpr std::uint64_t kEachByte = 0x01010101010101u;
  static constexpr std::uint64_t kHighBits = kEachByte << 7;

  // The lowest seven bytes of `tags` are those of the slots, from the lowest on; 0 is a free slot.
  // The highest byte is the overflow count, which stays at its maximum once it is there.
  struct alignas(8 * sizeof(void*)) Group {
    std::uint64_t tags;
    Record* records[kSlots];

    // The highest bit of each byte that is the tag. The borrow may add a byte above one that is,
    // where the tag differs in its lowest bit: a false match, never of a free slot.
    std::uint64_t Match(std::uint64_t nTag) const noexcept {
      const std::uint64_t others = tags ^ kEachByte * nTag;
      return (others - kEachByte) & ~others & kHighBits;
    }
    bool IsFull() const noexcept { return (tags & kHighBits) == kHighBits; }
    std::uint64_t Overflows() const noexcept { return tags >> kOverflowShift; }
    void AddOverflow() noexcept {
      if (Overflows() != kMaxOverflows) tags += std::uint64_t{1} << kOverflowShift;
    }
    void RemoveOverflow() noexcept {
      if (Overflows() != kMaxOverflows) tags -= std::uint64_t{1} << kOverflowShift;
    }
    Record* Find(ZTKWord nKey, std::uint64_t nTag) const noexcept {
      for (std::uint64_t same = Match(nTag); same != 0; same &= same - 1) {
        Record* const record = records[FirstByte(same)];
        if (record->key == nKey) return record;
      }
      return nullptr;
    }

    void Add(Record* pRecord, std::uint64_t nTag) noexcept {
      const int i = FirstByte(Match(0));
      records[i] = pRecord;
      tags |= nTag << 8 * i;
    }
    bool Remove(const Record* pRecord, std::uint64_t nTag) noexcept {
      for (std::uint64_t same = Match(nTag); same != 0; same &= same - 1) {
        const int i = FirstByte(same);
        if (records[i] != pRecord) continue;
        tags ^= nTag << 8 * i;
        return true;
      }
      return false;
    }

    static constexpr int kOverflowShift = 8 * kSlots;
    static constexpr std::uint64_t kMaxOverflows = 0xFF;
  };

  // The groups where a key may be. Keys that share the first one mostly part then.
  struct ProbeSequence {
    ProbeSequence(const MapIndex& index, std::uint64_t nHash) noexcept
        : nGroup(index.FirstGroup(nHash)),
          nStep(static_cast<std::size_t>(nHash) | 1),
          nMask(index.m_nMask),
          nLeft(nMask) {}
    /// False after the last group.
    bool Next() noexcept {
      nGroup = (nGroup + nStep) & nMask;
      return nLeft-- != 0;
    }
    std::size_t nGroup;
    std::size_t nStep;  // Odd, so that the sequence visits every group.
    std::size_t nMask;
    std::size_t nLeft;
  };

  // Probing past the first group is rare; kept out of line so that the inlined path stays small.
  [[gnu::noinline]] Record* FindOverflown(ZTKWord nKey, std::uint64_t nHash) const noexcept {
    for (ProbeSequence probe(*this, nHash); probe.Next();) {
      const Group& group = m_pGroups[probe.nGroup];
      if (Record* const record = group.Find(nKey, TagOf(nHash))) return record;
      if (group.Overflows() == 0) break;
    }
    return nullptr;
  }
  [[gnu::noinline]] bool AddOverflowing(Record* pRecord, std::uint64_t nHash) noexcept {
    if (m_nRecords == kSlots * (m_nMask + 1)) return false;
    ProbeSequence probe(*this, nHash);
    for (; m_pGroups[probe.nGroup].IsFull(); probe.Next()) m_pGroups[probe.nGroup].AddOverflow();
    m_pGroups[probe.nGroup].Add(pRecord, TagOf(nHash));
    ++m_nRecords;
    return true;
  }
  [[gnu::noinline]] bool RemoveOverflown(const Record* pRecord, std::uint64_t nHash) noexcept {
    for (ProbeSequence probe(*this, nHash); probe.Next();) {
      Group& group = m_pGroups[probe.nGroup];
      if (group.Remove(pRecord, TagOf(nHash))) {
        for (ProbeSequence back(*this, nHash); back.nGroup != probe.nGroup; back.Next()) {
          m_pGroups[back.nGroup].RemoveOverflow();
        }
        --m_nRecords;
        return true;
      }
      if (group.Overflows() == 0) break;
    }
    return false;
  }

  bool Resize(int nBits) noexcept {
    const std::size_t count = std::size_t{1} << nBits;
    if (count > PTRDIFF_MAX / sizeof(Group)) return false;
    Group* const groups = new (std::nothrow) Group[count]();
    if (!groups) return false;
    delete[] m_pGroups;
    m_pGroups = groups;
    m_nMask = count - 1;
    m_nShift = kHashBits - nBits;
    m_nRecords = 0;
    return true;
  }
  std::size_t FirstGroup(std::uint64_t nHash) const noexcept {
    return static_cast<std::size_t>(nHash >> m_nShift);
  }
  static std::uint64_t TagOf(std::uint64_t nHash) noexcept {
    return std::uint64_t{1} << kTagBits | (nHash >> 32 & ((1 << kTagBits) - 1));
  }
  static int FirstByte(std::uint64_t nMatch) noexcept { return std::countr_zero(nMatch) / 8; }

  std::size_t m_nRecords = 0;
  Group* m_pGroups = nullptr;
  std::size_t m_nMask = 0;  // The number of groups less one.
  int m_nShift = 0;         // `hash >> m_nShift` is the index of the first group.
};
