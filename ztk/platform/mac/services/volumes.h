#pragma once

#include <string>
#include <string_view>

namespace ztk_mac_services {

/// A mounted file system of the host.
struct Volume {
  short number = 0;  ///< Stays the same while the process runs, and is never 0.
  std::string name;  ///< As it stands in front of the first ':' of a path.
  std::string root;  ///< Where it is mounted, without a '/' at its end but for "/" itself.
};

/// The volumes that there are now, by the host's table of mounts.
///
/// "/" is the start-up volume and is called "System". Every other is called by the last component
/// of its mount point, a ':' in it written as '/'. What is mounted on a plain file is no volume.
/// Nor is one with the name of an earlier one: its files are reached through the volume around it,
/// so that no path means two files. A name that was looked up once stays with its mount point while
/// the process runs: when that volume goes, the name is unknown, and never another volume's.
class Volumes {
 public:
  // False when there is none.
  static bool FindByName(std::string_view name, Volume& volume);
  static bool FindByNumber(short nNumber, Volume& volume);

  /// Finds the volume that holds an absolute path of the host. There always is one.
  static Volume FindByPath(std::string_view path);

  /// Forgets whose the names are, and takes the mounts from another file (Mounts::UseTable). For
  /// tests.
  static void UseTable(const char* pszFile);
};

}  // namespace ztk_mac_services
