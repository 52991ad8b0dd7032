#include <benchmark/benchmark.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "ztk/foundation/string.h"

#ifdef ZTK_BENCH_ABSEIL
#include <absl/strings/ascii.h>
#include <absl/strings/match.h>
#endif
#ifdef ZTK_BENCH_GLIB
#include <glib.h>
#endif
#ifdef ZTK_BENCH_QT
#include <QByteArray>
#include <QByteArrayMatcher>
#endif
#ifdef ZTK_BENCH_POCO
#include <Poco/NumberParser.h>
#include <Poco/String.h>
#endif

// One operation of a string, ours beside the standard library and the installed peers. A name is
// BM_<work>/<who>/<size>; "hand" is what a careful programmer writes for the one case, "limit" the
// least that the work can cost.

namespace {

/// Running text of `size` characters with no `needle` in it but at the places asked for.
std::string Prose(size_t size) {
  static const char* const kWords[] = {"the ",   "quick ", "need ", "brown ", "fox, ", "needs ",
                                       "jumps ", "over ",  "a ",    "lazy ",  "dog. ", "less "};
  std::string text;
  unsigned random = 12345;
  while (text.size() < size) {
    random = random * 1664525 + 1013904223;
    text += kWords[(random >> 16) % 12];
  }
  text.resize(size);
  return text;
}

constexpr const char* kNeedle = "needle87";

std::string Haystack(size_t size) {
  std::string text = Prose(size);
  text.replace(size - 8, 8, kNeedle);
  return text;
}

/// Text with something to replace about every 40 characters.
std::string Replaceable(size_t size) {
  std::string text = Prose(size);
  for (size_t i = 20; i + 48 < size; i += 40) text.replace(i, 8, kNeedle);
  return text;
}

constexpr const char* kReplacements[] = {"NEEDLE78", "a longer needle", "pin"};

size_t Size(const benchmark::State& state) { return static_cast<size_t>(state.range(0)); }

// Find.

void FindZtk(benchmark::State& state) {
  const ZTKString text(Haystack(Size(state)).c_str());
  for (auto _ : state) benchmark::DoNotOptimize(text.Find(kNeedle));
}
BENCHMARK(FindZtk)->Name("BM_StringFind/ztk")->Arg(64)->Arg(4096)->Arg(1 << 20);

void FindStd(benchmark::State& state) {
  const std::string text = Haystack(Size(state));
  for (auto _ : state) benchmark::DoNotOptimize(text.find(kNeedle));
}
BENCHMARK(FindStd)->Name("BM_StringFind/std")->Arg(64)->Arg(4096)->Arg(1 << 20);

void FindLibc(benchmark::State& state) {
  const std::string text = Haystack(Size(state));
  for (auto _ : state) benchmark::DoNotOptimize(std::strstr(text.c_str(), kNeedle));
}
BENCHMARK(FindLibc)->Name("BM_StringFind/libc")->Arg(64)->Arg(4096)->Arg(1 << 20);

#ifdef ZTK_BENCH_QT
void FindQt(benchmark::State& state) {
  const std::string model = Haystack(Size(state));
  const QByteArray text(model.c_str(), static_cast<int>(model.size()));
  const QByteArrayMatcher matcher(kNeedle);
  for (auto _ : state) benchmark::DoNotOptimize(matcher.indexIn(text));
}
BENCHMARK(FindQt)->Name("BM_StringFind/qt")->Arg(64)->Arg(4096)->Arg(1 << 20);
#endif

void FindLimit(benchmark::State& state) {
  const std::string text = Haystack(Size(state));
  for (auto _ : state) benchmark::DoNotOptimize(std::memchr(text.data(), '7', text.size()));
}
BENCHMARK(FindLimit)->Name("BM_StringFind/limit")->Arg(64)->Arg(4096)->Arg(1 << 20);

// Replace all: the second argument chooses one as long, a longer and a shorter one.

void ReplaceArguments(benchmark::internal::Benchmark* bench) {
  bench->ArgsProduct({{4096, 1 << 20}, {0, 1, 2}});
}

const char* Replacement(const benchmark::State& state) { return kReplacements[state.range(1)]; }

void ReplaceZtk(benchmark::State& state) {
  const ZTKString original(Replaceable(Size(state)).c_str());
  const char* replacement = Replacement(state);
  for (auto _ : state) {
    ZTKString text(original);
    benchmark::DoNotOptimize(text.Replace(kNeedle, replacement, 1));
    benchmark::DoNotOptimize(text.c_str());
  }
}
BENCHMARK(ReplaceZtk)->Name("BM_StringReplace/ztk")->Apply(ReplaceArguments);

/// Finds with the standard search and builds the result, of which it only looks at the input.
void ReplaceHand(benchmark::State& state) {
  const std::string original = Replaceable(Size(state));
  const std::string_view needle = kNeedle;
  const std::string_view replacement = Replacement(state);
  for (auto _ : state) {
    std::string result;
    result.reserve(original.size() + original.size() / 8);
    size_t start = 0;
    for (size_t at; (at = original.find(needle, start)) != std::string::npos;) {
      result.append(original, start, at - start).append(replacement);
      start = at + needle.size();
    }
    result.append(original, start);
    benchmark::DoNotOptimize(result.data());
  }
}
BENCHMARK(ReplaceHand)->Name("BM_StringReplace/hand")->Apply(ReplaceArguments);

#ifdef ZTK_BENCH_QT
void ReplaceQt(benchmark::State& state) {
  const std::string model = Replaceable(Size(state));
  const QByteArray original(model.c_str(), static_cast<int>(model.size()));
  const QByteArray needle(kNeedle);
  const QByteArray replacement(Replacement(state));
  for (auto _ : state) {
    QByteArray text(original.constData(), original.size());
    text.replace(needle, replacement);
    benchmark::DoNotOptimize(text.constData());
  }
}
BENCHMARK(ReplaceQt)->Name("BM_StringReplace/qt")->Apply(ReplaceArguments);
#endif

#ifdef ZTK_BENCH_GLIB
void ReplaceGlib(benchmark::State& state) {
  const std::string original = Replaceable(Size(state));
  for (auto _ : state) {
    GString* text = g_string_new_len(original.data(), static_cast<gssize>(original.size()));
    g_string_replace(text, kNeedle, Replacement(state), 0);
    benchmark::DoNotOptimize(text->str);
    g_string_free(text, TRUE);
  }
}
BENCHMARK(ReplaceGlib)->Name("BM_StringReplace/glib")->Apply(ReplaceArguments);
#endif

#ifdef ZTK_BENCH_POCO
void ReplacePoco(benchmark::State& state) {
  const std::string original = Replaceable(Size(state));
  const std::string needle(kNeedle);
  const std::string replacement(Replacement(state));
  for (auto _ : state) {
    std::string text(original);
    Poco::replaceInPlace(text, needle, replacement);
    benchmark::DoNotOptimize(text.data());
  }
}
BENCHMARK(ReplacePoco)
    ->Name("BM_StringReplace/poco")
    ->Args({4096, 0})
    ->Args({4096, 1})
    ->Args({4096, 2});
#endif

// Copy.

void CopyZtk(benchmark::State& state) {
  const ZTKString original('x', Size(state));
  for (auto _ : state) {
    const ZTKString copy(original);
    benchmark::DoNotOptimize(copy.c_str());
  }
}
BENCHMARK(CopyZtk)->Name("BM_StringCopy/ztk")->Arg(8)->Arg(24)->Arg(200);

void CopyStd(benchmark::State& state) {
  const std::string original(Size(state), 'x');
  for (auto _ : state) {
    const std::string copy(original);
    benchmark::DoNotOptimize(copy.data());
  }
}
BENCHMARK(CopyStd)->Name("BM_StringCopy/std")->Arg(8)->Arg(24)->Arg(200);

#ifdef ZTK_BENCH_GLIB
void CopyGlib(benchmark::State& state) {
  const std::string original(Size(state), 'x');
  for (auto _ : state) {
    char* copy = g_strdup(original.c_str());
    benchmark::DoNotOptimize(copy);
    g_free(copy);
  }
}
BENCHMARK(CopyGlib)->Name("BM_StringCopy/glib")->Arg(8)->Arg(24)->Arg(200);
#endif

void CopyLimit(benchmark::State& state) {
  const std::string original(Size(state), 'x');
  for (auto _ : state) {
    auto* copy = static_cast<char*>(std::malloc(original.size() + 1));
    std::memcpy(copy, original.c_str(), original.size() + 1);
    benchmark::DoNotOptimize(copy);
    std::free(copy);
  }
}
BENCHMARK(CopyLimit)->Name("BM_StringCopy/limit")->Arg(8)->Arg(24)->Arg(200);

// Format.

void FormatZtk(benchmark::State& state) {
  const char* key = "key";
  int value = 12345;
  benchmark::DoNotOptimize(key);
  benchmark::DoNotOptimize(value);
  for (auto _ : state) {
    ZTKString text;
    text.Printf("%s=%d", key, value);
    benchmark::DoNotOptimize(text.c_str());
  }
}
BENCHMARK(FormatZtk)->Name("BM_StringFormat/ztk");

void FormatStd(benchmark::State& state) {
  const char* key = "key";
  int value = 12345;
  benchmark::DoNotOptimize(key);
  benchmark::DoNotOptimize(value);
  for (auto _ : state) {
    char buffer[1024];
    const int length = std::snprintf(buffer, sizeof buffer, "%s=%d", key, value);
    const std::string text(buffer, static_cast<size_t>(length));
    benchmark::DoNotOptimize(text.data());
  }
}
BENCHMARK(FormatStd)->Name("BM_StringFormat/std");

#ifdef ZTK_BENCH_GLIB
void FormatGlib(benchmark::State& state) {
  const char* key = "key";
  int value = 12345;
  benchmark::DoNotOptimize(key);
  benchmark::DoNotOptimize(value);
  for (auto _ : state) {
    char* text = g_strdup_printf("%s=%d", key, value);
    benchmark::DoNotOptimize(text);
    g_free(text);
  }
}
BENCHMARK(FormatGlib)->Name("BM_StringFormat/glib");
#endif

// Append eight literals to one string; the time of all eight.

template <typename Text>
void AppendEight(Text& text) {
  text += "one";
  text += "two ";
  text += "three";
  text += "four";
  text += "five, ";
  text += "six";
  text += "seven";
  text += "eight.";
}

void AppendZtk(benchmark::State& state) {
  for (auto _ : state) {
    ZTKString text;
    AppendEight(text);
    benchmark::DoNotOptimize(text.c_str());
  }
}
BENCHMARK(AppendZtk)->Name("BM_StringAppend8/ztk");

void AppendStd(benchmark::State& state) {
  for (auto _ : state) {
    std::string text;
    AppendEight(text);
    benchmark::DoNotOptimize(text.data());
  }
}
BENCHMARK(AppendStd)->Name("BM_StringAppend8/std");

#ifdef ZTK_BENCH_QT
void AppendQt(benchmark::State& state) {
  for (auto _ : state) {
    QByteArray text;
    AppendEight(text);
    benchmark::DoNotOptimize(text.constData());
  }
}
BENCHMARK(AppendQt)->Name("BM_StringAppend8/qt");
#endif

// Lower case.

void LowerZtk(benchmark::State& state) {
  const std::string model = Prose(Size(state));
  ZTKString text(model.c_str());
  char* first = &text[0];
  for (auto _ : state) {
    *first = 'T';
    text.MakeLower();
    benchmark::DoNotOptimize(text.c_str());
  }
}
BENCHMARK(LowerZtk)->Name("BM_StringLower/ztk")->Arg(24)->Arg(4096);

void LowerStd(benchmark::State& state) {
  std::string text = Prose(Size(state));
  for (auto _ : state) {
    text[0] = 'T';
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char ch) { return static_cast<char>(std::tolower(ch)); });
    benchmark::DoNotOptimize(text.data());
  }
}
BENCHMARK(LowerStd)->Name("BM_StringLower/std")->Arg(24)->Arg(4096);

