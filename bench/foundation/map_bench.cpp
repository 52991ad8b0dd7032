// A map of 100,000 random keys, with a fitting bucket count: filled, searched, emptied by iterator
// in another order, walked. Times are per key. Its peers keep the order of insertion as it does;
// the standard's map, which does not, is compared apart.

// The compiler takes null for possible deep inside a peer's templates.
#pragma GCC diagnostic ignored "-Wnull-dereference"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <list>
#include <random>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ztk/foundation/maps.h"

#ifdef ZTK_BENCH_ABSEIL
#include <absl/container/flat_hash_map.h>
#endif
#ifdef ZTK_BENCH_BOOST
#include <boost/multi_index/hashed_index.hpp>
#include <boost/multi_index/member.hpp>
#include <boost/multi_index/sequenced_index.hpp>
#include <boost/multi_index_container.hpp>
#endif
#ifdef ZTK_BENCH_POCO
#include <Poco/OrderedMap.h>
#endif

namespace {

using Key = unsigned long;

constexpr std::int64_t kKeys = 100'000;
constexpr unsigned long kBuckets = 262'139;

class OurMap {
 public:
  void Insert(Key key, Key value) { m_map.Insert(key, value); }
  Key Find(Key key) const { return m_map.Find(key).GetValue(); }
  void Erase(Key key) { m_map.Erase(m_map.Find(key)); }
  template <class Visit>
  void Walk(Visit visit) const {
    for (const auto [key, value] : m_map) visit(value);
  }

 private:
  ZTKMap m_map{kBuckets};
};

template <class Map>
class StandardLike {
 public:
  void Insert(Key key, Key value) { m_map[key] = value; }
  Key Find(Key key) const { return m_map.find(key)->second; }
  void Erase(Key key) { m_map.erase(m_map.find(key)); }
  template <class Visit>
  void Walk(Visit visit) const {
    for (const auto& entry : m_map) visit(entry.second);
  }

 protected:
  Map m_map;
};

class UnorderedMap : public StandardLike<std::unordered_map<Key, Key>> {
 public:
  UnorderedMap() { m_map.reserve(static_cast<size_t>(kKeys)); }
};

#ifdef ZTK_BENCH_POCO
// Erasing moves every later entry, so it takes no part in that.
class PocoMap : public StandardLike<Poco::OrderedMap<Key, Key>> {
 public:
  PocoMap() { m_map.reserve(static_cast<size_t>(kKeys)); }
};
#endif

#ifdef ZTK_BENCH_ABSEIL
class AbseilMap {
 public:
  AbseilMap() { m_index.reserve(static_cast<size_t>(kKeys)); }
  void Insert(Key key, Key value) {
    const auto [found, isNew] = m_index.try_emplace(key);
    if (isNew) {
      found->second = m_order.insert(m_order.end(), {key, value});
    } else {
      found->second->second = value;
    }
  }
  Key Find(Key key) const { return m_index.find(key)->second->second; }
  void Erase(Key key) {
    const auto found = m_index.find(key);
    m_order.erase(found->second);
    m_index.erase(found);
  }
  template <class Visit>
  void Walk(Visit visit) const {
    for (const auto& entry : m_order) visit(entry.second);
  }

 private:
  using Order = std::list<std::pair<Key, Key>>;
  Order m_order;
  absl::flat_hash_map<Key, Order::iterator> m_index;
};
#endif

#ifdef ZTK_BENCH_BOOST
class BoostMap {
 public:
  BoostMap() { m_map.template get<1>().rehash(static_cast<size_t>(kBuckets)); }
  void Insert(Key key, Key value) {
    auto& byKey = m_map.get<1>();
    const auto [found, isNew] = byKey.insert({key, value});
    if (!isNew) found->value = value;
  }
  Key Find(Key key) const { return m_map.get<1>().find(key)->value; }
  void Erase(Key key) {
    auto& byKey = m_map.get<1>();
    byKey.erase(byKey.find(key));
  }
  template <class Visit>
  void Walk(Visit visit) const {
    for (const auto& entry : m_map.get<0>()) visit(entry.value);
  }

