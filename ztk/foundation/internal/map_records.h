#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

/// The memory of a map's records; not installed, nothing for applications.
///
/// An arena of chunks that double its size, with a free list. Records never move, and those that
/// are allocated one after the other are neighbours. All of it is freed with the map.
template <class Record>
class MapRecords {
 public:
  MapRecords() noexcept = default;
  MapRecords(const MapRecords&) = delete;
  MapRecords& operator=(const MapRecords&) = delete;
  ~MapRecords() {
    while (m_pChunks) {
      Chunk* const next = m_pChunks->next;
      std::free(m_pChunks);
      m_pChunks = next;
    }
  }

  /// The first chunk has room for so many; before the first record.
  void Init(unsigned long nRecords) noexcept {
    m_nChunk = std::clamp<std::size_t>(nRecords, kFewest, kMostAtFirst);
  }

  /// Null when memory runs out.
  Record* Allocate() noexcept {
    if (Record* const free = m_pFree) {
      // NOLINTNEXTLINE(performance-no-int-to-ptr): see Release().
      m_pFree = reinterpret_cast<Record*>(free->bucket);
      return free;
    }
    if (m_nLeft == 0 && !AddChunk()) return nullptr;
    --m_nLeft;
    return ::new (m_pNext++) Record;
  }
  void Release(Record* pRecord) noexcept {
    pRecord->bucket = reinterpret_cast<std::uintptr_t>(m_pFree);
    m_pFree = pRecord;
  }

 private:
  struct alignas(std::max_align_t) Chunk {
    Chunk* next;
  };
  static constexpr std::size_t kFewest = 8;
  static constexpr std::size_t kMostAtFirst = std::size_t{1024} * 1024;

  // Every later chunk has room for as many as there are, or for what memory there is.
  [[gnu::noinline]] bool AddChunk() noexcept {
    std::size_t count = std::max(m_nChunk, m_nTotal);
    void* memory = AllocateChunk(count);
    while (!memory && count > kFewest) memory = AllocateChunk(count /= 2);
    if (!memory) return false;
    m_pChunks = ::new (memory) Chunk{m_pChunks};
    m_pNext = reinterpret_cast<Record*>(m_pChunks + 1);
    m_nLeft = count;
    m_nTotal += count;
    return true;
  }
  static void* AllocateChunk(std::size_t nRecords) noexcept {
    if (nRecords >= PTRDIFF_MAX / sizeof(Record) - 1) return nullptr;
    return std::malloc(sizeof(Chunk) + nRecords * sizeof(Record));
  }

  Chunk* m_pChunks = nullptr;
  Record* m_pNext = nullptr;
  Record* m_pFree = nullptr;  // Linked by the words for the buckets.
  std::size_t m_nLeft = 0;    // In the last chunk.
  std::size_t m_nTotal = 0;
  std::size_t m_nChunk = kFewest;  // The least that is asked for.
};
