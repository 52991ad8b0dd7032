// The nodes of the configuration's tree: looking up, adding and deleting in sorted arrays.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "ztk/config/internal/config_tree.h"
#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/foundation/internal/string_block.h"

namespace {

ZTKFileConfigEntry* AsEntry(void* p) { return static_cast<ZTKFileConfigEntry*>(p); }
ZTKFileConfigGroup* AsGroup(void* p) { return static_cast<ZTKFileConfigGroup*>(p); }

uint64_t LoadBigEndian(const char* p) {
  uint64_t value = 0;
  for (int i = 0; i < 8; ++i) value = value << 8 | static_cast<unsigned char>(p[i]);
  return value;
}

// The order of ZTKString::Cmp: unsigned bytes, a prefix first. Names are short, and a look-up
// compares many of them: this is cheaper than a call.
int CompareNames(std::string_view a, std::string_view b) {
  const size_t common = std::min(a.size(), b.size());
  size_t i = 0;
  for (; i + 8 <= common; i += 8) {
    const uint64_t wordA = LoadBigEndian(a.data() + i);
    const uint64_t wordB = LoadBigEndian(b.data() + i);
    if (wordA != wordB) return wordA < wordB ? -1 : 1;
  }
  for (; i < common; ++i) {
    if (a[i] != b[i]) {
      return static_cast<unsigned char>(a[i]) < static_cast<unsigned char>(b[i]) ? -1 : 1;
    }
  }
  if (a.size() == b.size()) return 0;
  return a.size() < b.size() ? -1 : 1;
}

struct Position {
  unsigned long nIndex;  // Of the element, or of the first one that is greater.
  bool isFound;
};

// Where `name` is, or would be, in a sorted array of entries or groups.
template <typename Element>
Position FindPosition(const ZTKPtrArr& elements, std::string_view name) {
  void* const* const ppItems = elements.GetItems();
  unsigned long nFirst = 0;
  unsigned long nEnd = elements.GetCount();
  while (nFirst < nEnd) {
    const unsigned long nMiddle = nFirst + (nEnd - nFirst) / 2;
    const int order =
        CompareNames(ZTKConfigName(*static_cast<const Element*>(ppItems[nMiddle])), name);
    if (order == 0) return {nMiddle, true};
    if (order < 0) {
      nFirst = nMiddle + 1;
    } else {
      nEnd = nMiddle;
    }
  }
  return {nFirst, false};
}

bool InsertAt(ZTKPtrArr& elements, void* p, unsigned long nIndex) {
  const unsigned long nCount = elements.GetCount();
  elements.Insert(p, nIndex);
  return elements.GetCount() != nCount;
}

// One allocation holds an entry and, behind it, the first texts of its two strings, which borrow
// them: a look-up finds the key beside the entry.
ZTKFileConfigEntry* CreateEntry(std::string_view key, std::string_view value) {
  if (key.size() > ZTKString::kMaxLength || value.size() > ZTKString::kMaxLength) return nullptr;
  const size_t texts = key.size() + value.size() + 2;
  void* pMemory = ::operator new(sizeof(ZTKFileConfigEntry) + texts, std::nothrow);
  if (pMemory == nullptr) {
    ZTKAllocationWatch::NoteFailure();
    return nullptr;
  }

  auto* pEntry = new (pMemory) ZTKFileConfigEntry;
  const auto borrow = [](ZTKString& string, char* pTarget, std::string_view text) {
    if (!text.empty()) std::memcpy(pTarget, text.data(), text.size());
    pTarget[text.size()] = '\0';
    const auto nLength = static_cast<unsigned long>(text.size());
    ZTKStringBlocks::BorrowBlock(string, pTarget, nLength, nLength + 1);
  };
  char* pTexts = static_cast<char*>(pMemory) + sizeof(ZTKFileConfigEntry);
  borrow(pEntry->m_key, pTexts, key);
  borrow(pEntry->m_value, pTexts + key.size() + 1, value);
  return pEntry;
}

void DestroyEntry(ZTKFileConfigEntry* pEntry) {
  if (pEntry == nullptr) return;
  pEntry->~ZTKFileConfigEntry();
  ::operator delete(pEntry);
}

// Creates an entry in front of the one at `nIndex`; null when memory runs out.
ZTKFileConfigEntry* InsertEntry(ZTKPtrArr& entries, unsigned long nIndex, std::string_view key,
                                std::string_view value) {
  ZTKFileConfigEntry* const pEntry = CreateEntry(key, value);
  if (pEntry == nullptr || InsertAt(entries, pEntry, nIndex)) return pEntry;
  DestroyEntry(pEntry);
  return nullptr;
}

}  // namespace

