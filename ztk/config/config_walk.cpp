#include "ztk/config/internal/config_walk.h"

#include <new>

#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/foundation/internal/string_block.h"

const ZTKFileConfigGroup* ZTKConfigWalk::Next() noexcept {
  if (m_hasFailed) return nullptr;
  if (m_pParent != nullptr && m_pParent->GetGroupCount() != 0) {
    m_hasFailed = !Push({m_pParent, 0, m_nPath});
  }
  m_pParent = nullptr;
  while (!m_levels.empty() && !m_hasFailed) {
    Level& level = m_levels.back();
    const ZTKFileConfigGroup* pGroup = level.pGroup->GetGroup(level.nNextChild++);
    if (pGroup == nullptr) {
      m_levels.pop_back();
      continue;
    }
    m_hasFailed = !PutPath(level.nPath, ZTKConfigName(*pGroup));
    m_pParent = pGroup;
    return m_hasFailed ? nullptr : pGroup;
  }
  return nullptr;
}

bool ZTKConfigWalk::PutPath(size_t nParent, std::string_view name) noexcept {
  auto nLength = static_cast<unsigned long>(nParent);
  if (nParent != 0 && !ZTKStringBlocks::Append(m_path, nLength++, "/", 1)) return false;
  m_nPath = nLength + name.size();
  if (m_nPath > ZTKString::kMaxLength) return false;
  const auto nName = static_cast<unsigned long>(name.size());
  return ZTKStringBlocks::Append(m_path, nLength, name.data(), nName);
}

bool ZTKConfigWalk::Push(const Level& level) noexcept {
  try {
    m_levels.push_back(level);
    return true;
  } catch (const std::bad_alloc&) {
    ZTKAllocationWatch::NoteFailure();
    return false;
  }
}
