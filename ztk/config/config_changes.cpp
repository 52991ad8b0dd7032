#include "ztk/config/internal/config_changes.h"

#include <cstring>

#include "ztk/foundation/internal/string_block.h"

namespace {

constexpr char kSet = '=';  // In front of the new value.
constexpr char kDeleted = '-';

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
  // Groups of changes and the groups that they are for, in step.
  ZTKPtrArr changed;
  ZTKPtrArr targets;
  const auto add = [&](const ZTKFileConfigGroup* pChanges, ZTKFileConfigGroup* pTarget) {
    const unsigned long nCount = changed.GetCount();
    changed.Add(const_cast<ZTKFileConfigGroup*>(pChanges), 1);
    targets.Add(pTarget, 1);
    return pTarget != nullptr && changed.GetCount() > nCount && targets.GetCount() > nCount;
  };
  if (!add(&m_changes, &tree)) return false;

  for (unsigned long i = 0; i < changed.GetCount(); ++i) {
    const auto& changes = *static_cast<const ZTKFileConfigGroup*>(changed.GetItems()[i]);
    auto& target = *static_cast<ZTKFileConfigGroup*>(targets.GetItems()[i]);
    for (unsigned long k = 0; k < changes.GetEntryCount(); ++k) {
      const ZTKFileConfigEntry& entry = *changes.GetEntry(k);
      const std::string_view key = ZTKConfigName(entry);
      const std::string_view value = ZTKConfigValue(entry);
      if (!key.empty() && key.front() == '\0') {
        tree.DeleteChild(target, key.substr(1));
      } else if (value.front() == kDeleted) {
        tree.Delete(target, key);
      } else if (!tree.Put(target, key, value.substr(1))) {
        return false;
      }
    }
    for (unsigned long k = 0; k < changes.GetGroupCount(); ++k) {
      const ZTKFileConfigGroup* pChild = changes.GetGroup(k);
      if (!add(pChild, tree.PutChild(target, ZTKConfigName(*pChild)))) return false;
    }
  }
  return true;
}

void ZTKConfigChanges::Clear() noexcept { m_changes.Clear(); }