#ifdef ZTK_BENCH_GLIB
void LowerGlib(benchmark::State& state) {
  const std::string model = Prose(Size(state));
  GString* text = g_string_new(model.c_str());
  for (auto _ : state) {
    text->str[0] = 'T';
    g_string_ascii_down(text);
    benchmark::DoNotOptimize(text->str);
  }
  g_string_free(text, TRUE);
}
BENCHMARK(LowerGlib)->Name("BM_StringLower/glib")->Arg(24)->Arg(4096);
#endif

#ifdef ZTK_BENCH_QT
void LowerQt(benchmark::State& state) {
  const std::string model = Prose(Size(state));
  QByteArray text(model.c_str(), static_cast<int>(model.size()));
  for (auto _ : state) {
    text[0] = 'T';
    text = std::move(text).toLower();
    benchmark::DoNotOptimize(text.constData());
  }
}
BENCHMARK(LowerQt)->Name("BM_StringLower/qt")->Arg(24)->Arg(4096);
#endif

#ifdef ZTK_BENCH_ABSEIL
void LowerAbseil(benchmark::State& state) {
  std::string text = Prose(Size(state));
  for (auto _ : state) {
    text[0] = 'T';
    absl::AsciiStrToLower(&text);
    benchmark::DoNotOptimize(text.data());
  }
}
BENCHMARK(LowerAbseil)->Name("BM_StringLower/abseil")->Arg(24)->Arg(4096);
#endif

