#pragma once

#include <cstddef>

/// Memory of whole pages, zeroed, whose pages can be made untouchable. Null when there is none.
class Pages {
 public:
  enum Access { kReadOnly, kNone };

  explicit Pages(size_t nPages);
  ~Pages();
  Pages(const Pages&) = delete;
  Pages& operator=(const Pages&) = delete;

  static size_t PageSize();
  char* Page(size_t i) const { return m_pStart + i * PageSize(); }
  bool Exist() const { return m_pStart != nullptr; }
  /// From now on touching the page in another way than this crashes. False when that fails.
  bool Protect(size_t i, Access access);

 private:
  char* m_pStart;
  size_t m_nPages;
};

/// The bytes of the block at `pBlock`, from `malloc`, that may be used.
size_t UsableSize(void* pBlock);
/// The bytes in all blocks of the heap.
size_t HeapBytes();

/// What this process has used so far.
struct ProcessUse {
  static ProcessUse Now();

  long peakKiB;      // The most memory that it had at a time.
  long userSeconds;  // Of the processor.
};
