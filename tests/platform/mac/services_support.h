#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "tests/platform/mac/failing_calls.h"
#include "tests/support/temp_dir.h"
#include "ztk/platform/mac/services/objects.h"
#include "ztk/platform/mac/services/types.h"
#include "ztk/platform/mac/services/volumes.h"

/// Mounted file systems as a test would have them.
class MountTable {
 public:
  explicit MountTable(const std::vector<std::string>& points = {}) {
    Set(points);
    ztk_mac_services::Volumes::UseTable((m_dir / "mounts").c_str());
  }
  ~MountTable() { ztk_mac_services::Volumes::UseTable(nullptr); }
  MountTable(const MountTable&) = delete;
  MountTable& operator=(const MountTable&) = delete;

  /// Mount points as the host writes them, "\040" for a blank.
  void Set(const std::vector<std::string>& points) {
    std::string text = "/dev/root / ext4 rw 0 0\n";
    for (const std::string& point : points) text += "/dev/x " + point + " ext4 rw 0 0\n";
    SetText(text);
  }
  void SetText(const std::string& text) { WriteWholeFile(m_dir / "mounts", text); }
  void Remove() { std::filesystem::remove(m_dir / "mounts"); }

 private:
  TempDir m_dir;
};

/// A name with its length in front.
struct PascalName {
  explicit PascalName(const std::string& name) {
    bytes[0] = static_cast<unsigned char>(name.size());
    std::memcpy(bytes + 1, name.data(), std::min<size_t>(name.size(), 255));
  }
  ztk_mac_services::Str255 bytes;
};

inline std::string NameOf(const ztk_mac_services::FSSpec& spec) {
  return {reinterpret_cast<const char*>(spec.name + 1), spec.name[0]};
}
