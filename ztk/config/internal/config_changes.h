#pragma once

#include <string_view>

#include "ztk/config/internal/config_tree.h"

/// What an application has changed in a configuration since its file was last read or written, so
/// that it can be changed again in a tree that was read anew. Internal to the library.
///
/// Groups are named by their paths of plain names. A later change to the same entry replaces an
/// earlier one, and the deletion of a group those below it. False when memory runs out: the change
/// is not remembered then.
class ZTKConfigChanges {
 public:
  bool Put(std::string_view path, std::string_view key, std::string_view value) noexcept;
  bool Delete(std::string_view path, std::string_view key) noexcept;
  bool DeleteGroup(std::string_view path, std::string_view name) noexcept;
  /// Makes all changes in `tree`; it is of no use after a failure.
  bool ApplyTo(ZTKConfigTree& tree) const noexcept;
  void Clear() noexcept;

 private:
  // The changes of a group stand in a group of the same path. The value of an entry says what to do
  // with the key. A group that is to be deleted has an entry of its name with a NUL in front, which
  // no key has; what stands in the group of that name comes after the deletion.
  ZTKConfigTree m_changes;
};
