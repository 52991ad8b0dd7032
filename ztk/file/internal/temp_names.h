#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "ztk/file/file.h"
#include "ztk/foundation/string.h"

/// The names that a temporary file for a target may have: a prefix and a counter of three
/// hexadecimal digits.
struct ZTKTempNames {
  /// Until it is given the target's permissions, a temporary file is its owner's alone.
  static constexpr int kPrivate = 0600;

  ZTKString base;    // "" where a target can have none.
  size_t maxLength;  // Of a path.

  /// The folder and base name of `target`, a path in the native syntax.
  static ZTKTempNames Parsed(const ZTKString& target);
  /// The whole name of `target`, a path of the system, as far as the counter leaves room.
  static ZTKTempNames Exact(const ZTKString& target);

  /// The first of the names that nobody has; "" when there is none.
  ZTKString FindFree() const;
  /// The same, created and opened.
  ZTKString Create(ZTKFile& file) const;

  /// The first of the names for which `acquire(name, taken)` is true. Goes on while it tells that
  /// the name is taken; "" when none is left, or it fails otherwise.
  template <typename Acquire>
  ZTKString First(Acquire acquire) const {
    constexpr unsigned int kNames = 1000;
    ZTKString candidate;
    for (unsigned int n = 0; base.Len() != 0 && n < kNames; ++n) {
      char counter[16];
      std::snprintf(counter, sizeof counter, "%.03x", n);
      candidate = base;
      candidate.append(counter);
      // A name that was cut would be another file's.
      const bool whole = candidate.Len() == base.Len() + std::strlen(counter);
      if (!whole || candidate.Len() > maxLength) break;

      bool taken = false;
      if (acquire(candidate, taken)) return candidate;
      if (!taken) break;
    }
    candidate.Clear();
    return candidate;
  }
};

/// Whether a commit that promises safety may put a file in the place of what is there.
bool ZTKIsReplaceable(const ZTKString& path) noexcept;
