#include "ztk/config/internal/config_walk.h"

#include <algorithm>
#include <new>

#include "ztk/foundation/internal/memory_watch.h"
#include "ztk/foundation/internal/string_block.h"

const ZTKFileConfigGroup* ZTKConfigWalk::Next() noexcept {
  if (m_hasFailed) return nullptr;
  if (m_pParent != nullptr && m_pParent->GetGroupCount() != 0) {
    m_hasFailed = !Push({m_pParent, 0, m_nPath});
  }
  m_pParent = nullptr;
  while (m_nLevels != 0 && !m_hasFailed) {
    Level& level = m_levels[m_nLevels - 1];
    const ZTKFileConfigGroup* pGroup = level.pGroup->GetGroup(level.nNextChild++);
    if (pGroup == nullptr) {
      --m_nLevels;
      continue;
    }
    m_hasFailed = !PutPath(level.nPath, ZTKConfigName(*pGroup));
    m_pParent = pGroup;
    return m_hasFailed ? nullptr : pGroup;
  }
  return nullptr;
}

bool ZTKConfigWalk::PutPath(size_t nParent, std::string_view name) noexcept {
  const size_t nSlash = nParent != 0 ? 1 : 0;
  m_nPath = nParent + nSlash + name.size();
  if (m_nPath > ZTKString::kMaxLength) return false;
  auto nLength = static_cast<unsigned long>(nParent);
  if (nSlash != 0) {
    if (!ZTKStringBlocks::Append(m_path, nLength, "/", 1)) return false;
    ++nLength;
  }
  const auto nName = static_cast<unsigned long>(name.size());
  return ZTKStringBlocks::Append(m_path, nLength, name.data(), nName);
}

bool ZTKConfigWalk::Push(const Level& level) noexcept {
  if (m_nLevels == m_nCapacity) {
    const size_t nCapacity = m_nCapacity == 0 ? 16 : 2 * m_nCapacity;
    std::unique_ptr<Level[]> levels(new (std::nothrow) Level[nCapacity]);
    if (levels == nullptr) {
      ZTKMemoryWatch::NoteFailure();
      return false;
    }
    std::copy_n(m_levels.get(), m_nLevels, levels.get());
    m_levels.swap(levels);
    m_nCapacity = nCapacity;
  }
  m_levels[m_nLevels++] = level;
  return true;
}
