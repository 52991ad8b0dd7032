#include "ztk/foundation/internal/node_pool.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>
#include <type_traits>

namespace {

// Large enough that nodes lie side by side over many pages, which walking a list gains from.
constexpr std::size_t kSlabSize = std::size_t{1024} * 1024;
// A heap that puts a header in front of a block has room for that of the next slab.
constexpr std::size_t kSlabBlock = kSlabSize - 2 * sizeof(std::size_t);
constexpr std::size_t kLine = 64;  // Of the processor's cache: no node lies in two.
constexpr std::size_t kBatch = 512;
constexpr std::size_t kLeastTaken = 64;
constexpr std::size_t kCarved = 128;
constexpr std::size_t kMostSpare = 32;  // 32 MiB: new pages cost more than all else of an append.
constexpr std::size_t kTrimmed = 8;     // 8 MiB.

// A lock that serves until the very end of the process: it is never destroyed.
constinit std::mutex s_lock;
static_assert(std::is_trivially_destructible_v<std::mutex>);

}  // namespace

// The head of a slab; its pieces lie behind it. Pages are touched as pieces are carved.
struct alignas(kLine) ZTKNodePool::Slab {
  static constexpr std::size_t kPieces = (kSlabBlock - kLine) / kPiece;

  static Slab* Of(Piece* pPiece) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(pPiece);
    return reinterpret_cast<Slab*>(reinterpret_cast<char*>(pPiece) - address % kSlabSize);
  }

  bool HasPieces() const noexcept { return free || carved < kPieces; }
  /// Makes the next pieces where there is none.
  void Carve() noexcept {
    if (free) return;
    char* const first = reinterpret_cast<char*>(this + 1) + carved * kPiece;
    const std::size_t count = std::min(kCarved, kPieces - carved);
    for (std::size_t i = count; i > 0; --i) free = ::new (first + (i - 1) * kPiece) Piece{free};
    carved += count;
  }

  /// Has the pieces made anew, side by side again, whatever order they came back in.
  void Empty() noexcept {
    free = nullptr;
    carved = 0;
  }

  Slab* next = nullptr;
  Slab* prev = nullptr;
  Piece* free = nullptr;
  std::size_t carved = 0;
  std::size_t taken = 0;  // By threads, whether there are nodes in them or not.
};

// All slabs, in lists: those that have pieces, some that nobody has taken any of, and the rest,
// which tools that look for memory out of reach find here. To be used under the lock.
class ZTKNodePool::Slabs {
 public:
  /// Moves pieces to the empty cache: `kLeastTaken` or more, or one alone. It stays empty when
  /// memory runs out.
  void MoveTo(Cache& cache, bool bOne) noexcept {
    const std::size_t wanted = bOne ? 1 : kLeastTaken;
    while (cache.count < wanted && (m_pOpen || Add())) {
      Slab* const slab = m_pOpen;
      slab->Carve();
      if (cache.count == 0 && !bOne) {
        cache.first = slab->free;
        cache.count = slab->carved - slab->taken;
        slab->free = nullptr;
        slab->taken = slab->carved;
      }
      while (slab->free && cache.count < wanted) {
        Piece* const piece = slab->free;
        slab->free = piece->next;
        ++slab->taken;
        piece->next = cache.first;
        cache.first = piece;
        ++cache.count;
      }
      if (slab->HasPieces()) continue;
      Unlink(m_pOpen, slab);
      Link(m_pFull, slab);
    }
  }

  /// Moves `nCount` pieces of the cache back to their slabs, and gives back those without any node.
  void TakeBack(Cache& cache, std::size_t nCount) noexcept {
    cache.count -= nCount;
    while (nCount > 0) {
      Piece* const first = cache.first;
      Slab* const slab = Slab::Of(first);
      Piece* last = first;
      std::size_t count = 1;  // Of neighbours in the cache that are the same slab's.
      for (; count < nCount && Slab::Of(last->next) == slab; ++count) last = last->next;
      nCount -= count;
      cache.first = last->next;
      if (!slab->HasPieces()) {
        Unlink(m_pFull, slab);
        Link(m_pOpen, slab);
      }
      last->next = slab->free;
      slab->free = first;
      slab->taken -= count;
      if (slab->taken > 0) continue;
      Unlink(m_pOpen, slab);
      slab->Empty();
      if (m_nSpare < kMostSpare) {
        Link(m_pSpare, slab);
        ++m_nSpare;
        continue;
      }
      std::free(slab);
      if (++m_nFreed % kTrimmed == 0) XPTrimHeap();
    }
  }

