#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bench/text/bench_files.h"
#include "ztk/text/text_file.h"

#ifdef ZTK_BENCH_GLIB
#include <gio/gio.h>
#endif
#ifdef ZTK_BENCH_QT
#include <QFile>
#include <QStringDecoder>
#include <QStringList>
#include <QTextStream>
#include <QVector>
#endif

// A text file loaded into owned lines with their line-end types. The lines are freed within the
// time.

namespace {

using namespace text_bench;

void LoadOurs(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    ZTKTextFile file(path.c_str());
    if (!file.Open()) state.SkipWithError("not read");
    benchmark::DoNotOptimize(file.GetLineCount());
  }
  SetRate(state);
}

void LoadStd(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    std::ifstream in(path, std::ios::binary);
    std::vector<std::string> lines;
    std::vector<ZTKTextFileType> types;
    for (std::string line; std::getline(in, line);) {
      ZTKTextFileType type = in.eof() ? EOL_NONE : EOL_UNIX;
      if (!line.empty() && line.back() == '\r') {
        line.pop_back();
        type = EOL_DOS;
      }
      lines.push_back(std::move(line));
      types.push_back(type);
    }
    benchmark::DoNotOptimize(lines.size());
  }
  SetRate(state);
}

/// Every line through a table of the 256 characters.
void LoadStd1252(benchmark::State& state, const std::string& path) {
  static constexpr char32_t kUpper[] = {
      0x20AC, 0x81,   0x201A, 0x192,  0x201E, 0x2026, 0x2020, 0x2021, 0x2C6,  0x2030, 0x160,
      0x2039, 0x152,  0x8D,   0x17D,  0x8F,   0x90,   0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
      0x2013, 0x2014, 0x2DC,  0x2122, 0x161,  0x203A, 0x153,  0x9D,   0x17E,  0x178};
  std::vector<std::string> table(256);
  for (unsigned i = 0; i < 256; ++i) {
    AppendUtf8(table[i], i >= 0x80 && i < 0xA0 ? kUpper[i - 0x80] : i);
  }
  for (auto _ : state) {
    std::ifstream in(path, std::ios::binary);
    std::vector<std::string> lines;
    std::vector<ZTKTextFileType> types;
    for (std::string line; std::getline(in, line);) {
      types.push_back(in.eof() ? EOL_NONE : EOL_UNIX);
      std::string converted;
      for (const char ch : line) converted += table[static_cast<unsigned char>(ch)];
      lines.push_back(std::move(converted));
    }
    benchmark::DoNotOptimize(lines.size());
  }
  SetRate(state);
}

/// The least there is: the file read in blocks, the line ends found.
void LoadLimit(benchmark::State& state, const std::string& path) {
  std::vector<char> block(size_t{1} << 18);
  for (auto _ : state) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> in(std::fopen(path.c_str(), "rb"), std::fclose);
    std::setvbuf(in.get(), nullptr, _IONBF, 0);
    size_t count = 0;
    while (const size_t size = std::fread(block.data(), 1, block.size(), in.get())) {
      const char* const end = block.data() + size;
      for (const char* p = block.data();
           (p = static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(end - p))));) {
        ++p, ++count;
      }
    }
    benchmark::DoNotOptimize(count);
  }
  SetRate(state);
}

#ifdef ZTK_BENCH_GLIB
template <bool kIsChecked>
void LoadGlib(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    char* content = nullptr;
    gsize size = 0;
    if (!g_file_get_contents(path.c_str(), &content, &size, nullptr)) {
      state.SkipWithError("not read");
    }
    if (kIsChecked && g_utf8_validate(content, static_cast<gssize>(size), nullptr) == FALSE) {
      state.SkipWithError("not UTF-8");
    }
    char** const lines = g_strsplit(content, "\n", -1);
    g_free(content);
    std::vector<ZTKTextFileType> types;
    for (char** line = lines; *line != nullptr; ++line) {
      const size_t length = std::strlen(*line);
      const bool isDos = length > 0 && (*line)[length - 1] == '\r';
      if (isDos) (*line)[length - 1] = '\0';
      types.push_back(line[1] == nullptr ? EOL_NONE : isDos ? EOL_DOS : EOL_UNIX);
    }
    benchmark::DoNotOptimize(types.size());
    g_strfreev(lines);
  }
  SetRate(state);
}
#endif

#ifdef ZTK_BENCH_GLIB
void LoadGlib1252(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    char* content = nullptr;
    gsize length = 0;
    if (!g_file_get_contents(path.c_str(), &content, &length, nullptr)) {
      state.SkipWithError("not read");
    }
    char* const text = g_convert(content, static_cast<gssize>(length), "UTF-8", "WINDOWS-1252",
                                 nullptr, nullptr, nullptr);
    if (text == nullptr) state.SkipWithError("not converted");
    g_free(content);
    char** const lines = g_strsplit(text, "\n", -1);
    g_free(text);
    const std::vector<ZTKTextFileType> types(g_strv_length(lines), EOL_UNIX);
    benchmark::DoNotOptimize(types.size());
    g_strfreev(lines);
  }
  SetRate(state);
}
#endif

