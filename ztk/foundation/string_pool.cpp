#include "ztk/foundation/internal/string_pool.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/foundation/internal/string_block.h"

#if defined(__SANITIZE_ADDRESS__)
#define ZTK_POOL_POISONS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZTK_POOL_POISONS 1
#endif
#endif

// The sanitizer sees pages only; it is told which parts of them nobody but the pool may touch.
#ifdef ZTK_POOL_POISONS
#include <sanitizer/asan_interface.h>
#define ZTK_POOL_ONLY __attribute__((no_sanitize("address")))
#else
#define ASAN_POISON_MEMORY_REGION(start, size) ((void)(start), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(start, size) ((void)(start), (void)(size))
#define ZTK_POOL_ONLY
#endif

namespace {

constexpr uint32_t kFirstPage = 512;
constexpr uint32_t kLargestPage = 64 * 1024;
/// Characters from one size of cells to the next, as `ZTKStringBlocks::BlockSize` has them.
constexpr uint32_t kStep = 16;

}  // namespace

/// A string with its first block behind it, or a link of a free list.
struct ZTKStringPool::Cell {
  struct Link {
    Cell* next;
    Cell** from;  // What points to this cell.
  };
  union {
    ZTKString string;
    Link free;
  };
  uint32_t sizeClass;
  char text[20];  // In class 0; each class has kStep more than the one before.

  explicit Cell(uint32_t nClass) noexcept : free{}, sizeClass(nClass) {}
  ~Cell() = delete;

  static constexpr uint32_t Size(uint32_t nClass) noexcept;
  char* Text() noexcept { return reinterpret_cast<char*>(this) + offsetof(Cell, text); }
  static Cell* Of(ZTKString* pString) noexcept { return reinterpret_cast<Cell*>(pString); }
};

constexpr uint32_t ZTKStringPool::Cell::Size(uint32_t nClass) noexcept {
  static_assert(offsetof(Cell, text) + sizeof text == sizeof(Cell));
  static_assert(kStep % alignof(Cell) == 0);
  static_assert(ZTKStringBlocks::BlockSize(0) == sizeof text);
  static_assert(ZTKStringBlocks::BlockSize(kStep) == sizeof text + kStep);
  return static_cast<uint32_t>(sizeof(Cell)) + kStep * nClass;
}

/// The head of a page; its cells follow.
struct alignas(8) ZTKStringPool::Page {
  uint32_t size;
  uint32_t used;  // Where the next cell goes, in bytes from the start.
  uint32_t live;  // Strings that have not been deleted.

  char* At(uint32_t nOffset) noexcept { return reinterpret_cast<char*>(this) + nOffset; }
  bool Holds(const void* p) const noexcept {
    return reinterpret_cast<uintptr_t>(p) - reinterpret_cast<uintptr_t>(this) < size;
  }
  void Reset() noexcept {
    used = sizeof(Page);
    live = 0;
    ASAN_POISON_MEMORY_REGION(At(used), size - used);
  }
};

ZTKStringPool::~ZTKStringPool() {
  std::free(m_pFirst);
  for (void* const page : m_pages) std::free(page);
}

ZTKString* ZTKStringPool::New(const char* pText, unsigned long nLength) noexcept {
  const bool isLong = nLength >= size_t{kClasses} * kStep;
  const uint32_t sizeClass = isLong ? 0 : static_cast<uint32_t>(nLength) / kStep;
  Cell* cell = PopFree(sizeClass);
  if (cell == nullptr) cell = Carve(sizeClass);
  if (cell == nullptr) return nullptr;

  auto* const string = new (&cell->string) ZTKString;
  if (isLong) {
    ZTKStringBlocks::Copy(*string, pText, std::min(nLength, ZTKString::kMaxLength), true);
    if (string->AllocatedSize() != 0) return string;
    Delete(string);
    return nullptr;
  }
  if (nLength > 0) {
    std::memcpy(cell->Text(), pText, nLength);
    cell->Text()[nLength] = '\0';
    ZTKStringBlocks::BorrowBlock(*string, cell->Text(), nLength,
                                 ZTKStringBlocks::BlockSize(nLength), true);
  }
  return string;
}

void ZTKStringPool::Delete(ZTKString* pString) noexcept {
  if (pString == nullptr) return;
  Page* const page = FindPage(pString);
  if (page == nullptr) {
    // NOLINTNEXTLINE(clang-analyzer-unix.MismatchedDeallocator): it lies in no page.
    delete pString;
    return;
  }
  pString->~ZTKString();
  Cell* const cell = Cell::Of(pString);
  if (--page->live > 0) {
    PushFree(cell);
    return;
  }
  UnlinkCells(*page, cell);
  if (page == m_pCurrent) {
    page->Reset();
  } else {
    FreePage(page);
  }
}

