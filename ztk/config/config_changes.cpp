#include "ztk/config/internal/config_changes.h"

#include "ztk/config/internal/config_walk.h"
#include "ztk/foundation/internal/string_block.h"

namespace {

constexpr char kSet = '=';  // In front of the new value.
constexpr char kDeleted = '-';
constexpr char kGroupMark = '\0';  // In front of the name of a group that is to be deleted.

// Makes `target` a mark and a text; false when memory runs out.
bool PutMarked(ZTKString& target, char mark, std::string_view text) {
  const auto nLength = static_cast<unsigned long>(text.size() + 1);
  if (text.size() >= ZTKString::kMaxLength || !target.Alloc(nLength)) return false;
  char* const p = ZTKStringBlocks::Data(target);
  p[0] = mark;
  text.copy(p + 1, text.size());
  ZTKStringBlocks::Terminate(target, nLength);
  return true;
}

// A NUL may be the first character.
std::string_view ViewOf(const ZTKString& marked) { return {marked.c_str(), marked.DataLength()}; }

// Makes one change in the group that it is for.
bool ApplyEntry(const ZTKFileConfigEntry& change, ZTKFileConfigGroup& group, ZTKConfigTree& tree) {
  const std::string_view key = ZTKConfigName(change);
  const std::string_view value = ZTKConfigValue(change);
  if (!key.empty() && key.front() == kGroupMark) {
    tree.DeleteChild(group, key.substr(1));
  } else if (value.front() == kDeleted) {
    tree.Delete(group, key);
  } else {
    return tree.Put(group, key, value.substr(1));
  }
  return true;
}

}  // namespace

bool ZTKConfigChanges::Put(std::string_view path, std::string_view key,
                           std::string_view value) noexcept {
  ZTKString marked;
  ZTKFileConfigGroup* const pGroup = m_changes.PutPath(path);
  return pGroup != nullptr && PutMarked(marked, kSet, value) &&
         m_changes.Put(*pGroup, key, ViewOf(marked));
}

bool ZTKConfigChanges::Delete(std::string_view path, std::string_view key) noexcept {
  ZTKFileConfigGroup* const pGroup = m_changes.PutPath(path);
  return pGroup != nullptr && m_changes.Put(*pGroup, key, {&kDeleted, 1});
}

bool ZTKConfigChanges::DeleteGroup(std::string_view path, std::string_view name) noexcept {
  ZTKString marked;
  ZTKFileConfigGroup* const pGroup = m_changes.PutPath(path);
  if (pGroup == nullptr || !PutMarked(marked, kGroupMark, name)) return false;
  if (!m_changes.Put(*pGroup, ViewOf(marked), {&kDeleted, 1})) return false;
  m_changes.DeleteChild(*pGroup, name);
  return true;
}

bool ZTKConfigChanges::ApplyTo(ZTKConfigTree& tree) const noexcept {
  ZTKConfigWalk walk(m_changes);
  for (const ZTKFileConfigGroup* p = &m_changes; p != nullptr; p = walk.Next()) {
    // The groups around those with changes are created with them.
    if (p->GetEntryCount() == 0) continue;
    ZTKFileConfigGroup* const pTarget = tree.PutPath(walk.Path());
    if (pTarget == nullptr) return false;
    for (unsigned long i = 0; i < p->GetEntryCount(); ++i) {
      if (!ApplyEntry(*p->GetEntry(i), *pTarget, tree)) return false;
    }
  }
  return !walk.RanOut();
}

void ZTKConfigChanges::Clear() noexcept { m_changes.Clear(); }
