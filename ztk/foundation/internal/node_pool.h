#pragma once

#include <atomic>
#include <cstddef>

/// Memory for the nodes of lists; not installed, nothing for applications.
///
/// Nodes lie side by side with nothing in between. Each thread serves itself from what it gave
/// back, and keeps no more than two batches of it; the rest is there for every thread, as is all
/// that a thread leaves behind when it ends. Memory that was a node once serves other nodes and is
/// not given back to the heap. Nothing here waits for another thread.
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
    if (++cache.count >= cache.limit) PassOn();
  }

 private:
  // A piece without a node. The first of a batch knows how many there are, and the next batch.
  struct Piece {
    Piece* next;
    Piece* nextBatch;
    std::size_t count;
  };
  // What one thread keeps.
  struct Cache {
    Piece* first;
    std::size_t count;
    std::size_t limit;  // How many are too many; 0 until the end of the thread is watched for.
    Piece* spare;       // A full batch or null, so that taking and giving in turn costs little.
    char* fresh;        // What was never a node, up to its end.
    char* freshEnd;
    std::size_t slab;  // The size of what was taken from the heap last.
  };

  static void* TakeMore() noexcept;
  static bool TakeBatch() noexcept;
  static bool TakeSlab() noexcept;
  static void PassOn() noexcept;
  static void Share(Piece* pFirst, std::size_t nCount) noexcept;
  static void ShareBatches(Piece* pFirst, Piece* pLast) noexcept;
  static void Watch() noexcept;
  static void EndThread() noexcept;
  /// Has `EndThread` called when this thread ends. Needs no memory; false when it is not possible.
  static bool XPWatchThread() noexcept;

  // Reached without a call. A library that is loaded later finds room for these few words in what
  // the system keeps ready.
  static thread_local Cache t_cache __attribute__((tls_model("initial-exec")));

  // Batches for any thread. Who takes one takes all, and puts back all but the first: so nobody
  // looks at a batch that another may have taken.
  static std::atomic<Piece*> s_shared;
};
