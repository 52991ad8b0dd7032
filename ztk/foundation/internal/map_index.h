#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <new>

/// Where the maps look a key up; not installed, nothing for applications.
///
/// A table of places, each a line of the cache with seven records and some bits of the hash of
/// each. A key goes to the place that its hash leads to, or, where that is full, to one that lies
/// some steps further. So one look at one line mostly tells where a record is.
template <class Record>
class MapIndex {
 public:
  MapIndex() noexcept = default;
  MapIndex(const MapIndex&) = delete;
  MapIndex& operator=(const MapIndex&) = delete;
  ~MapIndex() { delete[] m_pPlaces; }

  /// Makes room, before the first record comes, for about `nRecords`. False without memory.
  bool Init(unsigned long nRecords) noexcept {
    const int bits = static_cast<int>(std::bit_width(nRecords / kInPlace / 2));
    return Resize(std::clamp(bits, kFewestBits, kMostAtFirst));
  }

  /// Spreads keys that lie close together, and those that differ in their upper bits only. Its own
  /// upper bits are spread best.
  static std::uint64_t HashOf(std::uint64_t nKey) noexcept { return nKey * 0x9E3779B97F4A7C15u; }

  /// The record of a key with this hash, or null.
  Record* Find(unsigned long nKey, std::uint64_t nHash) const noexcept {
    const Place& place = m_pPlaces[PlaceOf(nHash)];
    if (Record* const record = place.Find(nKey, TagOf(nHash))) return record;
    return place.Passed() == 0 ? nullptr : FindFurther(nKey, nHash);
  }

  /// Takes in a record whose key is new. False, and nothing changed, when every place is full.
  bool Add(Record* pRecord, std::uint64_t nHash) noexcept {
    Place& place = m_pPlaces[PlaceOf(nHash)];
    if (place.IsFull()) return AddFurther(pRecord, nHash);
    place.Add(pRecord, TagOf(nHash));
    ++m_nRecords;
    return true;
  }

  /// Leaves out a record. False when it is not in here.
  bool Remove(const Record* pRecord, std::uint64_t nHash) noexcept {
    Place& place = m_pPlaces[PlaceOf(nHash)];
    if (!place.Remove(pRecord, TagOf(nHash))) {
      return place.Passed() != 0 && RemoveFurther(pRecord, nHash);
    }
    --m_nRecords;
    return true;
  }

  unsigned long GetCount() const noexcept { return m_nRecords; }
  /// Whether searches grow long for want of places.
  bool IsCrowded() const noexcept { return m_nRecords >= kCrowd * (m_nMask + 1); }
  /// Makes places for many more. They are empty then: every record has to be added again. Without
  /// memory the old ones stay, and it is false.
  bool Grow() noexcept {
    const int bits = kHashBits - m_nShift + kGrowthBits;
    return bits <= kMostBits && Resize(bits);
  }

 private:
  static constexpr int kHashBits = 64;
  static constexpr int kTagBits = 7;
  static constexpr int kInPlace = 7;
  static constexpr unsigned long kCrowd = 5;  // So many on average, and one in eight is full.
  static constexpr int kFewestBits = 2;
  static constexpr int kGrowthBits = 2;
  static constexpr int kMostAtFirst = 24;
  static constexpr int kMostBits = 8 * sizeof(std::size_t) - 8;
  static constexpr std::uint64_t kEachByte = 0x01010101010101u;
  static constexpr std::uint64_t kMarks = kEachByte << 7;

  // Seven records, and seven bits of the hash of each in a byte of its own: that of the first is
  // the lowest, and it is 0 where there is no record. The highest byte counts the records that
  // found the place full and went on; at its most it stays there.
  struct alignas(8 * sizeof(void*)) Place {
    std::uint64_t tags;
    Record* records[kInPlace];

    // Marks the highest bit of each byte that is the tag. Above such a byte there may be a mark too
    // many, where the tag differs in its lowest bit: never where there is no record.
    std::uint64_t Tagged(std::uint64_t nTag) const noexcept {
      const std::uint64_t others = tags ^ kEachByte * nTag;
      return (others - kEachByte) & ~others & kMarks;
    }
    bool IsFull() const noexcept { return (tags & kMarks) == kMarks; }
    std::uint64_t Passed() const noexcept { return tags >> kPassed; }
    void CountPassing() noexcept {
      if (Passed() != kMostPassed) tags += std::uint64_t{1} << kPassed;
    }
    void CountBack() noexcept {
      if (Passed() != kMostPassed) tags -= std::uint64_t{1} << kPassed;
    }
    Record* Find(unsigned long nKey, std::uint64_t nTag) const noexcept {
      for (std::uint64_t same = Tagged(nTag); same != 0; same &= same - 1) {
        Record* const record = records[FirstByte(same)];
        if (record->key == nKey) return record;
      }
      return nullptr;
    }