 private:
  struct Entry {
    Key key;
    mutable Key value;
  };
  boost::multi_index_container<
      Entry,
      boost::multi_index::indexed_by<
          boost::multi_index::sequenced<>,
          boost::multi_index::hashed_unique<boost::multi_index::member<Entry, Key, &Entry::key>>>>
      m_map;
};
#endif

template <class Map>
constexpr bool kErases = true;
#ifdef ZTK_BENCH_POCO
template <>
constexpr bool kErases<PocoMap> = false;
#endif

std::vector<Key> RandomKeys() {
  std::mt19937_64 random(42);
  std::vector<Key> keys(static_cast<size_t>(kKeys));
  for (Key& key : keys) key = static_cast<Key>(random());
  return keys;
}

std::vector<Key> Shuffled(std::vector<Key> keys) {
  std::shuffle(keys.begin(), keys.end(), std::mt19937_64(43));
  return keys;
}

template <class Map>
void Fill(Map& map, const std::vector<Key>& keys) {
  for (const Key key : keys) map.Insert(key, key + 1);
}

template <class Map>
void Insert(benchmark::State& state) {
  const std::vector<Key> keys = RandomKeys();
  while (state.KeepRunningBatch(kKeys)) {
    state.PauseTiming();
    {
      Map map;
      state.ResumeTiming();
      Fill(map, keys);
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
}

template <class Map>
void Find(benchmark::State& state) {
  const std::vector<Key> keys = RandomKeys();
  const std::vector<Key> sought = Shuffled(keys);
  Map map;
  Fill(map, keys);
  while (state.KeepRunningBatch(kKeys)) {
    Key sum = 0;
    for (const Key key : sought) sum += map.Find(key);
    benchmark::DoNotOptimize(sum);
  }
}

template <class Map>
void Erase(benchmark::State& state) {
  const std::vector<Key> keys = RandomKeys();
  const std::vector<Key> order = Shuffled(keys);
  while (state.KeepRunningBatch(kKeys)) {
    state.PauseTiming();
    {
      Map map;
      Fill(map, keys);
      state.ResumeTiming();
      for (const Key key : order) map.Erase(key);
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
}

template <class Map>
void Iterate(benchmark::State& state) {
  Map map;
  Fill(map, RandomKeys());
  while (state.KeepRunningBatch(kKeys)) {
    Key sum = 0;
    map.Walk([&](Key value) { sum += value; });
    benchmark::DoNotOptimize(sum);
  }
}

template <class Map>
void Register(const std::string& who) {
  benchmark::RegisterBenchmark(("BM_MapInsert/" + who).c_str(), Insert<Map>);
  benchmark::RegisterBenchmark(("BM_MapFind/" + who).c_str(), Find<Map>);
  if constexpr (kErases<Map>) {
    benchmark::RegisterBenchmark(("BM_MapErase/" + who).c_str(), Erase<Map>);
  }
  benchmark::RegisterBenchmark(("BM_MapIterate/" + who).c_str(), Iterate<Map>);
}

[[maybe_unused]] const bool s_registered = [] {
  Register<OurMap>("ztk");
#ifdef ZTK_BENCH_ABSEIL
  Register<AbseilMap>("abseil");
#endif
#ifdef ZTK_BENCH_BOOST
  Register<BoostMap>("boost");
#endif
#ifdef ZTK_BENCH_POCO
  Register<PocoMap>("poco");
#endif
  return true;
}();

}  // namespace

BENCHMARK(Insert<OurMap>)->Name("BM_MapInsertUnordered/ztk");
BENCHMARK(Insert<UnorderedMap>)->Name("BM_MapInsertUnordered/std");
BENCHMARK(Find<OurMap>)->Name("BM_MapFindUnordered/ztk");
BENCHMARK(Find<UnorderedMap>)->Name("BM_MapFindUnordered/std");