#ifdef ZTK_BENCH_QT
/// The lines stay in UTF-16, and their types are not known.
template <QStringConverter::Encoding kEncoding>
void LoadQt(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) state.SkipWithError("not read");
    QTextStream in(&file);
    in.setEncoding(kEncoding);
    in.setAutoDetectUnicode(true);
    QVector<QString> lines;
    for (QString line; in.readLineInto(&line);) lines.push_back(line);
    benchmark::DoNotOptimize(lines.size());
  }
  SetRate(state);
}

/// Through the tables of ICU, which not every Qt has.
void LoadQt1252(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    QFile file(QString::fromStdString(path));
    QStringDecoder decoder("windows-1252");
    if (!decoder.isValid()) return state.SkipWithError("no Windows-1252");
    if (!file.open(QIODevice::ReadOnly)) state.SkipWithError("not read");
    const QString text = decoder(file.readAll());
    const QStringList lines = text.split(QLatin1Char('\n'));
    benchmark::DoNotOptimize(lines.size());
  }
  SetRate(state);
}
#endif

using Work = void (*)(benchmark::State&, const std::string&);

void RegisterLoad(const std::string& work, const char* who, Work load, std::string (*path)()) {
  benchmark::RegisterBenchmark((work + "/" + who).c_str(), [load, path](benchmark::State& state) {
    load(state, path());
  })->Unit(benchmark::kMillisecond);
}

// That a file without a mark is what its row says.
std::string Checked(const std::string& path, bool isUtf8) {
  static std::string s_checked;
  if (s_checked == path) return path;
  ZTKTextReport report;
  ZTKTextFile file(path.c_str());
  if (!file.Open(report) || (report.nFirstIllFormed < 0) != isUtf8) std::abort();
  return s_checked = path;
}

std::string Lines8() { return TheFiles().Lines(8); }
std::string Lines60() { return TheFiles().Lines(60); }
std::string Lines60Marked() { return TheFiles().Lines(60, "\xEF\xBB\xBF"); }
std::string MixedUtf16() { return TheFiles().Utf16(); }
std::string AccentsUtf16() { return TheFiles().Utf16Accents(); }
std::string MixedUtf8() { return Checked(TheFiles().Utf8(), true); }
std::string Windows1252() { return Checked(TheFiles().Windows1252(), false); }

std::string OneAccentALine() { return Checked(TheFiles().OneAccentALine(), true); }

const bool s_registered = [] {
  for (const auto& [work, path] :
       {std::pair{"BM_Load64MiB60", &Lines60}, std::pair{"BM_Load64MiB8", &Lines8},
        std::pair{"BM_Load64MiB60Marked", &Lines60Marked},
        std::pair{"BM_Load64MiBAccents", &OneAccentALine},
        std::pair{"BM_Load64MiBUtf8", &MixedUtf8}}) {
    RegisterLoad(work, "ztk", LoadOurs, path);
    RegisterLoad(work, "std", LoadStd, path);
#ifdef ZTK_BENCH_GLIB
    const bool isMarked = path == &Lines60Marked;
    RegisterLoad(work, "glib", isMarked ? LoadGlib<false> : LoadGlib<true>, path);
#endif
#ifdef ZTK_BENCH_QT
    RegisterLoad(work, "qt", LoadQt<QStringConverter::Utf8>, path);
#endif
    RegisterLoad(work, "limit", LoadLimit, path);
  }
  for (const auto& [work, path] : {std::pair{"BM_Load64MiBUtf16", &MixedUtf16},
                                   std::pair{"BM_Load64MiBUtf16Accents", &AccentsUtf16}}) {
    RegisterLoad(work, "ztk", LoadOurs, path);
#ifdef ZTK_BENCH_QT
    RegisterLoad(work, "qt", LoadQt<QStringConverter::Utf16LE>, path);
#endif
    RegisterLoad(work, "limit", LoadLimit, path);
  }
  RegisterLoad("BM_Load64MiB1252", "ztk", LoadOurs, &Windows1252);
  RegisterLoad("BM_Load64MiB1252", "std", LoadStd1252, &Windows1252);
#ifdef ZTK_BENCH_GLIB
  RegisterLoad("BM_Load64MiB1252", "glib", LoadGlib1252, &Windows1252);
#endif
#ifdef ZTK_BENCH_QT
  RegisterLoad("BM_Load64MiB1252", "qt", LoadQt1252, &Windows1252);
  // It takes the euro sign for a control character.
  RegisterLoad("BM_Load64MiB1252", "qtlatin1", LoadQt<QStringConverter::Latin1>, &Windows1252);
#endif
  RegisterLoad("BM_Load64MiB1252", "limit", LoadLimit, &Windows1252);
  return true;
}();

}  // namespace
