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
#include <QByteArray>
#include <QFile>
#include <QList>
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

void AppendUtf8(std::string& text, char32_t ch) {
  const auto add = [&text](char32_t byte) { text += static_cast<char>(byte); };
  if (ch < 0x80) return add(ch);
  const int more = ch < 0x800 ? 1 : ch < 0x10000 ? 2 : 3;
  add((0xFF00u >> (more + 1) & 0xFF) | ch >> 6 * more);
  for (int i = more - 1; i >= 0; --i) add(0x80 | (ch >> 6 * i & 0x3F));
}

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

  /// UTF-16LE in eight scripts, no word like another.
  std::string Utf16() {
    const std::string path = Path("utf16");
    if (fs::exists(path)) return path;
    std::u16string text = u"\uFEFF";
    text += Scripts(kFileSize / 2);
    Write(path, std::string_view(reinterpret_cast<const char*>(text.data()), 2 * text.size()));
    return path;
  }

  /// The same text in UTF-8 without a mark.
  std::string Utf8() {
    const std::string path = Path("utf8");
    if (fs::exists(path)) return path;
    std::string text;
    for (const char32_t ch : CodePoints(Scripts(kFileSize / 2))) AppendUtf8(text, ch);
    text.resize(kFileSize);
    Write(path, text.substr(0, text.rfind('\n') + 1));
    return path;
  }

  /// Latin letters with accents here and there, one byte each.
  std::string Windows1252() {
    const std::string path = Path("windows1252");
    if (fs::exists(path)) return path;
    std::string text;
    text.reserve(kFileSize + 1024);
    while (text.size() < kFileSize) {
      for (int i = 0; i < 60; ++i) {
        const unsigned pick = Random() % 64;
        // From \u00C0 to \u00FF, and the euro sign.
        text += pick == 0  ? '\x80'
                : pick < 6 ? static_cast<char>(0xC0 + Random() % 64)
                           : static_cast<char>('a' + pick % 26);
      }
      text += "\xE9 \n";  // No line is UTF-8.
    }
    Write(path, text);
    return path;
  }

 private:
  unsigned Random() {
    m_random = m_random * 1664525 + 1013904223;
    return m_random >> 16;
  }

  std::u16string Scripts(size_t nUnits) {
    static constexpr struct {
      char32_t first;
      unsigned count;
    } kScripts[] = {{'a', 26},       {U'\u03B1', 25},    {U'\u0430', 32},    {U'\u0627', 36},
                    {U'\u00E0', 23}, {U'\u4E00', 20000}, {U'\uAC00', 11000}, {U'\U0001F600', 79}};
    std::u16string text;
    while (text.size() < nUnits) {
      for (int word = 0; word < 8; ++word) {
        const auto& script = kScripts[Random() % 8];
        for (unsigned left = 1 + Random() % 9; left > 0; --left) {
          const char32_t ch = script.first + Random() % script.count;
          if (ch >= 0x10000) text += static_cast<char16_t>(0xD800 + ((ch - 0x10000) >> 10));
          text += static_cast<char16_t>(ch < 0x10000 ? ch : 0xDC00 + (ch & 0x3FF));
        }
        text += u' ';
      }
      text += u"\r\n";
    }
    return text;
  }

  static std::u32string CodePoints(const std::u16string& text) {
    std::u32string points;
    for (size_t i = 0; i < text.size(); ++i) {
      const char32_t unit = text[i];
      const bool isPair = unit >= 0xD800 && unit < 0xDC00;
      points += isPair ? 0x10000 + ((unit & 0x3FF) << 10) + (text[++i] & 0x3FFu) : unit;
    }
    return points;
  }

  static void Write(const std::string& path, std::string_view text) {
    std::ofstream(path, std::ios::binary)
        .write(text.data(), static_cast<std::streamsize>(text.size()));
  }

  fs::path m_dir;
  unsigned m_random = 1;
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
void LoadQt(benchmark::State& state, const std::string& path) {
  for (auto _ : state) {
    QFile file(QString::fromStdString(path));
    if (!file.open(QIODevice::ReadOnly)) state.SkipWithError("not read");
    QTextStream in(&file);
    in.setEncoding(QStringConverter::Utf8);
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

void SaveStd(benchmark::State& state) {
  const std::vector<std::string> lines = SavedLines();
  const std::string path = TheFiles().Path("saved");
  for (auto _ : state) {
    {
      std::ofstream out(path + "~", std::ios::binary);
      out << "\xEF\xBB\xBF";
      for (const std::string& line : lines) out << line << '\n';
      out.close();
      if (!out) state.SkipWithError("not written");
    }
    fs::rename(path + "~", path);
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
/// Bytes, as ours: no text is converted.
void SaveQtBytes(benchmark::State& state) {
  QList<QByteArray> lines;
  for (const std::string& line : SavedLines()) lines.append(QByteArray::fromStdString(line));
  const QString path = QString::fromStdString(TheFiles().Path("saved"));
  for (auto _ : state) {
    QFile file(path + "~");
    if (!file.open(QIODevice::WriteOnly)) state.SkipWithError("not written");
    file.write("\xEF\xBB\xBF");
    for (const QByteArray& line : lines) {
      file.write(line);
      file.putChar('\n');
    }
    file.close();
    fs::rename((path + "~").toStdString(), path.toStdString());
  }
  SetRate(state);
}

/// From the strings in which Qt holds text.
void SaveQt(benchmark::State& state) {
  QStringList lines;
  for (const std::string& line : SavedLines()) lines.append(QString::fromStdString(line));
  for (auto _ : state) {
    QSaveFile file(QString::fromStdString(TheFiles().Path("saved")));
    if (!file.open(QIODevice::WriteOnly)) state.SkipWithError("not written");
    QTextStream out(&file);
    out.setEncoding(QStringConverter::Utf8);
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
std::string MixedUtf8() { return Checked(TheFiles().Utf8(), true); }
std::string Windows1252() { return Checked(TheFiles().Windows1252(), false); }

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
  RegisterLoad("BM_Load64MiBUtf8", "ztk", LoadOurs, &MixedUtf8);
  RegisterLoad("BM_Load64MiBUtf8", "std", LoadStd, &MixedUtf8);
#ifdef ZTK_BENCH_GLIB
  RegisterLoad("BM_Load64MiBUtf8", "glib", LoadGlib, &MixedUtf8);
#endif
#ifdef ZTK_BENCH_QT
  RegisterLoad("BM_Load64MiBUtf8", "qt", LoadQt, &MixedUtf8);
#endif
  RegisterLoad("BM_Load64MiBUtf8", "limit", LoadLimit, &MixedUtf8);
  RegisterLoad("BM_Load64MiB1252", "ztk", LoadOurs, &Windows1252);
  RegisterLoad("BM_Load64MiB1252", "std", LoadStd1252, &Windows1252);
#ifdef ZTK_BENCH_GLIB
  RegisterLoad("BM_Load64MiB1252", "glib", LoadGlib1252, &Windows1252);
#endif
  RegisterLoad("BM_Load64MiB1252", "limit", LoadLimit, &Windows1252);
  const std::pair<const char*, void (*)(benchmark::State&)> saves[] = {
      {"BM_Save64MiB60/ztk", SaveOurs},    {"BM_Save64MiB60/std", SaveStd},
      {"BM_Save64MiB60/limit", SaveLimit},
#ifdef ZTK_BENCH_GLIB
      {"BM_Save64MiB60/glib", SaveGlib},
#endif
#ifdef ZTK_BENCH_QT
      {"BM_Save64MiB60/qt", SaveQt},       {"BM_Save64MiB60/qfile", SaveQtBytes},
#endif
  };
  for (const auto& [name, save] : saves) {
    benchmark::RegisterBenchmark(name, save)->Unit(benchmark::kMillisecond);
  }
  return true;
}();

}  // namespace
