#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "ztk/config/internal/config_tree.h"

/// Visits all groups below the top of a tree, each before those inside it, in the order in which
/// they are written. Groups may be nested as deep as a file says, so there is no recursion, and a
/// path grows and shrinks with the levels. Internal to the library.
class ZTKConfigWalk {
 public:
  explicit ZTKConfigWalk(const ZTKFileConfigGroup& top) noexcept : m_pParent(&top) {}

  /// The next group; null at the end, and when memory runs out.
  const ZTKFileConfigGroup* Next() noexcept;
  /// Does not visit what is inside the group that was given last.
  void SkipInside() noexcept { m_pParent = nullptr; }
  bool RanOut() const noexcept { return m_hasFailed; }

  /// The path of the group that was given last, such as "a/b".
  std::string_view Path() const noexcept { return {m_path.c_str(), m_nPath}; }

 private:
  struct Level {
    const ZTKFileConfigGroup* pGroup;
    unsigned long nNextChild;
    size_t nPath;  // The length of its path.
  };

  bool Push(const Level& level) noexcept;
  bool PutPath(size_t nParent, std::string_view name) noexcept;

  std::vector<Level> m_levels;
  const ZTKFileConfigGroup* m_pParent;  // Whose children come next; null for those of the levels.
  bool m_hasFailed = false;
  ZTKString m_path;
  size_t m_nPath = 0;
};
