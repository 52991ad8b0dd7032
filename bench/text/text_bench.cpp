#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ztk/text/text_file.h"

#ifdef ZTK_BENCH_GLIB
#include <gio/gio.h>
#endif
#ifdef ZTK_BENCH_QT
#include <QFile>
#include <QSaveFile>
#include <QStringList>
#include <QTextStream>
#include <QVector>
#endif

// A text file of 64 MiB loaded into owned lines with their line-end types, and saved again. The
// files lie in memory where the system has a folder for that. The lines are freed within the time.

namespace {

namespace fs = std::filesystem;
constexpr size_t kFileSize = size_t{64} << 20;

/// The folder of the files; removed at the end of the program.
class Files {
 public:
  Files() {
    std::string pattern =
        (fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()) /
        "ztk-bench-XXXXXX";
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    m_dir = pattern;
  }
  ~Files() { fs::remove_all(m_dir); }
  Files(const Files&) = delete;
  Files& operator=(const Files&) = delete;

  std::string Path(const std::string& name) const { return (m_dir / name).string(); }

  /// A file of lines whose lengths vary around `average`.
  std::string Lines(size_t average, std::string_view mark = "") {
    const std::string path = Path("lines" + std::to_string(average) + (mark.empty() ? "" : "m"));
    if (fs::exists(path)) return path;
    std::string text(mark);
    text.reserve(kFileSize + 1024);
    unsigned random = 1;
    while (text.size() < kFileSize) {
      random = random * 1664525 + 1013904223;
      const size_t length = average / 2 + (random >> 16) % (average + 1);
      for (size_t i = 0; i < length; ++i) text += static_cast<char>('a' + (i * 7 + length) % 26);
      text += '\n';
    }
    Write(path, text);
    return path;
  }

  /// UTF-16LE in Latin, Greek, Cyrillic, Chinese and pictures.
  std::string Utf16() {
    const std::string path = Path("utf16");
    if (fs::exists(path)) return path;
    static const std::u16string kWords[] = {
        u"the quick brown fox ",
        u"jumps over ",
        u"\u03BA\u03B1\u03BB\u03B7\u03BC\u03AD\u03C1\u03B1 ",
        u"\u0434\u043E\u0431\u0440\u044B\u0439 \u0434\u0435\u043D\u044C ",
        u"\u4F60\u597D\u4E16\u754C\u3002",
        u"caf\u00E9 ",
        u"\U0001F600 ",
        u"and so on, "};
    std::u16string text = u"\uFEFF";
    unsigned random = 1;
    while (text.size() < kFileSize / 2) {
      for (int word = 0; word < 7; ++word) {
        random = random * 1664525 + 1013904223;
        text += kWords[(random >> 16) % 8];
      }
      text += u"\r\n";
    }
    Write(path, std::string_view(reinterpret_cast<const char*>(text.data()), 2 * text.size()));
    return path;
  }

 private:
  static void Write(const std::string& path, std::string_view text) {
    std::ofstream(path, std::ios::binary)
        .write(text.data(), static_cast<std::streamsize>(text.size()));
  }

  fs::path m_dir;
};

Files& TheFiles() {
  static Files files;
  return files;
}

void SetRate(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kFileSize));
}

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
void LoadGlib(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    char* content = nullptr;
    if (!g_file_get_contents(path.c_str(), &content, nullptr, nullptr)) {
      state.SkipWithError("not read");
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

#ifdef ZTK_BENCH_QT
/// The lines stay in UTF-16, and their types are not known.
void LoadQt(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) state.SkipWithError("not read");
    QTextStream in(&file);
    in.setCodec("UTF-8");
    in.setAutoDetectUnicode(true);
    QVector<QString> lines;
    for (QString line; in.readLineInto(&line);) lines.push_back(line);
    benchmark::DoNotOptimize(lines.size());
  }
  SetRate(state);
}
#endif

