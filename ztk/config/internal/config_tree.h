#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ztk/config/file_config.h"

// The tree of a configuration with an index beside it. Internal to the library.

/// The texts of a node. Their lengths are recorded, and right: nothing changes them in place.
inline std::string_view ZTKConfigName(const ZTKFileConfigEntry& entry) noexcept {
  return {entry.m_key.c_str(), entry.m_key.DataLength()};
}
inline std::string_view ZTKConfigName(const ZTKFileConfigGroup& group) noexcept {
  return {group.GetName().c_str(), group.GetName().DataLength()};
}
inline std::string_view ZTKConfigValue(const ZTKFileConfigEntry& entry) noexcept {
  return {entry.m_value.c_str(), entry.m_value.DataLength()};
}

/// Makes `target` hold `text`; when memory runs out it is false, and `target` as it was.
bool ZTKAssignWhole(ZTKString& target, std::string_view text) noexcept;

/// Finds groups and entries by the group they are in and their name, in constant time.
///
/// An open-addressing hash table beside the sorted arrays, which remain the truth: it may be
/// missing at any time, and may answer "unknown". It is built when the look-ups without it are a
/// quarter of the nodes, so that its cost is amortised over them. It owns no node, and must be told
/// of every node that is added or goes.
class ZTKConfigIndex {
 public:
  ZTKConfigIndex() noexcept = default;
  ~ZTKConfigIndex() { Drop(); }
  ZTKConfigIndex(const ZTKConfigIndex&) = delete;
  ZTKConfigIndex& operator=(const ZTKConfigIndex&) = delete;

  /// `Node` is ZTKFileConfigEntry or ZTKFileConfigGroup. False when the answer is unknown;
  /// otherwise `pFound` is the node, or null.
  template <typename Node>
  bool Find(const ZTKFileConfigGroup& parent, std::string_view name, Node*& pFound) const noexcept;
  /// Counts a look-up that the index could not answer; builds it when that is due.
  void CountLookUp(const ZTKFileConfigGroup& root) noexcept;
  template <typename Node>
  void Add(const ZTKFileConfigGroup& parent, Node* pNode) noexcept;
  void Remove(const ZTKFileConfigGroup& parent, ZTKFileConfigEntry* pEntry) noexcept;
  /// Forgets everything.
  void Drop() noexcept;

 private:
  struct Slot {
    const ZTKFileConfigGroup* pParent;  // Null in a free slot and in a tombstone.
    uintptr_t nNode;                    // 0 in a free slot. An address; groups have bit 0 set.
  };

  void Build(const ZTKFileConfigGroup& root, size_t nMaxNodes) noexcept;

  Slot* m_slots = nullptr;  // Null when it is not built.
  size_t m_nMask = 0;       // The number of slots, a power of two, less one.
  size_t m_nFree = 0;       // Slots to use before the load factor is 3/4.
  size_t m_nLookUps = 0;    // Without the index, since it was dropped.
  size_t m_nNextBuild = 16;
};

/// The top of a configuration's tree, and the way to change the tree and its index together.
struct ZTKConfigTree : ZTKFileConfigGroup {
  ZTKConfigTree() : ZTKFileConfigGroup(ZTKString()) {}

  ZTKFileConfigEntry* Find(const ZTKFileConfigGroup& group, std::string_view key) noexcept;
  ZTKFileConfigGroup* FindChild(const ZTKFileConfigGroup& group, std::string_view name) noexcept;
  bool Put(ZTKFileConfigGroup& group, std::string_view key, std::string_view value) noexcept;
  ZTKFileConfigGroup* PutChild(ZTKFileConfigGroup& group, std::string_view name) noexcept;
  bool Delete(ZTKFileConfigGroup& group, std::string_view key) noexcept;
  bool DeleteChild(ZTKFileConfigGroup& group, std::string_view name) noexcept;

  /// The group at a path of plain names, `rest` counted from `pGroup`; null when there is none, or
  /// when a component begins with a dot and needs the full rules.
  ZTKFileConfigGroup* FindPath(ZTKFileConfigGroup* pGroup, std::string_view rest) noexcept;
  /// The same from the top, with dots in names as they stand: for paths that have been resolved.
  ZTKFileConfigGroup* FindPlainPath(std::string_view path) noexcept;
  /// The group at a path of plain names, which is created where it is missing. Null when memory
  /// runs out.
  ZTKFileConfigGroup* PutPath(std::string_view path) noexcept;
  /// As FindPath from the top of the tree; the last group found is kept for the next time.
  ZTKFileConfigGroup* FindCached(std::string_view path) noexcept;

  /// Deletes everything below the top.
  void Clear() noexcept;
  /// Exchanges what is below the tops.
  void Swap(ZTKConfigTree& other) noexcept;

  ZTKConfigIndex m_index;

 private:
  ZTKFileConfigGroup* m_pCached = nullptr;  // The group at m_cachedPath; null when not known.
  ZTKString m_cachedPath;
};
