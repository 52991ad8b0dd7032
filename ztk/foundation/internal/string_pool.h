#pragma once

#include <cstdint>

#include "ztk/foundation/pointer_array.h"
#include "ztk/foundation/string.h"

/// Where an array keeps its strings; not installed, nothing for applications.
///
/// A slab allocator (Bonwick, 1994) of eight size classes. A string and the block that it borrows
/// are one cell, so that a line costs neither of two calls to `malloc` nor their headers; without
/// it the rows BM_AddStrings and BM_Load64MiB* take 30 to 100 % longer. A free list for each class
/// runs through the free cells. Slabs double from 512 bytes, since most arrays are small, to
/// 64 KiB, and a slab is freed with its last string, which costs a search for the slab of each
/// deleted string. A string keeps its address for as long as it lives.
class ZTKStringPool {
 public:
  ZTKStringPool() noexcept = default;
  /// Frees the pages. Strings that still live must have been cleared.
  ~ZTKStringPool();
  ZTKStringPool(const ZTKStringPool&) = delete;
  ZTKStringPool& operator=(const ZTKStringPool&) = delete;

  /// A string of the `nLength` bytes at `pText`, none of which is a NUL. Null when an allocation
  /// fails.
  ZTKString* New(const char* pText, unsigned long nLength) noexcept;
  /// Destroys a string, also one that came from plain `new`.
  void Delete(ZTKString* pString) noexcept;
  /// Whether the string lies in one of the pages.
  bool Owns(const ZTKString* pString) noexcept { return FindPage(pString) != nullptr; }

 private:
  struct Page;
  struct Cell;

  /// Sizes of cells. Texts of 128 characters and more get a block of their own.
  static constexpr uint32_t kClasses = 8;

  Cell* PopFree(uint32_t nClass) noexcept;
  void PushFree(Cell* pCell) noexcept;
  void UnlinkCells(Page& page, const Cell* pLast) noexcept;

  Cell* Carve(uint32_t nClass) noexcept;
  bool StartPage() noexcept;
  void FreePage(Page* pPage) noexcept;
  unsigned long PositionOf(const void* p) const noexcept;
  Page* FindPage(const void* p) noexcept;

  ZTKPtrArr m_pages;  // All but the first, by address: most pools need no more than that.
  Page* m_pFirst = nullptr;
  Page* m_pCurrent = nullptr;  // Where new cells are carved.
  Page* m_pRecent = nullptr;   // Where the last string was looked up; its neighbours often follow.
  Cell* m_pFree[kClasses] = {};  // The free cells of each size.
};
