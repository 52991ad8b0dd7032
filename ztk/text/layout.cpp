// Where the fields of this folder's classes lie: programs outside the library depend on it. It is
// checked for every target that the library is built for.
#include <cstddef>

#include "ztk/text/text_buffer.h"
#include "ztk/text/text_file.h"

// offsetof of a class with virtual operations is conditionally supported: both compilers do.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace {

constexpr std::size_t kWord = sizeof(void*);
constexpr std::size_t kBase = sizeof(ZTKTextBuffer);

}  // namespace

struct ZTKTextBufferLayout {
  static_assert(offsetof(ZTKTextBuffer, m_types) == 1 * kWord);
  static_assert(offsetof(ZTKTextBuffer, m_lines) == 3 * kWord);
  static_assert(offsetof(ZTKTextBuffer, m_nReserved) == 5 * kWord);
  static_assert(offsetof(ZTKTextBuffer, m_bOpened) == 5 * kWord + 4);
  static_assert(offsetof(ZTKTextBuffer, m_name) == 5 * kWord + 8);
  static_assert(sizeof(ZTKTextBuffer) == 5 * kWord + 8 + sizeof(ZTKString));
};

struct ZTKTextFileLayout {
  static_assert(offsetof(ZTKTextFile, m_nEncoding) == kBase);
  static_assert(offsetof(ZTKTextFile, m_nOptions) == kBase + 2);
  static_assert(offsetof(ZTKTextFile, m_nFound) == kBase + 3);
  static_assert(offsetof(ZTKTextFile, m_file) == kBase + kWord);
  static_assert(sizeof(ZTKTextFile) == kBase + kWord + sizeof(ZTKFile));
};
