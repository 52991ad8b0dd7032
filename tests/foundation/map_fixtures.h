#pragma once

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "ztk/foundation/maps.h"

namespace map_fixtures {

// What a test puts into a map of either kind.
inline ZTKWord MakeValue(ZTKWord n, ZTKWord) { return n; }
inline void* MakeValue(ZTKWord n, void*) { return reinterpret_cast<void*>(n); }

/// A test of both kinds of map.
template <class Map>
class BothMaps : public testing::Test {
 protected:
  using Value = decltype(Map(1).Find(0).GetValue());
  static Value V(ZTKWord n) { return MakeValue(n, Value()); }

  static std::vector<ZTKWord> Keys(const Map& map) {
    std::vector<ZTKWord> keys;
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
