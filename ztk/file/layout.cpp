// The order and the sizes of the fields are part of the interface.
#include <cstddef>

#include "ztk/file/file.h"
#include "ztk/file/file_name.h"
#include "ztk/file/temp_file.h"

#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // Supported by both compilers.

struct ZTKFileLayout {
  static_assert(offsetof(ZTKFile, m_pStream) == 0);
  static_assert(offsetof(ZTKFile, m_bError) == sizeof(void*));
  static_assert(sizeof(ZTKFile) == 2 * sizeof(void*));
};

struct ZTKFileNameLayout {
  static constexpr size_t kWord = sizeof(void*);
  static constexpr size_t kString = kWord + 8;
  static_assert(offsetof(ZTKFileName, m_volume) == 0);
  static_assert(offsetof(ZTKFileName, m_name) == kString);
  static_assert(offsetof(ZTKFileName, m_ext) == 2 * kString);
  static_assert(offsetof(ZTKFileName, m_dirs) == 3 * kString);
  static_assert(offsetof(ZTKFileName, m_bRelative) == 3 * kString + 2 * kWord);
  static_assert(sizeof(ZTKFileName) == 3 * kString + 3 * kWord);
};

struct ZTKTempFileLayout {
  static_assert(offsetof(ZTKTempFile, m_targetPath) == 0);
  static_assert(offsetof(ZTKTempFile, m_tempPath) == sizeof(ZTKString));
  static_assert(offsetof(ZTKTempFile, m_file) == 2 * sizeof(ZTKString));
  static_assert(sizeof(ZTKTempFile) == 2 * sizeof(ZTKString) + sizeof(ZTKFile) + 16);
};
