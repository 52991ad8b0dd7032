#pragma once

#include <cstddef>

/// Memory for the nodes of lists; not installed, nothing for applications.
///
/// The problem: a heap block for every node costs more time than the rest of an append. The idea is
/// that of a slab allocator with a cache per thread: a slab is one aligned block of nodes side by
/// side, whose address follows from that of each of its nodes, and each thread takes nodes from and
/// gives them back to a short free list of its own. Only when that runs empty or over, a batch is
/// moved from or to the slabs, under a lock. A slab without a node in use goes back to the heap,
/// and the heap is told to give what it has to the system: nodes in use that lie higher up would
/// keep that back. 32 MiB of such slabs stay for the lists to come, since new pages of the system
/// cost more than all the rest of an append; of a list of any length less than 48 MiB are left. It
/// costs that memory, what the threads keep, the nodes of one slab each at most, and one key of the
/// thread library. The rows ListAppend and ListDelete of bench/foundation/list_bench.cpp pay for
/// it, and ListClear against a list of the standard library.
///
/// Where the end of a thread cannot be noticed (no key is left, or the library is being unloaded),
/// the thread keeps nothing, and every node is taken and given back under the lock.
class ZTKNodePool {
 public:
  /// The size of every piece.
  static constexpr std::size_t kPiece = 4 * sizeof(void*);

  /// Null when memory runs out.
  static void* Take() noexcept {
    Cache& cache = t_cache;
    Piece* const piece = cache.first;
    if (!piece) return TakeMore();
    cache.first = piece->next;
    --cache.count;
    return piece;
  }
  static void Give(void* p) noexcept {
    Cache& cache = t_cache;
    Piece* const piece = static_cast<Piece*>(p);
    piece->next = cache.first;
    cache.first = piece;
    if (++cache.count >= cache.limit) GiveBack();
  }

 private:
  // A piece without a node.
  struct Piece {
    Piece* next;
  };
  // What one thread keeps.
  struct Cache {
    Piece* first;
    std::size_t count;
    std::size_t limit;  // How many are too many; 0 as long as the end of the thread goes unnoticed.
  };
  struct Slab;
  class Slabs;
  struct AtUnload;

  static void* TakeMore() noexcept;
  static void GiveBack() noexcept;
  static void Watch() noexcept;
  static void EndThread() noexcept;
  static void Lock() noexcept;
  static void Unlock() noexcept;
  /// A block of the heap at a multiple of `nAlignment`, for `std::free`; null without memory.
  static void* XPAllocate(std::size_t nAlignment, std::size_t nSize) noexcept;
  /// Has the heap give to the system what memory it can.
  static void XPTrimHeap() noexcept;
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
