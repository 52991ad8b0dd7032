#pragma once

#include <cstddef>

/// Memory for the nodes of lists; not installed, nothing for applications.
///
/// A heap block for every node costs more than the rest of an append. So nodes come from slabs (as
/// in Bonwick, "The Slab Allocator", 1994): aligned blocks of equal pieces, found by rounding down
/// the address of any piece. Each thread keeps a free list of its own, refilled from and drained to
/// the slabs in batches under one lock; the end of the thread drains it. It costs up to 32 MiB of
/// slabs without nodes (others go back to the system), 32 KiB a thread, and a key of the thread
/// library. The rows ListAppend, ListDelete and ListClear of bench/foundation/list_bench.cpp pay
/// for it.
///
/// A thread whose end cannot be noticed (no key is left, or the library is being unloaded) keeps
/// nothing: every allocation and release takes the lock.
class ZTKNodePool {
 public:
  /// The size of every piece.
  static constexpr std::size_t kPiece = 4 * sizeof(void*);

  /// Null when memory runs out.
  static void* Allocate() noexcept {
    Cache& cache = t_cache;
    Piece* const piece = cache.first;
    if (!piece) return AllocateFromSlabs();
    cache.first = piece->next;
    --cache.count;
    return piece;
  }
  static void Release(void* p) noexcept {
    Cache& cache = t_cache;
    Piece* const piece = static_cast<Piece*>(p);
    piece->next = cache.first;
    cache.first = piece;
    if (++cache.count >= cache.limit) Drain();
  }
  /// Releases nodes that are linked by their third words, without writing to most of them.
  static void ReleaseChain(void* pFirst, std::size_t nPieces) noexcept;

 private:
  // A piece in a free list. Its link lies where a node's is, so that a chain of nodes is one of
  // pieces as it stands.
  struct [[gnu::may_alias]] Piece {
    void* unused[2];
    Piece* next;
  };
  // The free list of one thread.
  struct Cache {
    Piece* first;
    std::size_t count;
    std::size_t limit;  // Drained from here on; 0 as long as the end of the thread goes unnoticed.
  };
  struct Slab;
  class Slabs;
  struct AtUnload;

  static void* AllocateFromSlabs() noexcept;
  static void Drain() noexcept;
  static void WatchThread() noexcept;
  static void EndThread() noexcept;
  static void Lock() noexcept;
  static void Unlock() noexcept;
  /// A block of the heap at a multiple of `nAlignment`; null without memory.
  static void* XPAllocate(std::size_t nAlignment, std::size_t nSize) noexcept;
  /// Frees such a block. Its pages go to the system at once, even where the heap keeps the block
  /// because others in use lie above it.
  static void XPFree(void* pBlock, std::size_t nSize) noexcept;
  /// Has `Lock` and `Unlock` called around every fork; whether that is possible.
  static bool XPWatchForks() noexcept;
  /// Has `EndThread` called when this thread ends. False when that is not possible. Called under
  /// the lock.
  static bool XPWatchThread() noexcept;
  /// No `EndThread` is called from now on. Called under the lock.
  static void XPForgetThreads() noexcept;

  // Reached without a call. A library that is loaded later finds room for these few words in what
  // the system keeps ready.
  static thread_local Cache t_cache __attribute__((tls_model("initial-exec")));
  static Slabs s_slabs;
  static AtUnload s_atUnload;
  static const bool s_watchesForks;
};
