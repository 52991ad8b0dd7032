#pragma once

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "ztk/foundation/maps.h"

namespace map_fixtures {

// What a test puts into a map of either kind.
inline unsigned long MakeValue(unsigned long n, unsigned long) { return n; }
inline void* MakeValue(unsigned long n, void*) { return reinterpret_cast<void*>(n); }

/// A test of both kinds of map.
template <class Map>
class BothMaps : public testing::Test {
 protected:
  using Value = decltype(Map(1).Find(0).GetValue());
  static Value V(unsigned long n) { return MakeValue(n, Value()); }

  static std::vector<unsigned long> Keys(const Map& map) {
    std::vector<unsigned long> keys;
    for (const auto [key, value] : map) keys.push_back(key);
    return keys;
  }
};

struct MapNames {
  template <class Map>
  static std::string GetName(int) {
    return std::is_same_v<Map, ZTKMap> ? "ZTKMap" : "ZTKPtrMap";
  }
};

using MapTypes = testing::Types<ZTKMap, ZTKPtrMap>;

}  // namespace map_fixtures