// Trim: a copy of a short text, both ends.

constexpr const char* kPadded = "  \t a value to be trimmed  \r";

void TrimZtk(benchmark::State& state) {
  const ZTKString original(kPadded);
  for (auto _ : state) {
    ZTKString text(original);
    text.TrimA();
    benchmark::DoNotOptimize(text.c_str());
  }
}
BENCHMARK(TrimZtk)->Name("BM_StringTrim/ztk");

void TrimStd(benchmark::State& state) {
  const std::string original(kPadded);
  for (auto _ : state) {
    std::string text(original);
    text.erase(text.find_last_not_of(" \t\r\n\v\f") + 1);
    text.erase(0, text.find_first_not_of(" \t\r\n\v\f"));
    benchmark::DoNotOptimize(text.data());
  }
}
BENCHMARK(TrimStd)->Name("BM_StringTrim/std");

#ifdef ZTK_BENCH_GLIB
void TrimGlib(benchmark::State& state) {
  for (auto _ : state) {
    char* text = g_strstrip(g_strdup(kPadded));
    benchmark::DoNotOptimize(text);
    g_free(text);
  }
}
BENCHMARK(TrimGlib)->Name("BM_StringTrim/glib");
#endif

#ifdef ZTK_BENCH_QT
void TrimQt(benchmark::State& state) {
  const QByteArray original(kPadded);
  for (auto _ : state) {
    const QByteArray text = original.trimmed();
    benchmark::DoNotOptimize(text.constData());
  }
}
BENCHMARK(TrimQt)->Name("BM_StringTrim/qt");
#endif

