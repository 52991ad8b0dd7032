#include "ztk/foundation/internal/node_pool.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

constexpr std::size_t kBatch = 4096;
constexpr std::size_t kFirstSlab = 1024;
constexpr std::size_t kLargestSlab = std::size_t{64} * 1024;
constexpr std::size_t kLine = 64;  // Of the processor's cache: no node lies in two.

// All slabs, for tools that look for memory out of reach.
struct Slab {
  Slab* next;
};
constinit std::atomic<Slab*> s_slabs{nullptr};

}  // namespace

constinit thread_local ZTKNodePool::Cache ZTKNodePool::t_cache{};
constinit std::atomic<ZTKNodePool::Piece*> ZTKNodePool::s_shared{nullptr};

void* ZTKNodePool::TakeMore() noexcept {
  Watch();
  Cache& cache = t_cache;
  if (cache.spare) {
    cache.first = cache.spare;
    cache.count = cache.spare->count;
    cache.spare = nullptr;
  } else if (cache.fresh == cache.freshEnd && !TakeBatch() && !TakeSlab()) {
    return nullptr;
  }
  if (cache.first) return Take();
  void* const piece = cache.fresh;
  cache.fresh += kPiece;
  return piece;
}

bool ZTKNodePool::TakeBatch() noexcept {
  Piece* const batch = s_shared.exchange(nullptr, std::memory_order_acquire);
  if (!batch) return false;
  if (Piece* const others = batch->nextBatch) {
    Piece* last = others;
    while (last->nextBatch) last = last->nextBatch;
    ShareBatches(others, last);
  }
  t_cache.first = batch;
  t_cache.count = batch->count;
  return true;
}

bool ZTKNodePool::TakeSlab() noexcept {
  Cache& cache = t_cache;
  const std::size_t size = std::clamp(2 * cache.slab, kFirstSlab, kLargestSlab);
  char* const memory = static_cast<char*>(std::aligned_alloc(kLine, size));
  if (!memory) return false;
  Slab* const slab = new (memory) Slab{s_slabs.load(std::memory_order_relaxed)};
  while (!s_slabs.compare_exchange_weak(slab->next, slab, std::memory_order_release,
                                        std::memory_order_relaxed)) {
  }
  cache.slab = size;
  cache.fresh = memory + kPiece;
  cache.freshEnd = memory + size;
  return true;
}

void ZTKNodePool::PassOn() noexcept {
  Watch();
  Cache& cache = t_cache;
  if (cache.limit == 0) {
    Share(cache.first, cache.count);  // Nobody would do it when the thread ends.
  } else if (cache.count < cache.limit) {
    return;
  } else {
    if (cache.spare) Share(cache.spare, cache.spare->count);
    cache.spare = cache.first;
    cache.spare->count = cache.count;
  }
  cache.first = nullptr;
  cache.count = 0;
}

void ZTKNodePool::Share(Piece* pFirst, std::size_t nCount) noexcept {
  if (!pFirst) return;
  pFirst->count = nCount;
  ShareBatches(pFirst, pFirst);
}

void ZTKNodePool::ShareBatches(Piece* pFirst, Piece* pLast) noexcept {
  pLast->nextBatch = s_shared.load(std::memory_order_relaxed);
  while (!s_shared.compare_exchange_weak(pLast->nextBatch, pFirst, std::memory_order_release,
                                         std::memory_order_relaxed)) {
  }
}

void ZTKNodePool::Watch() noexcept {
  if (t_cache.limit == 0 && XPWatchThread()) t_cache.limit = kBatch;
}

void ZTKNodePool::EndThread() noexcept {
  Cache cache = t_cache;
  t_cache = Cache{};
  for (; cache.fresh != cache.freshEnd; cache.fresh += kPiece) {
    Piece* const piece = reinterpret_cast<Piece*>(cache.fresh);
    piece->next = cache.first;
    cache.first = piece;
    ++cache.count;
  }
  Share(cache.first, cache.count);
  if (cache.spare) Share(cache.spare, cache.spare->count);
}
