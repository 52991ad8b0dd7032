#include "ztk/config/internal/config_tree.h"

#include <cstdlib>
#include <cstring>

#include "ztk/config/internal/config_path.h"
#include "ztk/config/internal/config_walk.h"

namespace {

// The longest probe sequence. A node that would need a longer one is left out of the index, and a
// search that gets this far leaves the answer to the sorted arrays: no choice of names makes a
// look-up slow.
constexpr size_t kMaxProbes = 16;

constexpr uint64_t kMultiplier = 0x9E3779B97F4A7C15u;

uint64_t Mix(uint64_t value) {
  value *= kMultiplier;
  return value ^ value >> 32;
}

template <typename Word>
uint64_t Load(const char* p) {
  Word word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

// The parent comes in last: it is known late, when the look-up of the group is done, and the rest
// is computed meanwhile.
size_t Hash(const ZTKFileConfigGroup& parent, std::string_view name) {
  const char* p = name.data();
  size_t n = name.size();
  uint64_t hash = n;
  for (; n > 16; n -= 8, p += 8) hash = Mix(hash ^ Load<uint64_t>(p));
  uint64_t first = 0;
  uint64_t last = 0;
  if (n >= 8) {
    first = Load<uint64_t>(p);
    last = Load<uint64_t>(p + n - 8);
  } else if (n >= 4) {
    first = Load<uint32_t>(p);
    last = Load<uint32_t>(p + n - 4);
  } else if (n != 0) {
    first = Load<uint8_t>(p) << 16 | Load<uint8_t>(p + n / 2) << 8 | Load<uint8_t>(p + n - 1);
  }
  // Names often differ in their last bytes only, the highest ones here: Mix brings them down.
  hash = Mix(hash ^ first) + Mix(last + kMultiplier);
  return static_cast<size_t>(Mix(hash ^ reinterpret_cast<uintptr_t>(&parent)));
}

// Names are short: this is cheaper than a call.
bool AreSame(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  const char* pA = a.data();
  const char* pB = b.data();
  size_t n = a.size();
  for (; n >= 8; n -= 8, pA += 8, pB += 8) {
    if (Load<uint64_t>(pA) != Load<uint64_t>(pB)) return false;
  }
  for (; n != 0; --n) {
    if (*pA++ != *pB++) return false;
  }
  return true;
}

// The address of a node, and in its lowest bit, which is free, whether it is a group.
constexpr uintptr_t TagOf(const ZTKFileConfigEntry* /*kind*/) { return 0; }
constexpr uintptr_t TagOf(const ZTKFileConfigGroup* /*kind*/) { return 1; }
template <typename Node>
uintptr_t Tagged(const Node* pNode) {
  return reinterpret_cast<uintptr_t>(pNode) | TagOf(pNode);
}

// Goes down a path, one component at a time, until there is none left or no group.
template <typename Step>
ZTKFileConfigGroup* Follow(ZTKFileConfigGroup* pGroup, std::string_view path, Step step) {
  while (pGroup != nullptr) {
    const std::string_view component = ZTKPopComponent(path);
    if (component.empty()) break;
    pGroup = step(*pGroup, component);
  }
  return pGroup;
}

}  // namespace

template <typename Node>
bool ZTKConfigIndex::Find(const ZTKFileConfigGroup& parent, std::string_view name,
                          Node*& pFound) const noexcept {
  if (m_slots == nullptr) return false;
  const size_t start = Hash(parent, name);
  for (size_t i = 0; i < kMaxProbes; ++i) {
    const Slot& slot = m_slots[(start + i) & m_nMask];
    if (slot.nNode == 0) {
      pFound = nullptr;
      return true;
    }
    if (slot.pParent != &parent || (slot.nNode & 1) != TagOf(pFound)) continue;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the lowest bit of the address is a tag.
    auto* pNode = reinterpret_cast<Node*>(slot.nNode - TagOf(pFound));
    if (AreSame(ZTKConfigName(*pNode), name)) {
      pFound = pNode;
      return true;
    }
  }
  return false;
}

template <typename Node>
void ZTKConfigIndex::Add(const ZTKFileConfigGroup& parent, Node* pNode) noexcept {
  if (m_slots == nullptr) return;
  if (m_nFree == 0) {
    Drop();  // It is built again, larger, when look-ups ask for it.
    return;
  }
  const size_t start = Hash(parent, ZTKConfigName(*pNode));
  for (size_t i = 0; i < kMaxProbes; ++i) {
    Slot& slot = m_slots[(start + i) & m_nMask];
    if (slot.pParent != nullptr) continue;
    if (slot.nNode == 0) --m_nFree;
    slot = {&parent, Tagged(pNode)};
    return;
  }
}

void ZTKConfigIndex::Remove(const ZTKFileConfigGroup& parent, ZTKFileConfigEntry* pEntry) noexcept {
  if (m_slots == nullptr) return;
  const size_t start = Hash(parent, ZTKConfigName(*pEntry));
  for (size_t i = 0; i < kMaxProbes; ++i) {
    Slot& slot = m_slots[(start + i) & m_nMask];
    if (slot.nNode != Tagged(pEntry)) continue;
    slot.pParent = nullptr;  // A tombstone: searches go on behind it.
    return;
  }
}

void ZTKConfigIndex::Drop() noexcept {
  std::free(m_slots);
  m_slots = nullptr;
  m_nLookUps = 0;
  m_nNextBuild = 16;
}

void ZTKConfigIndex::CountLookUp(const ZTKFileConfigGroup& root) noexcept {
  if (m_slots != nullptr || ++m_nLookUps < m_nNextBuild) return;
  m_nNextBuild = 2 * m_nLookUps;
  Build(root, 4 * m_nLookUps);
}

void ZTKConfigIndex::Build(const ZTKFileConfigGroup& root, size_t nMaxNodes) noexcept {
  size_t nNodes = 0;
  ZTKConfigWalk counting(root);
  for (const ZTKFileConfigGroup* p = &root; p != nullptr; p = counting.Next()) {
    nNodes += p->GetEntryCount() + p->GetGroupCount();
    if (nNodes > nMaxNodes) return;
  }

  size_t nSlots = 64;
  while (nSlots < 2 * nNodes) nSlots *= 2;
  m_slots = static_cast<Slot*>(std::calloc(nSlots, sizeof(Slot)));
  if (m_slots == nullptr) return;
  m_nMask = nSlots - 1;
  m_nFree = nSlots / 4 * 3;
  ZTKConfigWalk adding(root);
  for (const ZTKFileConfigGroup* p = &root; p != nullptr; p = adding.Next()) {
    for (unsigned long i = 0; i < p->GetEntryCount(); ++i) Add(*p, p->GetEntry(i));
    for (unsigned long i = 0; i < p->GetGroupCount(); ++i) Add(*p, p->GetGroup(i));
  }
  // A node that is missing here would not be found any more.
  if (counting.RanOut() || adding.RanOut()) Drop();
}

// The tree ----------------------------------------------------------------------------------------

ZTKFileConfigEntry* ZTKConfigTree::Find(const ZTKFileConfigGroup& group,
                                        std::string_view key) noexcept {
  ZTKFileConfigEntry* pFound = nullptr;
  if (m_index.Find(group, key, pFound)) return pFound;
  m_index.CountLookUp(*this);
  return group.FindEntry(key);
}

ZTKFileConfigGroup* ZTKConfigTree::FindChild(const ZTKFileConfigGroup& group,
                                             std::string_view name) noexcept {
  ZTKFileConfigGroup* pFound = nullptr;
  if (m_index.Find(group, name, pFound)) return pFound;
  m_index.CountLookUp(*this);
  return group.FindGroup(name);
}

bool ZTKConfigTree::Put(ZTKFileConfigGroup& group, std::string_view key,
                        std::string_view value) noexcept {
  const unsigned long nCount = group.GetEntryCount();
  ZTKFileConfigEntry* pEntry = group.PutEntry(key, value);
  if (group.GetEntryCount() != nCount) m_index.Add(group, pEntry);
  return pEntry != nullptr;
}

ZTKFileConfigGroup* ZTKConfigTree::PutChild(ZTKFileConfigGroup& group,
                                            std::string_view name) noexcept {
  const unsigned long nCount = group.GetGroupCount();
  ZTKFileConfigGroup* pChild = group.PutGroup(name);
  if (group.GetGroupCount() != nCount) m_index.Add(group, pChild);
  return pChild;
}

bool ZTKConfigTree::Delete(ZTKFileConfigGroup& group, std::string_view key) noexcept {
  ZTKFileConfigEntry* pEntry = group.FindEntry(key);
  if (pEntry == nullptr) return false;
  m_index.Remove(group, pEntry);
  return group.DeleteEntry(key);
}

bool ZTKConfigTree::DeleteChild(ZTKFileConfigGroup& group, std::string_view name) noexcept {
  if (!group.DeleteGroup(name)) return false;
  m_index.Drop();
  m_pCached = nullptr;
  return true;
}

ZTKFileConfigGroup* ZTKConfigTree::FindPath(ZTKFileConfigGroup* pGroup,
                                            std::string_view rest) noexcept {
  return Follow(pGroup, rest, [this](ZTKFileConfigGroup& group, std::string_view name) {
    return name.front() != '.' ? FindChild(group, name) : nullptr;
  });
}

ZTKFileConfigGroup* ZTKConfigTree::FindPlainPath(std::string_view path) noexcept {
  return Follow(this, path, [this](ZTKFileConfigGroup& group, std::string_view name) {
    return FindChild(group, name);
  });
}

ZTKFileConfigGroup* ZTKConfigTree::PutPath(std::string_view path) noexcept {
  return Follow(this, path, [this](ZTKFileConfigGroup& group, std::string_view name) {
    return PutChild(group, name);
  });
}

void ZTKConfigTree::Clear() noexcept {
  ZTKConfigTree empty;
  Swap(empty);
}

void ZTKConfigTree::Swap(ZTKConfigTree& other) noexcept {
  const auto swap = [](ZTKPtrArr& a, ZTKPtrArr& b) {
    ZTKPtrArr kept;
    kept.Attach(a, 1);
    a.Attach(b, 1);
    b.Attach(kept, 1);
  };
  swap(m_entries, other.m_entries);
  swap(m_groups, other.m_groups);
  for (ZTKConfigTree* pTree : {this, &other}) {
    pTree->m_index.Drop();
    pTree->m_pCached = nullptr;
  }
}

ZTKFileConfigGroup* ZTKConfigTree::FindCached(std::string_view path) noexcept {
  if (m_pCached == nullptr || !AreSame({m_cachedPath.c_str(), m_cachedPath.DataLength()}, path)) {
    m_cachedPath = ZTKString(path);
    m_pCached = m_cachedPath.view() == path ? FindPath(this, path) : nullptr;
  }
  return m_pCached;
}