  void FreeSpare() noexcept {
    while (m_pSpare) {
      Slab* const slab = m_pSpare;
      m_pSpare = slab->next;
      std::free(slab);
    }
    m_nSpare = 0;
  }

 private:
  Slab* Add() noexcept {
    Slab* slab = m_pSpare;
    if (slab) {
      Unlink(m_pSpare, slab);
      --m_nSpare;
    } else {
      void* const memory = XPAllocate(kSlabSize, kSlabBlock);
      if (!memory) return nullptr;
      slab = ::new (memory) Slab;
    }
    Link(m_pOpen, slab);
    return slab;
  }
  static void Link(Slab*& pFirst, Slab* pSlab) noexcept {
    pSlab->prev = nullptr;
    pSlab->next = pFirst;
    if (pFirst) pFirst->prev = pSlab;
    pFirst = pSlab;
  }
  static void Unlink(Slab*& pFirst, Slab* pSlab) noexcept {
    (pSlab->prev ? pSlab->prev->next : pFirst) = pSlab->next;
    if (pSlab->next) pSlab->next->prev = pSlab->prev;
  }

  Slab* m_pOpen = nullptr;
  Slab* m_pFull = nullptr;
  Slab* m_pSpare = nullptr;  // Without a node.
  std::size_t m_nSpare = 0;
  std::size_t m_nFreed = 0;
};

// At the end of the process other threads, and objects that are destroyed later, may still use
// lists. So nothing is destroyed here: this thread gives back what it keeps, which is all there is
// when a library that nobody uses any more is unloaded, and the key goes before its number can be
// another owner's.
struct ZTKNodePool::AtUnload {
  constexpr AtUnload() noexcept = default;
  AtUnload(const AtUnload&) = delete;
  AtUnload& operator=(const AtUnload&) = delete;
  ~AtUnload() {
    const std::lock_guard lock(s_lock);
    XPForgetThreads();
    s_slabs.TakeBack(t_cache, t_cache.count);
    s_slabs.FreeSpare();
    t_cache.limit = 0;
  }
};

constinit thread_local ZTKNodePool::Cache ZTKNodePool::t_cache{};
constinit ZTKNodePool::Slabs ZTKNodePool::s_slabs;
constinit ZTKNodePool::AtUnload ZTKNodePool::s_atUnload;
// From the start: one thread may fork while another takes the first node.
const bool ZTKNodePool::s_watchesForks = XPWatchForks();

void* ZTKNodePool::TakeMore() noexcept {
  {
    const std::lock_guard lock(s_lock);
    Watch();
    s_slabs.MoveTo(t_cache, t_cache.limit == 0);
  }
  return t_cache.first ? Take() : nullptr;
}

void ZTKNodePool::GiveBack() noexcept {
  const std::lock_guard lock(s_lock);
  Watch();
  Cache& cache = t_cache;
  if (cache.count >= cache.limit) s_slabs.TakeBack(cache, cache.limit == 0 ? cache.count : kBatch);
}

void ZTKNodePool::Watch() noexcept {
  if (t_cache.limit == 0 && XPWatchThread()) t_cache.limit = 2 * kBatch;
}

void ZTKNodePool::EndThread() noexcept {
  const std::lock_guard lock(s_lock);
  s_slabs.TakeBack(t_cache, t_cache.count);
  t_cache.limit = 0;
}

void ZTKNodePool::Lock() noexcept { s_lock.lock(); }

void ZTKNodePool::Unlock() noexcept { s_lock.unlock(); }
