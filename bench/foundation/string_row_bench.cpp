#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ztk/foundation/string.h"

#ifdef ZTK_BENCH_GLIB
#include <glib.h>
#endif
#ifdef ZTK_BENCH_QT
#include <QByteArray>
#include <QByteArrayView>
#endif

// Building texts, finding characters, comparing, numbers, moving: ours beside the standard library
// and the installed peers. A name is BM_<work>/<who>/<size>; "limit" is the least that the work can
// cost.

namespace {

size_t Size(const benchmark::State& state) { return static_cast<size_t>(state.range(0)); }

#ifdef ZTK_BENCH_GLIB
/// A GString with the operations of the others.
class GlibText {
 public:
  explicit GlibText(const GlibText& other)
      : m_text(g_string_new_len(other.m_text->str, static_cast<gssize>(other.m_text->len))) {}
  explicit GlibText(const char* psz) : m_text(g_string_new(psz)) {}
  ~GlibText() { g_string_free(m_text, TRUE); }
  GlibText& operator=(const GlibText&) = delete;
  GlibText& operator+=(char ch) { return g_string_append_c(m_text, ch), *this; }
  GlibText& operator+=(const char* psz) { return g_string_append(m_text, psz), *this; }
  const char* c_str() const { return m_text->str; }

 private:
  GString* m_text;
};
#endif
#ifdef ZTK_BENCH_QT
/// A QByteArray whose copies are its own, as those of the others are.
class QtText : public QByteArray {
 public:
  explicit QtText(const char* psz) : QByteArray(psz) {}
  QtText(const QtText& other) : QByteArray(other.constData(), other.size()) {}
  const char* c_str() const { return constData(); }
};
#endif

// Append to a text of the given size until it is twice as long; the time of one append. The copy
// that it starts with and its end are shared by all of them.

template <typename Text>
void AppendCharacter(benchmark::State& state) {
  const size_t size = Size(state);
  const Text original(std::string(size, 'x').c_str());
  const auto count = static_cast<benchmark::IterationCount>(size);
  while (state.KeepRunningBatch(count)) {
    Text text(original);
    for (size_t i = 0; i < size; ++i) text += 'y';
    benchmark::DoNotOptimize(text.c_str());
  }
}
BENCHMARK(AppendCharacter<ZTKString>)
    ->Name("BM_StringAppendChar/ztk")
    ->Arg(64)
    ->Arg(4096)
    ->Arg(262144);
BENCHMARK(AppendCharacter<std::string>)
    ->Name("BM_StringAppendChar/std")
    ->Arg(64)
    ->Arg(4096)
    ->Arg(262144);
#ifdef ZTK_BENCH_GLIB
BENCHMARK(AppendCharacter<GlibText>)
    ->Name("BM_StringAppendChar/glib")
    ->Arg(64)
    ->Arg(4096)
    ->Arg(262144);
#endif
#ifdef ZTK_BENCH_QT
BENCHMARK(AppendCharacter<QtText>)->Name("BM_StringAppendChar/qt")->Arg(64)->Arg(4096)->Arg(262144);
#endif

template <typename Text>
void AppendLiteral(benchmark::State& state) {
  const size_t size = Size(state);
  const Text original(std::string(size, 'x').c_str());
  const auto count = static_cast<benchmark::IterationCount>(size / 8);
  while (state.KeepRunningBatch(count)) {
    Text text(original);
    for (size_t i = 0; i < size / 8; ++i) text += "literal ";
    benchmark::DoNotOptimize(text.c_str());
  }
}
BENCHMARK(AppendLiteral<ZTKString>)->Name("BM_StringAppendLiteral/ztk")->Arg(512)->Arg(262144);
BENCHMARK(AppendLiteral<std::string>)->Name("BM_StringAppendLiteral/std")->Arg(512)->Arg(262144);
#ifdef ZTK_BENCH_GLIB
BENCHMARK(AppendLiteral<GlibText>)->Name("BM_StringAppendLiteral/glib")->Arg(512)->Arg(262144);
#endif
#ifdef ZTK_BENCH_QT
BENCHMARK(AppendLiteral<QtText>)->Name("BM_StringAppendLiteral/qt")->Arg(512)->Arg(262144);
#endif

// Find a character that is in the middle, from the front or from the end.

std::string WithOneMark(size_t size) {
  std::string text(size, 'x');
  text[size / 2] = '=';
  return text;
}

void FindCharacterZtk(benchmark::State& state) {
  const ZTKString text(WithOneMark(Size(state)).c_str());
  const int fromEnd = static_cast<int>(state.range(1));
  for (auto _ : state) benchmark::DoNotOptimize(text.Find('=', fromEnd));
}
void FindCharacterStd(benchmark::State& state) {
  const std::string text = WithOneMark(Size(state));
  if (state.range(1) != 0) {
    for (auto _ : state) benchmark::DoNotOptimize(text.rfind('='));
  } else {
    for (auto _ : state) benchmark::DoNotOptimize(text.find('='));
  }
}
void FindCharacterLimit(benchmark::State& state) {
  const std::string text = WithOneMark(Size(state));
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::memchr(text.data() + text.size() / 2, 'z', text.size() / 2));
  }
}
void FindArguments(benchmark::internal::Benchmark* bench) {
  bench->ArgsProduct({{24, 4096}, {0, 1}});
}
BENCHMARK(FindCharacterZtk)->Name("BM_StringFindChar/ztk")->Apply(FindArguments);
BENCHMARK(FindCharacterStd)->Name("BM_StringFindChar/std")->Apply(FindArguments);
BENCHMARK(FindCharacterLimit)->Name("BM_StringFindChar/limit")->Apply(FindArguments);
#ifdef ZTK_BENCH_QT
void FindCharacterQt(benchmark::State& state) {
  const QtText text(WithOneMark(Size(state)).c_str());
  if (state.range(1) != 0) {
    for (auto _ : state) benchmark::DoNotOptimize(text.lastIndexOf('='));
  } else {
    for (auto _ : state) benchmark::DoNotOptimize(text.indexOf('='));
  }
}
BENCHMARK(FindCharacterQt)->Name("BM_StringFindChar/qt")->Apply(FindArguments);
#endif

