#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ztk/foundation/arrays.h"

#ifdef ZTK_BENCH_GLIB
#include <glib.h>
#endif
#ifdef ZTK_BENCH_QT
#include <QByteArray>
#include <QByteArrayList>
#endif

// Filling arrays: a million strings of 20 characters, a few strings, a million pointers. The
// elements are freed within the time.

namespace {

constexpr const char* kText = "twenty characters ok";

void AddStringsOurs(benchmark::State& state) {
  const ZTKString text(kText);
  for (auto _ : state) {
    ZTKStringArray array;
    for (int64_t i = 0; i < state.range(0); ++i) array.Add(text, 1);
    benchmark::DoNotOptimize(array.GetCount());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void AddStringsStd(benchmark::State& state) {
  const std::string text(kText);
  for (auto _ : state) {
    std::vector<std::string> array;
    for (int64_t i = 0; i < state.range(0); ++i) array.push_back(text);
    benchmark::DoNotOptimize(array.size());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

#ifdef ZTK_BENCH_GLIB
void AddStringsGlib(benchmark::State& state) {
  for (auto _ : state) {
    GPtrArray* const array = g_ptr_array_new_with_free_func(g_free);
    for (int64_t i = 0; i < state.range(0); ++i) g_ptr_array_add(array, g_strdup(kText));
    benchmark::DoNotOptimize(array->len);
    g_ptr_array_unref(array);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
#endif

#ifdef ZTK_BENCH_QT
/// Each string a copy of its own, as it is with the others.
void AddStringsQt(benchmark::State& state) {
  for (auto _ : state) {
    QByteArrayList array;
    for (int64_t i = 0; i < state.range(0); ++i) array.append(QByteArray(kText, 20));
    benchmark::DoNotOptimize(array.size());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
#endif

void AddPointersOurs(benchmark::State& state) {
  for (auto _ : state) {
    ZTKPtrArr array;
    for (int64_t i = 0; i < state.range(0); ++i) array.Add(&array, 1);
    benchmark::DoNotOptimize(array.GetItems());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void AddPointersStd(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<void*> array;
    for (int64_t i = 0; i < state.range(0); ++i) array.push_back(&array);
    benchmark::DoNotOptimize(array.data());
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

#ifdef ZTK_BENCH_GLIB
void AddPointersGlib(benchmark::State& state) {
  for (auto _ : state) {
    GPtrArray* const array = g_ptr_array_new();
    for (int64_t i = 0; i < state.range(0); ++i) g_ptr_array_add(array, array);
    benchmark::DoNotOptimize(array->pdata);
    g_ptr_array_unref(array);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
#endif

BENCHMARK(AddStringsOurs)->Name("BM_AddStrings/ztk")->Arg(1000000)->Arg(8);
BENCHMARK(AddStringsStd)->Name("BM_AddStrings/std")->Arg(1000000)->Arg(8);
BENCHMARK(AddPointersOurs)->Name("BM_AddPointers/ztk")->Arg(1000000);
BENCHMARK(AddPointersStd)->Name("BM_AddPointers/std")->Arg(1000000);
#ifdef ZTK_BENCH_GLIB
BENCHMARK(AddStringsGlib)->Name("BM_AddStrings/glib")->Arg(1000000)->Arg(8);
BENCHMARK(AddPointersGlib)->Name("BM_AddPointers/glib")->Arg(1000000);
#endif
#ifdef ZTK_BENCH_QT
BENCHMARK(AddStringsQt)->Name("BM_AddStrings/qt")->Arg(1000000)->Arg(8);
#endif

}  // namespace
