#pragma once

#include <cstdint>

#include "ztk/foundation/pointer_array.h"
#include "ztk/foundation/string.h"

/// Where an array keeps its strings; not installed, nothing for applications.
///
/// A string and a short text lie together in a page that many of them share: nothing is spent on
/// bookkeeping or rounding for each of them, and most of the calls to the allocator go away. Pages
/// start small, since most arrays are, and double up to 64 KiB. Strings are filled into a page from
/// its end, texts from its start. A page is freed when its last string has gone, whether or not the
/// texts had moved elsewhere before. A string keeps its place for as long as it lives.
class ZTKStringPool {
 public:
  ZTKStringPool() noexcept = default;
  /// Frees the pages. Strings that still live must have been cleared.
  ~ZTKStringPool();
  ZTKStringPool(const ZTKStringPool&) = delete;
  ZTKStringPool& operator=(const ZTKStringPool&) = delete;

  /// A string of the `nLength` bytes at `pText`, none of which is a NUL. Null when memory runs out.
  ZTKString* New(const char* pText, unsigned long nLength) noexcept;
  /// Ends a string, also one that came from plain `new`.
  void Delete(ZTKString* pString) noexcept;

 private:
  struct Page;

  bool StartPage() noexcept;
  unsigned long PositionOf(const void* p) const noexcept;
  Page* FindPage(const void* p) noexcept;
  void FreePage(Page* pPage) noexcept;

  ZTKPtrArr m_pages;  // All but the first, by address: most pools need no more than that.
  Page* m_pFirst = nullptr;
  Page* m_pCurrent = nullptr;  // Where new strings go.
  Page* m_pRecent = nullptr;   // Where the last deleted string was; its neighbours often follow.
};