// The free lists lie in the free cells themselves.

ZTK_POOL_ONLY ZTKStringPool::Cell* ZTKStringPool::PopFree(uint32_t nClass) noexcept {
  Cell* const cell = m_pFree[nClass];
  if (cell == nullptr) return nullptr;
  m_pFree[nClass] = cell->free.next;
  if (cell->free.next != nullptr) cell->free.next->free.from = &m_pFree[nClass];
  ASAN_UNPOISON_MEMORY_REGION(cell, Cell::Size(nClass));
  if (Page* const page = FindPage(cell); page != nullptr) ++page->live;  // It always is there.
  return cell;
}

ZTK_POOL_ONLY void ZTKStringPool::PushFree(Cell* pCell) noexcept {
  Cell*& first = m_pFree[pCell->sizeClass];
  pCell->free = {first, &first};
  if (first != nullptr) first->free.from = &pCell->free.next;
  first = pCell;
  ASAN_POISON_MEMORY_REGION(pCell, Cell::Size(pCell->sizeClass));
}

// Unlinks the cells of a page from the free lists; all but `pLast` are there.
ZTK_POOL_ONLY void ZTKStringPool::UnlinkCells(Page& page, const Cell* pLast) noexcept {
  for (uint32_t offset = sizeof(Page); offset < page.used;) {
    auto* const cell = reinterpret_cast<Cell*>(page.At(offset));
    offset += Cell::Size(cell->sizeClass);
    if (cell == pLast) continue;
    *cell->free.from = cell->free.next;
    if (cell->free.next != nullptr) cell->free.next->free.from = cell->free.from;
  }
}

ZTKStringPool::Cell* ZTKStringPool::Carve(uint32_t nClass) noexcept {
  const uint32_t size = Cell::Size(nClass);
  const bool fits = m_pCurrent != nullptr && m_pCurrent->size - m_pCurrent->used >= size;
  if (!fits && !StartPage()) return nullptr;
  Page& page = *m_pCurrent;
  void* const cell = page.At(page.used);
  ASAN_UNPOISON_MEMORY_REGION(cell, size);
  page.used += size;
  ++page.live;
  return new (cell) Cell(nClass);
}

bool ZTKStringPool::StartPage() noexcept {
  const uint32_t size =
      m_pCurrent == nullptr ? kFirstPage : std::min(2 * m_pCurrent->size, kLargestPage);
  void* const block = std::malloc(size);
  if (block == nullptr) {
    ZTKAllocationWatch::NoteFailure();
    return false;
  }

  if (m_pCurrent == nullptr) {
    m_pFirst = static_cast<Page*>(block);
  } else {
    const unsigned long count = m_pages.GetCount();
    m_pages.Insert(block, PositionOf(block));
    if (m_pages.GetCount() == count) {
      std::free(block);
      return false;
    }
  }
  m_pCurrent = new (block) Page{};
  m_pCurrent->size = size;
  m_pCurrent->Reset();
  return true;
}

// The number of pages that start in front of `p`.
unsigned long ZTKStringPool::PositionOf(const void* p) const noexcept {
  const auto address = [](const void* page) { return reinterpret_cast<uintptr_t>(page); };
  const auto found = std::partition_point(
      m_pages.begin(), m_pages.end(), [&](const void* page) { return address(page) < address(p); });
  return static_cast<unsigned long>(found - m_pages.begin());
}

ZTKStringPool::Page* ZTKStringPool::FindPage(const void* p) noexcept {
  if (m_pRecent != nullptr && m_pRecent->Holds(p)) return m_pRecent;
  Page* page = m_pFirst;
  if (page == nullptr || !page->Holds(p)) {
    const unsigned long position = PositionOf(p);
    page = position > 0 ? static_cast<Page*>(m_pages.Item(position - 1)) : nullptr;
    if (page == nullptr || !page->Holds(p)) return nullptr;
  }
  m_pRecent = page;
  return page;
}

void ZTKStringPool::FreePage(Page* pPage) noexcept {
  if (pPage == m_pFirst) {
    m_pFirst = nullptr;
  } else {
    m_pages.RemoveAt(PositionOf(pPage), 1);
  }
  if (m_pRecent == pPage) m_pRecent = nullptr;
  std::free(pPage);
}
