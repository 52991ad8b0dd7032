#include "ztk/foundation/internal/string_pool.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "ztk/foundation/internal/memory_watch.h"
#include "ztk/foundation/internal/string_block.h"

#if defined(__SANITIZE_ADDRESS__)
#define ZTK_POOL_POISONS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZTK_POOL_POISONS 1
#endif
#endif

// The sanitizer sees pages only; it is told which parts of them nobody may touch.
#ifdef ZTK_POOL_POISONS
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(start, size) ((void)(start), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(start, size) ((void)(start), (void)(size))
#endif

namespace {

constexpr uint32_t kFirstPage = 512;
constexpr uint32_t kLargestPage = 64 * 1024;
// A text longer than this part of a page gets a block of its own.
constexpr uint32_t kTextsInPage = 8;

}  // namespace

/// The head of a page. Offsets are in bytes from its start.
struct ZTKStringPool::Page {
  uint32_t size;
  uint32_t textEnd;      // Where the next text goes.
  uint32_t stringStart;  // Where the strings start; they reach to the end of the page.
  uint32_t live;         // The strings that have not been deleted.

  char* At(uint32_t nOffset) noexcept { return reinterpret_cast<char*>(this) + nOffset; }
  bool Holds(const void* p) const noexcept {
    return reinterpret_cast<uintptr_t>(p) - reinterpret_cast<uintptr_t>(this) < size;
  }
  void Reset() noexcept {
    textEnd = sizeof(Page);
    stringStart = size;
    live = 0;
    ASAN_POISON_MEMORY_REGION(At(textEnd), size - textEnd);
  }
};

ZTKStringPool::~ZTKStringPool() {
  std::free(m_pFirst);
  for (void* const page : m_pages) std::free(page);
}

ZTKString* ZTKStringPool::New(const char* pText, unsigned long nLength) noexcept {
  if (m_pCurrent == nullptr && !StartPage()) return nullptr;
  const bool inPage = nLength > 0 && nLength < m_pCurrent->size / kTextsInPage;
  const uint32_t textSize = inPage ? static_cast<uint32_t>(nLength) + 1 : 0;
  if (m_pCurrent->stringStart - m_pCurrent->textEnd < sizeof(ZTKString) + textSize) {
    if (!StartPage()) return nullptr;
  }

  Page& page = *m_pCurrent;
  const uint32_t place = page.stringStart - static_cast<uint32_t>(sizeof(ZTKString));
  ASAN_UNPOISON_MEMORY_REGION(page.At(place), sizeof(ZTKString));
  ZTKString* const string = new (page.At(place)) ZTKString;
  if (inPage) {
    char* const text = page.At(page.textEnd);
    ASAN_UNPOISON_MEMORY_REGION(text, textSize);
    std::memcpy(text, pText, nLength);
    text[nLength] = '\0';
    ZTKStringBlocks::Adopt(*string, text, nLength, ZTKStringBlocks::BlockSize(nLength));
  } else if (nLength > 0) {
    ZTKStringBlocks::Copy(*string, pText, std::min(nLength, ZTKString::kMaxLength));
    if (string->AllocatedSize() == 0) return nullptr;
  }
  page.stringStart = place;
  page.textEnd += textSize;
  ++page.live;
  return string;
}

void ZTKStringPool::Delete(ZTKString* pString) noexcept {
  if (pString == nullptr) return;
  if (m_pRecent == nullptr || !m_pRecent->Holds(pString)) {
    m_pRecent = FindPage(pString);
    if (m_pRecent == nullptr) {
      delete pString;
      return;
    }
  }
  pString->~ZTKString();
  ASAN_POISON_MEMORY_REGION(pString, sizeof(ZTKString));
  if (--m_pRecent->live > 0) return;
  if (m_pRecent == m_pCurrent) {
    m_pCurrent->Reset();
  } else {
    FreePage(m_pRecent);
  }
}

bool ZTKStringPool::StartPage() noexcept {
  const uint32_t size =
      m_pCurrent == nullptr ? kFirstPage : std::min(2 * m_pCurrent->size, kLargestPage);
  void* const block = std::malloc(size);
  if (block == nullptr) {
    ZTKMemoryWatch::NoteFailure();
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
  if (m_pFirst != nullptr && m_pFirst->Holds(p)) return m_pFirst;
  const unsigned long position = PositionOf(p);
  if (position == 0) return nullptr;
  auto* const page = static_cast<Page*>(m_pages.Item(position - 1));
  return page->Holds(p) ? page : nullptr;
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