/// The lines that are saved.
std::vector<std::string> SavedLines() {
  std::ifstream in(TheFiles().Lines(60), std::ios::binary);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

void SaveOurs(benchmark::State& state) {
  ZTKTextFile file(TheFiles().Lines(60).c_str());
  if (!file.Open()) state.SkipWithError("not read");
  // The same lines under another name.
  ZTKTextFile target(TheFiles().Path("saved").c_str());
  for (const ZTKString& line : file) target.AddLine(line, EOL_UNIX);
  for (auto _ : state) {
    if (!target.Write(EOL_NONE)) state.SkipWithError("not written");
  }
  SetRate(state);
}

/// What the machine allows: by hand, with a buffer of 64 KiB and a new file that is renamed.
void SaveLimit(benchmark::State& state) {
  const std::vector<std::string> lines = SavedLines();
  const std::string path = TheFiles().Path("saved");
  std::vector<char> buffer(size_t{64} << 10);
  for (auto _ : state) {
    std::FILE* const out = std::fopen((path + "~").c_str(), "wb");
    std::setvbuf(out, buffer.data(), _IOFBF, buffer.size());
    std::fputs("\xEF\xBB\xBF", out);
    for (const std::string& line : lines) {
      std::fwrite(line.data(), 1, line.size(), out);
      std::fputc('\n', out);
    }
    std::fclose(out);
    std::rename((path + "~").c_str(), path.c_str());
  }
  SetRate(state);
}

#ifdef ZTK_BENCH_GLIB
void SaveGlib(benchmark::State& state) {
  const std::vector<std::string> lines = SavedLines();
  const std::string path = TheFiles().Path("saved");
  GFile* const file = g_file_new_for_path(path.c_str());
  for (auto _ : state) {
    GFileOutputStream* const raw =
        g_file_replace(file, nullptr, FALSE, G_FILE_CREATE_REPLACE_DESTINATION, nullptr, nullptr);
    GOutputStream* const out = g_buffered_output_stream_new_sized(G_OUTPUT_STREAM(raw), 65536);
    g_output_stream_write_all(out, "\xEF\xBB\xBF", 3, nullptr, nullptr, nullptr);
    for (const std::string& line : lines) {
      g_output_stream_write_all(out, line.data(), line.size(), nullptr, nullptr, nullptr);
      g_output_stream_write_all(out, "\n", 1, nullptr, nullptr, nullptr);
    }
    g_output_stream_close(out, nullptr, nullptr);
    g_object_unref(out);
    g_object_unref(raw);
  }
  g_object_unref(file);
  SetRate(state);
}
#endif

#ifdef ZTK_BENCH_QT
/// From the strings in which Qt holds text.
void SaveQt(benchmark::State& state) {
  QStringList lines;
  for (const std::string& line : SavedLines()) lines.append(QString::fromStdString(line));
  for (auto _ : state) {
    QSaveFile file(QString::fromStdString(TheFiles().Path("saved")));
    if (!file.open(QIODevice::WriteOnly)) state.SkipWithError("not written");
    QTextStream out(&file);
    out.setCodec("UTF-8");
    out.setGenerateByteOrderMark(true);
    for (const QString& line : lines) out << line << '\n';
    out.flush();
    file.commit();
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

std::string Lines8() { return TheFiles().Lines(8); }
std::string Lines60() { return TheFiles().Lines(60); }
std::string Lines60Marked() { return TheFiles().Lines(60, "\xEF\xBB\xBF"); }
std::string MixedUtf16() { return TheFiles().Utf16(); }

const bool s_registered = [] {
  for (const auto& [work, path] :
       {std::pair{"BM_Load64MiB60", &Lines60}, std::pair{"BM_Load64MiB8", &Lines8},
        std::pair{"BM_Load64MiB60Marked", &Lines60Marked}}) {
    RegisterLoad(work, "ztk", LoadOurs, path);
    RegisterLoad(work, "std", LoadStd, path);
#ifdef ZTK_BENCH_GLIB
    RegisterLoad(work, "glib", LoadGlib, path);
#endif
    RegisterLoad(work, "limit", LoadLimit, path);
  }
  RegisterLoad("BM_Load64MiBUtf16", "ztk", LoadOurs, &MixedUtf16);
#ifdef ZTK_BENCH_QT
  RegisterLoad("BM_Load64MiBUtf16", "qt", LoadQt, &MixedUtf16);
#endif
  RegisterLoad("BM_Load64MiBUtf16", "limit", LoadLimit, &MixedUtf16);
  const std::pair<const char*, void (*)(benchmark::State&)> saves[] = {
      {"BM_Save64MiB60/ztk", SaveOurs},
      {"BM_Save64MiB60/limit", SaveLimit},
#ifdef ZTK_BENCH_GLIB
      {"BM_Save64MiB60/glib", SaveGlib},
#endif
#ifdef ZTK_BENCH_QT
      {"BM_Save64MiB60/qt", SaveQt},
#endif
  };
  for (const auto& [name, save] : saves) {
    benchmark::RegisterBenchmark(name, save)->Unit(benchmark::kMillisecond);
  }
  return true;
}();

}  // namespace