// Compare two texts that differ in their last character; 1 compares with plain text.

void CompareZtk(benchmark::State& state) {
  const ZTKString left(std::string(Size(state), 'x').c_str());
  const ZTKString right((std::string(Size(state) - 1, 'x') + 'y').c_str());
  const char* const plain = right.c_str();
  if (state.range(1) != 0) {
    for (auto _ : state) benchmark::DoNotOptimize(left.Cmp(plain));
  } else {
    for (auto _ : state) benchmark::DoNotOptimize(left.Cmp(right));
  }
}
void CompareStd(benchmark::State& state) {
  const std::string left(Size(state), 'x');
  const std::string right = std::string(Size(state) - 1, 'x') + 'y';
  const char* const plain = right.c_str();
  if (state.range(1) != 0) {
    for (auto _ : state) benchmark::DoNotOptimize(left.compare(plain));
  } else {
    for (auto _ : state) benchmark::DoNotOptimize(left.compare(right));
  }
}
BENCHMARK(CompareZtk)->Name("BM_StringCmp/ztk")->Apply(FindArguments);
BENCHMARK(CompareStd)->Name("BM_StringCmp/std")->Apply(FindArguments);
#ifdef ZTK_BENCH_QT
void CompareQt(benchmark::State& state) {
  const QtText left(std::string(Size(state), 'x').c_str());
  const QtText right((std::string(Size(state) - 1, 'x') + 'y').c_str());
  const char* const plain = right.c_str();
  if (state.range(1) != 0) {
    for (auto _ : state) benchmark::DoNotOptimize(left.compare(plain));
  } else {
    for (auto _ : state) benchmark::DoNotOptimize(left.compare(right));
  }
}
BENCHMARK(CompareQt)->Name("BM_StringCmp/qt")->Apply(FindArguments);
#endif

// Read a floating-point number.

constexpr const char* kNumbers[] = {"1234.5678", "-6.02214076e23"};

