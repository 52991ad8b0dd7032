// The order and the sizes of the fields are part of the interface.
#include <cstddef>

#include "ztk/config/internal/config_store.h"

#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // Supported by both compilers.

struct ZTKConfigLayout {
  static constexpr size_t kWord = sizeof(void*);
  static constexpr size_t kString = sizeof(ZTKString);
  static constexpr size_t kBase = kWord + 2 * kString;
  static_assert(offsetof(ZTKConfigBase, m_rootPath) == kWord);
  static_assert(offsetof(ZTKConfigBase, m_currentPath) == kWord + kString);
  static_assert(sizeof(ZTKConfigBase) == kBase);

  // The first field leads to the root group.
  static_assert(offsetof(ZTKFileConfig, m_pStore) == kBase);
  static_assert(offsetof(ZTKFileConfig::Store, m_tree) == 0);
  static_assert(offsetof(ZTKFileConfig, m_pCurrent) == kBase + kWord);
  static_assert(offsetof(ZTKFileConfig, m_bDirty) == kBase + 2 * kWord);
  static_assert(offsetof(ZTKFileConfig, m_filePath) == kBase + 3 * kWord);
  static_assert(sizeof(ZTKFileConfig) == kBase + 3 * kWord + kString);

  static_assert(offsetof(ZTKFileConfigGroup, m_name) == 0);
  static_assert(offsetof(ZTKFileConfigGroup, m_entries) == kString);
  static_assert(offsetof(ZTKFileConfigGroup, m_groups) == kString + sizeof(ZTKPtrArr));
  static_assert(sizeof(ZTKFileConfigGroup) == kString + 2 * sizeof(ZTKPtrArr));

  static_assert(offsetof(ZTKFileConfigEntry, m_value) == kString);
  static_assert(sizeof(ZTKFileConfigEntry) == 2 * kString);
};
