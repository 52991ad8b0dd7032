// A list of a million pointers: built at its end, walked, deleted. Times are per element.

#include "ztk/foundation/list.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <list>

#ifdef ZTK_BENCH_GLIB
#include <glib.h>
#endif

namespace {

constexpr std::int64_t kElements = 1'000'000;

void* Element(std::int64_t i) { return reinterpret_cast<void*>(static_cast<std::intptr_t>(i)); }

class OurList {
 public:
  void Append(void* p) { benchmark::DoNotOptimize(m_list.Append(p)); }
  void DeleteFirst() { m_list.DeleteNode(m_list.GetFirst()); }
  void Clear() { m_list.Clear(); }
  template <class Visit>
  void Walk(Visit visit) const {
    for (void* p : m_list) visit(p);
  }

 private:
  ZTKListBase m_list;
};

class StandardList {
 public:
  void Append(void* p) { m_list.push_back(p); }
  void DeleteFirst() { m_list.pop_front(); }
  void Clear() { m_list.clear(); }
  template <class Visit>
  void Walk(Visit visit) const {
    for (void* p : m_list) visit(p);
  }

 private:
  std::list<void*> m_list;
};

#ifdef ZTK_BENCH_GLIB
class GLibList {
 public:
  GLibList() = default;
  GLibList(const GLibList&) = delete;
  GLibList& operator=(const GLibList&) = delete;
  ~GLibList() { Clear(); }
  void Append(void* p) { g_queue_push_tail(&m_queue, p); }
  void DeleteFirst() { g_queue_pop_head(&m_queue); }
  void Clear() { g_queue_clear(&m_queue); }
  template <class Visit>
  void Walk(Visit visit) const {
    for (GList* node = m_queue.head; node; node = node->next) visit(node->data);
  }

 private:
  GQueue m_queue = G_QUEUE_INIT;
};
#endif

template <class List>
void Fill(List& list) {
  for (std::int64_t i = 0; i < kElements; ++i) list.Append(Element(i));
}

template <class List>
void Append(benchmark::State& state) {
  while (state.KeepRunningBatch(kElements)) {
    List list;
    Fill(list);
    state.PauseTiming();
    list.Clear();
    state.ResumeTiming();
  }
}

template <class List>
void Iterate(benchmark::State& state) {
  List list;
  Fill(list);
  while (state.KeepRunningBatch(kElements)) {
    std::uintptr_t sum = 0;
    list.Walk([&](void* p) { sum += reinterpret_cast<std::uintptr_t>(p); });
    benchmark::DoNotOptimize(sum);
  }
}

template <class List>
void Clear(benchmark::State& state) {
  while (state.KeepRunningBatch(kElements)) {
    state.PauseTiming();
    List list;
    Fill(list);
    state.ResumeTiming();
    list.Clear();
  }
}

template <class List>
void Delete(benchmark::State& state) {
  while (state.KeepRunningBatch(kElements)) {
    state.PauseTiming();
    List list;
    Fill(list);
    state.ResumeTiming();
    for (std::int64_t i = 0; i < kElements; ++i) list.DeleteFirst();
  }
}

}  // namespace

BENCHMARK(Append<OurList>)->Name("BM_ListAppend/ztk");
BENCHMARK(Append<StandardList>)->Name("BM_ListAppend/std");
BENCHMARK(Iterate<OurList>)->Name("BM_ListIterate/ztk");
BENCHMARK(Iterate<StandardList>)->Name("BM_ListIterate/std");
BENCHMARK(Delete<OurList>)->Name("BM_ListDelete/ztk");
BENCHMARK(Clear<OurList>)->Name("BM_ListClear/ztk");
BENCHMARK(Delete<StandardList>)->Name("BM_ListDelete/std");
BENCHMARK(Clear<StandardList>)->Name("BM_ListClear/std");
#ifdef ZTK_BENCH_GLIB
BENCHMARK(Append<GLibList>)->Name("BM_ListAppend/glib");
BENCHMARK(Iterate<GLibList>)->Name("BM_ListIterate/glib");
BENCHMARK(Delete<GLibList>)->Name("BM_ListDelete/glib");
BENCHMARK(Clear<GLibList>)->Name("BM_ListClear/glib");
#endif
