// Splitting a Unix path into folder, name and extension and joining it again. Ours and POCO also
// take the folder apart.
#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

#include "ztk/file/file_name.h"

#ifdef ZTK_BENCH_GLIB
#include <glib.h>
#endif
#ifdef ZTK_BENCH_QT
#include <QFileInfo>
#include <QString>
#endif
#ifdef ZTK_BENCH_POCO
#include <Poco/Path.h>
#endif

namespace {

constexpr char kPath[] = "/usr/lib/x86_64-linux-gnu/libexample.so";

void SplitJoinZtk(benchmark::State& state) {
  const ZTKString path = kPath;
  for (auto _ : state) {
    const ZTKFileName name(path, ZTKPathUnix);
    const ZTKString joined = name.GetFullPath(ZTKPathUnix);
    benchmark::DoNotOptimize(joined.c_str());
  }
}
BENCHMARK(SplitJoinZtk)->Name("BM_PathSplitJoin/ztk");

void SplitJoinStd(benchmark::State& state) {
  const std::filesystem::path path = kPath;
  for (auto _ : state) {
    std::filesystem::path joined = path.parent_path();
    joined /= path.stem();
    joined += path.extension();
    benchmark::DoNotOptimize(joined.c_str());
  }
}
BENCHMARK(SplitJoinStd)->Name("BM_PathSplitJoin/std");

// By hand, with strings of the three parts.
void SplitJoinLimit(benchmark::State& state) {
  const std::string path = kPath;
  for (auto _ : state) {
    const size_t slash = path.rfind('/');
    const size_t dot = path.rfind('.');
    const std::string folder = path.substr(0, slash);
    const std::string base = path.substr(slash + 1, dot - slash - 1);
    const std::string ext = path.substr(dot + 1);
    std::string joined;
    joined.reserve(folder.size() + base.size() + ext.size() + 2);
    joined.append(folder).append(1, '/').append(base).append(1, '.').append(ext);
    benchmark::DoNotOptimize(joined.c_str());
  }
}
BENCHMARK(SplitJoinLimit)->Name("BM_PathSplitJoin/limit");

#ifdef ZTK_BENCH_GLIB
void SplitJoinGlib(benchmark::State& state) {
  for (auto _ : state) {
    char* pszFolder = g_path_get_dirname(kPath);
    char* pszName = g_path_get_basename(kPath);
    char* pszDot = std::strrchr(pszName, '.');
    char* pszExt = g_strdup(pszDot + 1);
    *pszDot = '\0';
    char* pszFull = g_strconcat(pszName, ".", pszExt, nullptr);
    char* pszJoined = g_build_filename(pszFolder, pszFull, nullptr);
    benchmark::DoNotOptimize(pszJoined);
    g_free(pszJoined);
    g_free(pszFull);
    g_free(pszExt);
    g_free(pszName);
    g_free(pszFolder);
  }
}
BENCHMARK(SplitJoinGlib)->Name("BM_PathSplitJoin/glib");
#endif

#ifdef ZTK_BENCH_QT
void SplitJoinQt(benchmark::State& state) {
  const QString path = QString::fromLatin1(kPath);
  for (auto _ : state) {
    const QFileInfo info(path);
    const QString joined =
        info.path() + QLatin1Char('/') + info.completeBaseName() + QLatin1Char('.') + info.suffix();
    benchmark::DoNotOptimize(joined.constData());
  }
}
BENCHMARK(SplitJoinQt)->Name("BM_PathSplitJoin/qt");
#endif

#ifdef ZTK_BENCH_POCO
void SplitJoinPoco(benchmark::State& state) {
  const std::string path = kPath;
  for (auto _ : state) {
    const Poco::Path parsed(path, Poco::Path::PATH_UNIX);
    const std::string joined = parsed.toString(Poco::Path::PATH_UNIX);
    benchmark::DoNotOptimize(joined.c_str());
  }
}
BENCHMARK(SplitJoinPoco)->Name("BM_PathSplitJoin/poco");
#endif

}  // namespace
