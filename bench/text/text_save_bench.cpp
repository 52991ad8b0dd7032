#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "bench/text/bench_files.h"
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
#endif

// The lines of a text file saved again.

namespace {

using namespace text_bench;

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

// UTF-16 as the file was.

std::string MixedUtf16() { return TheFiles().Utf16(); }
std::string AccentsUtf16() { return TheFiles().Utf16Accents(); }

template <std::string (*kPath)()>
void SaveOursUtf16(benchmark::State& state) {
  const std::string path = TheFiles().Path("saved");
  fs::copy_file(kPath(), path, fs::copy_options::overwrite_existing);
  ZTKTextFile file(path.c_str(), TEXT_KEEP_ENCODING);
  if (!file.Open()) state.SkipWithError("not read");
  for (auto _ : state) {
    if (!file.Write(EOL_NONE)) state.SkipWithError("not written");
  }
  SetRate(state);
}

#ifdef ZTK_BENCH_QT
template <std::string (*kPath)()>
void SaveQtUtf16(benchmark::State& state) {
  QStringList lines;
  {
    QFile file(QString::fromStdString(kPath()));
    if (!file.open(QIODevice::ReadOnly)) state.SkipWithError("not read");
    QTextStream in(&file);
    in.setEncoding(QStringConverter::Utf16LE);
    for (QString line; in.readLineInto(&line);) lines.append(line);
  }
  for (auto _ : state) {
    QSaveFile file(QString::fromStdString(TheFiles().Path("saved")));
    if (!file.open(QIODevice::WriteOnly)) state.SkipWithError("not written");
    QTextStream out(&file);
    out.setEncoding(QStringConverter::Utf16LE);
    out.setGenerateByteOrderMark(true);
    for (const QString& line : lines) out << line << "\r\n";
    out.flush();
    file.commit();
  }
  SetRate(state);
}
#endif

/// The units as they stand in memory, and their line ends.
template <std::string (*kPath)()>
void SaveLimitUtf16(benchmark::State& state) {
  std::vector<std::string> lines;
  {
    std::ifstream in(kPath(), std::ios::binary);
    for (std::string line; std::getline(in, line);) lines.push_back(line + "\n");
  }
  const std::string path = TheFiles().Path("saved");
  std::vector<char> buffer(size_t{64} << 10);
  for (auto _ : state) {
    std::FILE* const out = std::fopen((path + "~").c_str(), "wb");
    std::setvbuf(out, buffer.data(), _IOFBF, buffer.size());
    for (const std::string& line : lines) std::fwrite(line.data(), 1, line.size(), out);
    std::fclose(out);
    std::rename((path + "~").c_str(), path.c_str());
  }
  SetRate(state);
}

const bool s_registered = [] {
  const std::pair<const char*, void (*)(benchmark::State&)> saves[] = {
      {"BM_Save64MiB60/ztk", SaveOurs},
      {"BM_Save64MiB60/std", SaveStd},
      {"BM_Save64MiB60/limit", SaveLimit},
      {"BM_Save64MiBUtf16/ztk", SaveOursUtf16<MixedUtf16>},
      {"BM_Save64MiBUtf16Accents/ztk", SaveOursUtf16<AccentsUtf16>},
      {"BM_Save64MiBUtf16/limit", SaveLimitUtf16<MixedUtf16>},
      {"BM_Save64MiBUtf16Accents/limit", SaveLimitUtf16<AccentsUtf16>},
#ifdef ZTK_BENCH_GLIB
      {"BM_Save64MiB60/glib", SaveGlib},
#endif
#ifdef ZTK_BENCH_QT
      {"BM_Save64MiBUtf16/qt", SaveQtUtf16<MixedUtf16>},
      {"BM_Save64MiBUtf16Accents/qt", SaveQtUtf16<AccentsUtf16>},
      {"BM_Save64MiB60/qt", SaveQt},
      {"BM_Save64MiB60/qfile", SaveQtBytes},
#endif
  };
  for (const auto& [name, save] : saves) {
    benchmark::RegisterBenchmark(name, save)->Unit(benchmark::kMillisecond);
  }
  return true;
}();

}  // namespace