    void Add(Record* pRecord, std::uint64_t nTag) noexcept {
      const int i = FirstByte(Tagged(0));
      records[i] = pRecord;
      tags |= nTag << 8 * i;
    }
    bool Remove(const Record* pRecord, std::uint64_t nTag) noexcept {
      for (std::uint64_t same = Tagged(nTag); same != 0; same &= same - 1) {
        const int i = FirstByte(same);
        if (records[i] != pRecord) continue;
        tags ^= nTag << 8 * i;
        return true;
      }
      return false;
    }

    static constexpr int kPassed = 8 * kInPlace;
    static constexpr std::uint64_t kMostPassed = 0xFF;
  };

  // The places where a key may be, one after the other. Keys that share the first mostly part then.
  struct Way {
    Way(const MapIndex& index, std::uint64_t nHash) noexcept
        : nPlace(index.PlaceOf(nHash)),
          nStep(static_cast<std::size_t>(nHash) | 1),
          nMask(index.m_nMask),
          nLeft(nMask) {}
    /// False after the last place.
    bool GoOn() noexcept {
      nPlace = (nPlace + nStep) & nMask;
      return nLeft-- != 0;
    }
    std::size_t nPlace;
    std::size_t nStep;  // Odd, so that it leads to every place.
    std::size_t nMask;
    std::size_t nLeft;
  };

  // What goes beyond the first place is seldom, and apart, so that the rest needs few registers.
  [[gnu::noinline]] Record* FindFurther(unsigned long nKey, std::uint64_t nHash) const noexcept {
    for (Way way(*this, nHash); way.GoOn();) {
      const Place& place = m_pPlaces[way.nPlace];
      if (Record* const record = place.Find(nKey, TagOf(nHash))) return record;
      if (place.Passed() == 0) break;
    }
    return nullptr;
  }
  [[gnu::noinline]] bool AddFurther(Record* pRecord, std::uint64_t nHash) noexcept {
    if (m_nRecords == kInPlace * (m_nMask + 1)) return false;
    Way way(*this, nHash);
    for (; m_pPlaces[way.nPlace].IsFull(); way.GoOn()) m_pPlaces[way.nPlace].CountPassing();
    m_pPlaces[way.nPlace].Add(pRecord, TagOf(nHash));
    ++m_nRecords;
    return true;
  }
  [[gnu::noinline]] bool RemoveFurther(const Record* pRecord, std::uint64_t nHash) noexcept {
    for (Way way(*this, nHash); way.GoOn();) {
      Place& place = m_pPlaces[way.nPlace];
      if (place.Remove(pRecord, TagOf(nHash))) {
        for (Way back(*this, nHash); back.nPlace != way.nPlace; back.GoOn()) {
          m_pPlaces[back.nPlace].CountBack();
        }
        --m_nRecords;
        return true;
      }
      if (place.Passed() == 0) break;
    }
    return false;
  }

  bool Resize(int nBits) noexcept {
    const std::size_t count = std::size_t{1} << nBits;
    if (count > PTRDIFF_MAX / sizeof(Place)) return false;
    Place* const places = new (std::nothrow) Place[count]();
    if (!places) return false;
    delete[] m_pPlaces;
    m_pPlaces = places;
    m_nMask = count - 1;
    m_nShift = kHashBits - nBits;
    m_nRecords = 0;
    return true;
  }
  std::size_t PlaceOf(std::uint64_t nHash) const noexcept {
    return static_cast<std::size_t>(nHash >> m_nShift);
  }
  static std::uint64_t TagOf(std::uint64_t nHash) noexcept {
    return std::uint64_t{1} << kTagBits | (nHash >> 32 & ((1 << kTagBits) - 1));
  }
  static int FirstByte(std::uint64_t nMarks) noexcept { return std::countr_zero(nMarks) / 8; }

  unsigned long m_nRecords = 0;
  Place* m_pPlaces = nullptr;
  std::size_t m_nMask = 0;  // The number of places less one.
  int m_nShift = 0;         // Leaves of a hash the number of its first place.
};