bool ZTKAssignWhole(ZTKString& target, std::string_view text) noexcept {
  if (text.size() > ZTKString::kMaxLength) return false;
  const auto nLength = static_cast<unsigned long>(text.size());
  if (text.empty() || nLength < target.AllocatedSize()) {
    ZTKStringBlocks::Assign(target, text.data(), nLength);
    return true;
  }
  const unsigned long nSize = ZTKStringBlocks::BlockSize(nLength);
  char* const pBlock = ZTKStringBlocks::Allocate(nSize);
  if (pBlock == nullptr) return false;
  std::memcpy(pBlock, text.data(), nLength);
  pBlock[nLength] = '\0';
  ZTKStringBlocks::AdoptBlock(target, pBlock, nLength, nSize);
  return true;
}

ZTKFileConfigGroup::ZTKFileConfigGroup(const ZTKString& name) : m_name(name) {}

ZTKFileConfigGroup::~ZTKFileConfigGroup() {
  DeleteEntries();

  // In post-order, without a stack for any depth: pointer reversal, as in the marking of graphs by
  // Deutsch, Schorr and Waite. On the way down the slot of the visited child holds the parent.
  ZTKFileConfigGroup* pGroup = this;
  ZTKFileConfigGroup* pParent = nullptr;
  while (true) {
    const unsigned long nCount = pGroup->m_groups.GetCount();
    if (nCount != 0) {
      void*& pSlot = pGroup->m_groups.GetItems()[nCount - 1];
      ZTKFileConfigGroup* pChild = AsGroup(pSlot);
      pSlot = pParent;
      pParent = pGroup;
      pGroup = pChild;
      continue;
    }
    if (pParent == nullptr) return;
    // Never this one, which alone has no parent here.
    delete pGroup;  // NOLINT(clang-analyzer-cplusplus.NewDelete)
    pGroup = pParent;
    const unsigned long nVisited = pGroup->m_groups.GetCount() - 1;
    pParent = AsGroup(pGroup->m_groups.GetItems()[nVisited]);
    pGroup->m_groups.RemoveAt(nVisited, 1);
  }
}

void ZTKFileConfigGroup::DeleteEntries() noexcept {
  for (void* p : m_entries) DestroyEntry(AsEntry(p));
  m_entries.RemoveAll();
}

ZTKFileConfigEntry* ZTKFileConfigGroup::GetEntry(unsigned long nIndex) const noexcept {
  return AsEntry(m_entries.Item(nIndex));
}

ZTKFileConfigGroup* ZTKFileConfigGroup::GetGroup(unsigned long nIndex) const noexcept {
  return AsGroup(m_groups.Item(nIndex));
}

ZTKFileConfigEntry* ZTKFileConfigGroup::FindEntry(std::string_view key) const noexcept {
  const Position at = FindPosition<ZTKFileConfigEntry>(m_entries, key);
  return at.isFound ? AsEntry(m_entries.GetItems()[at.nIndex]) : nullptr;
}