void ParseDoubleZtk(benchmark::State& state) {
  const ZTKString text(kNumbers[state.range(0)]);
  for (auto _ : state) {
    double value = 0;
    benchmark::DoNotOptimize(text.ToDouble(&value));
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(ParseDoubleZtk)->Name("BM_StringToDouble/ztk")->DenseRange(0, 1);

void ParseDoubleLibc(benchmark::State& state) {
  const std::string text(kNumbers[state.range(0)]);
  for (auto _ : state) {
    char* end = nullptr;
    benchmark::DoNotOptimize(std::strtod(text.c_str(), &end));
    benchmark::DoNotOptimize(end);
  }
}
BENCHMARK(ParseDoubleLibc)->Name("BM_StringToDouble/libc")->DenseRange(0, 1);

#ifdef ZTK_BENCH_GLIB
void ParseDoubleGlib(benchmark::State& state) {
  const std::string text(kNumbers[state.range(0)]);
  for (auto _ : state) {
    char* end = nullptr;
    benchmark::DoNotOptimize(g_ascii_strtod(text.c_str(), &end));
    benchmark::DoNotOptimize(end);
  }
}
BENCHMARK(ParseDoubleGlib)->Name("BM_StringToDouble/glib")->DenseRange(0, 1);
#endif
#ifdef ZTK_BENCH_QT
void ParseDoubleQt(benchmark::State& state) {
  const QByteArray text(kNumbers[state.range(0)]);
  for (auto _ : state) {
    bool isOk = false;
    benchmark::DoNotOptimize(text.toDouble(&isOk));
    benchmark::DoNotOptimize(isOk);
  }
}
BENCHMARK(ParseDoubleQt)->Name("BM_StringToDouble/qt")->DenseRange(0, 1);
#endif
/// Knows neither a sign '+', blanks nor locales.
void ParseDoubleLimit(benchmark::State& state) {
  const std::string text(kNumbers[state.range(0)]);
  for (auto _ : state) {
    double value = 0;
    benchmark::DoNotOptimize(std::from_chars(text.data(), text.data() + text.size(), value).ptr);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(ParseDoubleLimit)->Name("BM_StringToDouble/limit")->DenseRange(0, 1);

// Swap two strings, and sort a thousand of 24 characters, which differ behind the first four.

template <typename Text>
void Swap(benchmark::State& state) {
  Text a("one of the two texts to be exchanged");
  Text b("the other one");
  for (auto _ : state) {
    using std::swap;
    swap(a, b);
    benchmark::DoNotOptimize(a);
    benchmark::DoNotOptimize(b);
  }
}
BENCHMARK(Swap<ZTKString>)->Name("BM_StringSwap/ztk");
BENCHMARK(Swap<std::string>)->Name("BM_StringSwap/std");
#ifdef ZTK_BENCH_QT
BENCHMARK(Swap<QByteArray>)->Name("BM_StringSwap/qt");
#endif

bool IsLess(const ZTKString& a, const ZTKString& b) { return a.Cmp(b) < 0; }
bool IsLess(const std::string& a, const std::string& b) { return a < b; }
#ifdef ZTK_BENCH_QT
bool IsLess(const QByteArray& a, const QByteArray& b) { return a < b; }
#endif

template <typename Text>
void Sort(benchmark::State& state) {
  std::vector<Text> original;
  unsigned random = 1;
  for (int i = 0; i < 1000; ++i) {
    std::string text = "name";
    while (text.size() < 24) {
      random = random * 1664525 + 1013904223;
      text += static_cast<char>('a' + (random >> 16) % 26);
    }
    original.emplace_back(text.c_str());
  }
  std::vector<Text> texts(original.size());
  for (auto _ : state) {
    state.PauseTiming();
    texts = original;
    state.ResumeTiming();
    std::sort(texts.begin(), texts.end(),
              [](const Text& a, const Text& b) { return IsLess(a, b); });
    benchmark::DoNotOptimize(texts.data());
  }
}
BENCHMARK(Sort<ZTKString>)->Name("BM_StringSort/ztk");
BENCHMARK(Sort<std::string>)->Name("BM_StringSort/std");
#ifdef ZTK_BENCH_QT
BENCHMARK(Sort<QByteArray>)->Name("BM_StringSort/qt");
#endif

}  // namespace