#ifdef ZTK_BENCH_POCO
void TrimPoco(benchmark::State& state) {
  const std::string original(kPadded);
  for (auto _ : state) {
    const std::string text = Poco::trim(original);
    benchmark::DoNotOptimize(text.data());
  }
}
BENCHMARK(TrimPoco)->Name("BM_StringTrim/poco");
#endif

// Compare without case: argument 0 for equal texts, 1 for texts of one case, 2 for an early end.

constexpr const char* kCompared[][2] = {{"Content-Type-Options-X", "content-type-options-x"},
                                        {"content-type-options-x", "content-type-options-x"},
                                        {"Content-Type-Options-X", "Accept-Encoding-Charset"}};

void CompareNoCaseZtk(benchmark::State& state) {
  const ZTKString left(kCompared[state.range(0)][0]);
  const ZTKString right(kCompared[state.range(0)][1]);
  for (auto _ : state) benchmark::DoNotOptimize(left.CmpNoCase(right));
}
BENCHMARK(CompareNoCaseZtk)->Name("BM_StringCmpNoCase/ztk")->DenseRange(0, 2);

void CompareNoCaseLibc(benchmark::State& state) {
  const std::string left(kCompared[state.range(0)][0]);
  const std::string right(kCompared[state.range(0)][1]);
  for (auto _ : state) benchmark::DoNotOptimize(strcasecmp(left.c_str(), right.c_str()));
}
BENCHMARK(CompareNoCaseLibc)->Name("BM_StringCmpNoCase/libc")->DenseRange(0, 2);