ZTKFileConfigGroup* ZTKFileConfigGroup::FindGroup(std::string_view name) const noexcept {
  const Position at = FindPosition<ZTKFileConfigGroup>(m_groups, name);
  return at.isFound ? AsGroup(m_groups.GetItems()[at.nIndex]) : nullptr;
}

ZTKFileConfigEntry* ZTKFileConfigGroup::PutEntry(std::string_view key,
                                                 std::string_view value) noexcept {
  const Position at = FindPosition<ZTKFileConfigEntry>(m_entries, key);
  if (at.isFound) {
    ZTKFileConfigEntry* pFound = GetEntry(at.nIndex);
    return ZTKAssignWhole(pFound->m_value, value) ? pFound : nullptr;
  }
  return InsertEntry(m_entries, at.nIndex, key, value);
}

ZTKFileConfigGroup* ZTKFileConfigGroup::PutGroup(std::string_view name) noexcept {
  const Position at = FindPosition<ZTKFileConfigGroup>(m_groups, name);
  if (at.isFound) return AsGroup(m_groups.GetItems()[at.nIndex]);

  auto* pGroup = new (std::nothrow) ZTKFileConfigGroup(ZTKString(name));
  if (pGroup == nullptr) {
    ZTKAllocationWatch::NoteFailure();
    return nullptr;
  }
  if (ZTKConfigName(*pGroup) == name && InsertAt(m_groups, pGroup, at.nIndex)) return pGroup;
  delete pGroup;
  return nullptr;
}

bool ZTKFileConfigGroup::DeleteEntry(std::string_view key) noexcept {
  const Position at = FindPosition<ZTKFileConfigEntry>(m_entries, key);
  if (!at.isFound) return false;
  ZTKFileConfigEntry* pEntry = GetEntry(at.nIndex);
  m_entries.RemoveAt(at.nIndex, 1);
  DestroyEntry(pEntry);
  return true;
}

bool ZTKFileConfigGroup::DeleteGroup(std::string_view name) noexcept {
  const Position at = FindPosition<ZTKFileConfigGroup>(m_groups, name);
  if (!at.isFound) return false;
  ZTKFileConfigGroup* pGroup = GetGroup(at.nIndex);
  m_groups.RemoveAt(at.nIndex, 1);
  delete pGroup;  // NOLINT(clang-analyzer-cplusplus.NewDelete): see the destructor.
  return true;
}

bool ZTKFileConfigGroup::AppendEntry(std::string_view key, std::string_view value,
                                     bool& isSorted) noexcept {
  const unsigned long nCount = m_entries.GetCount();
  if (nCount != 0) {
    ZTKFileConfigEntry* pLast = GetEntry(nCount - 1);
    const int order = CompareNames(ZTKConfigName(*pLast), key);
    if (order == 0) return ZTKAssignWhole(pLast->m_value, value);
    if (order > 0) isSorted = false;
  }
  return InsertEntry(m_entries, nCount, key, value) != nullptr;
}

void ZTKFileConfigGroup::SortEntries() noexcept {
  void** const ppItems = m_entries.GetItems();
  const unsigned long nCount = m_entries.GetCount();
  if (nCount == 0) return;
  std::stable_sort(ppItems, ppItems + nCount, [](void* pA, void* pB) {
    return CompareNames(ZTKConfigName(*AsEntry(pA)), ZTKConfigName(*AsEntry(pB))) < 0;
  });

  // Of a run of equal keys the last entry stays.
  unsigned long nKept = 0;
  for (unsigned long i = 0; i < nCount; ++i) {
    ZTKFileConfigEntry* pEntry = AsEntry(ppItems[i]);
    const bool isReplaced =
        i + 1 < nCount && ZTKConfigName(*pEntry) == ZTKConfigName(*AsEntry(ppItems[i + 1]));
    if (isReplaced) {
      DestroyEntry(pEntry);
    } else {
      ppItems[nKept++] = pEntry;
    }
  }
  m_entries.RemoveAt(nKept, nCount - nKept);
}
