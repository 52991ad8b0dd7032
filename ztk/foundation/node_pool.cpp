#include "ztk/foundation/internal/node_pool.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <type_traits>

#include "ztk/foundation/internal/lock_xp.h"

namespace {

constexpr std::size_t kSlabSize = std::size_t{1024} * 1024;
// Some heaps put a header in front of a block: there is room for that of the next slab.
constexpr std::size_t kBlockSize = kSlabSize - 2 * sizeof(void*);
constexpr std::size_t kCacheLine = 64;  // No node lies in two.
constexpr std::size_t kRefill = 128;    // A page of pieces.
constexpr std::size_t kDrain = 512;
// 32 MiB stay for the lists to come: page faults would more than double the time of an append.
constexpr std::size_t kKeptEmpty = 32;

// A lock that serves until the very end of the process: it is never destroyed.
constinit XPLock s_lock;
static_assert(std::is_trivially_destructible_v<XPLock>);

}  // namespace

// The head of a slab, in front of its pieces. Pages are touched as pieces are first used.
struct alignas(kCacheLine) ZTKNodePool::Slab {
  static constexpr std::size_t kPieces = (kBlockSize - kCacheLine) / kPiece;
  static_assert(offsetof(Piece, next) == 2 * sizeof(void*), "where a node has its next one");

  static Slab* Of(Piece* pPiece) noexcept {
    const auto offset = reinterpret_cast<std::uintptr_t>(pPiece) % kSlabSize;
    return reinterpret_cast<Slab*>(reinterpret_cast<char*>(pPiece) - offset);
  }
  Piece* Pop() noexcept {
    ++used;
    Piece* const piece = free;
    if (!piece) return ::new (reinterpret_cast<char*>(this + 1) + carved++ * kPiece) Piece;
    free = piece->next;
    return piece;
  }
  /// Pieces are carved side by side again, whatever order they came back in.
  void Empty() noexcept {
    free = nullptr;
    carved = 0;
  }
  void LinkBehind(Slab& other) noexcept {
    prev = &other;
    next = other.next;
    next->prev = other.next = this;
  }
  void Unlink() noexcept {
    next->prev = prev;
    prev->next = next;
  }

  Slab* next = this;
  Slab* prev = this;
  Piece* free = nullptr;
  std::size_t carved = 0;
  std::size_t used = 0;  // Pieces in nodes and in the free lists of threads.
};

// The slabs that have free pieces. To be used under the lock.
class ZTKNodePool::Slabs {
 public:
  /// Moves `nPieces` to the empty cache, less when memory runs out.
  void Refill(Cache& cache, std::size_t nPieces) noexcept {
    Piece** link = &cache.first;
    for (; cache.count < nPieces && (m_open.next != &m_open || Add()); ++cache.count) {
      Slab* const slab = m_open.next;
      if (slab->used == 0) --m_nEmpty;
      *link = slab->Pop();
      link = &(*link)->next;
      if (slab->used == Slab::kPieces) slab->Unlink();
    }
    *link = nullptr;
  }

  /// Moves the first `nPieces` of a chain back, neighbours from one slab at once. Leads to the
  /// rest.
  void Release(Piece*& pFirst, std::size_t nPieces) noexcept {
    while (nPieces > 0) {
      Piece* const first = pFirst;
      Piece* last = first;
      Slab* const slab = Slab::Of(first);
      std::size_t count = 1;
      for (; count < nPieces && Slab::Of(last->next) == slab; ++count) last = last->next;
      nPieces -= count;
      pFirst = last->next;
      last->next = slab->free;
      slab->free = first;
      if (slab->used == Slab::kPieces) slab->LinkBehind(m_open);
      slab->used -= count;
      if (slab->used > 0) continue;
      slab->Empty();
      if (++m_nEmpty > kKeptEmpty) Free(slab);
    }
  }

  void FreeEmpty() noexcept {
    for (Slab* slab = m_open.next; slab != &m_open;) {
      Slab* const next = slab->next;
      if (slab->used == 0) Free(slab);
      slab = next;
    }
  }

 private:
  bool Add() noexcept {
    void* const memory = XPAllocate(kSlabSize, kBlockSize);
    if (!memory) return false;
    (::new (memory) Slab)->LinkBehind(m_open);
    ++m_nEmpty;
    return true;
  }
  void Free(Slab* pSlab) noexcept {
    pSlab->Unlink();
    XPFree(pSlab, kBlockSize);
    --m_nEmpty;
  }

  Slab m_open;               // Of a ring.
  std::size_t m_nEmpty = 0;  // Without a piece in use.
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
    {
      const std::lock_guard lock(s_lock);
      XPForgetThreads();
    }
    EndThread();
    const std::lock_guard lock(s_lock);
    s_slabs.FreeEmpty();
  }
};

constinit thread_local ZTKNodePool::Cache ZTKNodePool::t_cache{};
constinit ZTKNodePool::Slabs ZTKNodePool::s_slabs;
constinit ZTKNodePool::AtUnload ZTKNodePool::s_atUnload;
// From the start: one thread may fork while another takes the first node.
const bool ZTKNodePool::s_watchesForks = XPWatchForks();

void* ZTKNodePool::AllocateFromSlabs() noexcept {
  {
    const std::lock_guard lock(s_lock);
    WatchThread();
    s_slabs.Refill(t_cache, t_cache.limit > 0 ? kRefill : 1);
  }
  return t_cache.first ? Allocate() : nullptr;
}

void ZTKNodePool::Drain() noexcept {
  const std::lock_guard lock(s_lock);
  WatchThread();
  Cache& cache = t_cache;
  if (cache.count < cache.limit) return;
  const std::size_t count = cache.limit > 0 ? kDrain : cache.count;
  s_slabs.Release(cache.first, count);
  cache.count -= count;
}

void ZTKNodePool::ReleaseChain(void* pFirst, std::size_t nPieces) noexcept {
  const std::lock_guard lock(s_lock);
  Piece* first = static_cast<Piece*>(pFirst);
  s_slabs.Release(first, nPieces);
}

void ZTKNodePool::WatchThread() noexcept {
  if (t_cache.limit == 0 && XPWatchThread()) t_cache.limit = 2 * kDrain;
}

void ZTKNodePool::EndThread() noexcept {
  const std::lock_guard lock(s_lock);
  s_slabs.Release(t_cache.first, t_cache.count);
  t_cache.count = t_cache.limit = 0;
}

void ZTKNodePool::Lock() noexcept { s_lock.lock(); }

void ZTKNodePool::Unlock() noexcept { s_lock.unlock(); }