#ifdef ZTK_BENCH_GLIB
void CompareNoCaseGlib(benchmark::State& state) {
  const std::string left(kCompared[state.range(0)][0]);
  const std::string right(kCompared[state.range(0)][1]);
  for (auto _ : state) benchmark::DoNotOptimize(g_ascii_strcasecmp(left.c_str(), right.c_str()));
}
BENCHMARK(CompareNoCaseGlib)->Name("BM_StringCmpNoCase/glib")->DenseRange(0, 2);
#endif

#ifdef ZTK_BENCH_QT
void CompareNoCaseQt(benchmark::State& state) {
  const QByteArray left(kCompared[state.range(0)][0]);
  const QByteArray right(kCompared[state.range(0)][1]);
  for (auto _ : state) benchmark::DoNotOptimize(left.compare(right, Qt::CaseInsensitive));
}
BENCHMARK(CompareNoCaseQt)->Name("BM_StringCmpNoCase/qt")->DenseRange(0, 2);
#endif

#ifdef ZTK_BENCH_ABSEIL
/// Tells whether they are equal, and not their order: the others do more.
void CompareNoCaseAbseil(benchmark::State& state) {
  const std::string left(kCompared[state.range(0)][0]);
  const std::string right(kCompared[state.range(0)][1]);
  for (auto _ : state) benchmark::DoNotOptimize(absl::EqualsIgnoreCase(left, right));
}
BENCHMARK(CompareNoCaseAbseil)->Name("BM_StringCmpNoCase/abseil")->DenseRange(0, 2);
#endif

// Parse an integer.

void ParseZtk(benchmark::State& state) {
  const ZTKString text("-1234567");
  for (auto _ : state) {
    long value = 0;
    benchmark::DoNotOptimize(text.ToLong(&value, 10));
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(ParseZtk)->Name("BM_StringParse/ztk");

void ParseStd(benchmark::State& state) {
  const std::string text("-1234567");
  for (auto _ : state) {
    long value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    benchmark::DoNotOptimize(result.ptr);
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(ParseStd)->Name("BM_StringParse/std");

void ParseLibc(benchmark::State& state) {
  const std::string text("-1234567");
  for (auto _ : state) {
    char* end = nullptr;
    benchmark::DoNotOptimize(std::strtol(text.c_str(), &end, 10));
    benchmark::DoNotOptimize(end);
  }
}
BENCHMARK(ParseLibc)->Name("BM_StringParse/libc");

#ifdef ZTK_BENCH_QT
void ParseQt(benchmark::State& state) {
  const QByteArray text("-1234567");
  for (auto _ : state) {
    bool isOk = false;
    benchmark::DoNotOptimize(text.toLong(&isOk));
    benchmark::DoNotOptimize(isOk);
  }
}
BENCHMARK(ParseQt)->Name("BM_StringParse/qt");
#endif

#ifdef ZTK_BENCH_POCO
void ParsePoco(benchmark::State& state) {
  const std::string text("-1234567");
  for (auto _ : state) {
    int value = 0;
    benchmark::DoNotOptimize(Poco::NumberParser::tryParse(text, value));
    benchmark::DoNotOptimize(value);
  }
}
BENCHMARK(ParsePoco)->Name("BM_StringParse/poco");
#endif

}  // namespace
