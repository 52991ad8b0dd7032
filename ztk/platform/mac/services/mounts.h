#pragma once

#include <memory>
#include <string>
#include <vector>

namespace ztk_mac_services {

/// What is mounted, by the host's table of mounts.
struct Mount {
  std::string point;  ///< An absolute path, without a '/' at its end; never "/" itself.
  std::string name;   ///< Its last component, a ':' in it written as '/'.
};
using MountList = std::vector<Mount>;

/// The table of mounts, that of the mount namespace and the root in which it was first asked for.
/// Safe from any thread.
class Mounts {
 public:
  /// What is mounted now, in the order of the table. The table is read once, and again when the
  /// system reports that something was mounted or unmounted. Throws without memory.
  static std::shared_ptr<const MountList> Get();

  /// The name that a mount point gives its volume.
  static std::string NameOf(const std::string& point);

  /// Reads another file from now on, at every `Get`, in the format of /proc/self/mounts; null for
  /// that again. For tests.
  static void UseTable(const char* pszFile);
  /// How often a table was read in this process. For tests.
  static unsigned long Reads() noexcept;
};

}  // namespace ztk_mac_services
