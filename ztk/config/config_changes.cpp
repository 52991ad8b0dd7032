#include "ztk/config/internal/config_changes.h"

#include <cstring>

#include "ztk/config/internal/config_walk.h"
#include "ztk/foundation/internal/string_block.h"

namespace {

constexpr char kSet = '=';  // In front of the new value.
constexpr char kDeleted = '-';
constexpr char kGroupMark = '\0';  // In front of the name of a group that is to be deleted.

// A text with a character in front.
class Marked {
 public:
  Marked(char ch, std::string_view text) noexcept {
    if (m_text.Alloc(static_cast<unsigned long>(text.size() + 1))) {
      char* const p = ZTKStringBlocks::Data(m_text);
      p[0] = ch;
      if (!text.empty()) std::memcpy(p + 1, text.data(), text.size());
      m_view = {p, text.size() + 1};
    }
  }
  // Empty when there was no memory for it.
  std::string_view View() const noexcept { return m_view; }

 private:
  ZTKString m_text;
  std::string_view m_view;
};

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
  const Marked marked(kSet, value);
  ZTKFileConfigGroup* const pGroup = m_changes.PutPath(path);
  return pGroup != nullptr && !marked.View().empty() && m_changes.Put(*pGroup, key, marked.View());
}

bool ZTKConfigChanges::Delete(std::string_view path, std::string_view key) noexcept {
  ZTKFileConfigGroup* const pGroup = m_changes.PutPath(path);
  return pGroup != nullptr && m_changes.Put(*pGroup, key, {&kDeleted, 1});
}

bool ZTKConfigChanges::DeleteGroup(std::string_view path, std::string_view name) noexcept {
  const Marked marked('\0', name);
  ZTKFileConfigGroup* const pGroup = m_changes.PutPath(path);
  if (pGroup == nullptr || marked.View().empty()) return false;
  if (!m_changes.Put(*pGroup, marked.View(), {&kDeleted, 1})) return false;
  m_changes.DeleteChild(*pGroup, name);
  return true;
}

bool ZTKConfigChanges::ApplyTo(ZTKConfigTree& tree) const noexcept {
  ZTKConfigWalk walk(m_changes, ZTKConfigWalk::kTexts);
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
