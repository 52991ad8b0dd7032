#include "tools/ztk/text_convert.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string_view>
#include <vector>

#include "tools/ztk/failure.h"
#include "tools/ztk/progress.h"
#include "ztk/file/file_system.h"
#include "ztk/file/temp_file.h"
#include "ztk/foundation/text_conversion.h"
#include "ztk/text/text_file.h"

namespace {

constexpr size_t kBlock = size_t{1} << 16;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

[[noreturn]] void StopInterrupted() { throw Failure(kFailed, "interrupted"); }

// A copy of standard input in the temporary folder: what is read twice needs a file.
class Spool {
 public:
  explicit Spool(Input& input) {
    m_path = std::filesystem::temp_directory_path() / "ztk-XXXXXX";
    const int fd = mkstemp(m_path.data());
    std::FILE* pFile = fd < 0 ? nullptr : fdopen(fd, "wb");
    if (pFile == nullptr) throw Failure(kFailed, m_path + ": " + std::strerror(errno));
    std::vector<char> block(kBlock);
    bool ok = true;
    while (const size_t nRead = input.Read(block.data(), block.size())) {
      ok = ok && std::fwrite(block.data(), 1, nRead, pFile) == nRead;
    }
    ok = std::fclose(pFile) == 0 && ok;
    if (!ok) {
      std::remove(m_path.c_str());
      throw Failure(kFailed, m_path + ": cannot be written");
    }
  }
  ~Spool() { std::remove(m_path.c_str()); }
  Spool(const Spool&) = delete;
  Spool& operator=(const Spool&) = delete;

  const std::string& Path() const { return m_path; }

 private:
  std::string m_path;
};

using Sink = std::function<void(std::string_view)>;

// Lines go out in blocks.
class BlockSink {
 public:
  explicit BlockSink(Sink sink) : m_sink(std::move(sink)) {}

  void Put(std::string_view text) {
    m_block.append(text);
    if (m_block.size() >= kBlock) Flush();
  }
  void Flush() {
    m_sink(m_block);
    m_block.clear();
  }

 private:
  Sink m_sink;
  std::string m_block;
};

// The lines of a text with a mark of UTF-8 are as they stood in the file, well-formed or not.
void PutLine(const ZTKString& line, bool mend, BlockSink& out) {
  if (!mend) {
    out.Put(line.view());
    return;
  }
  const ZTKCA2WEX<256> wide(line.c_str(), kCodePageUtf8);
  const ZTKCW2AEX<512> mended(wide.m_psz, kCodePageUtf8);
  out.Put(mended.m_psz);
}

void WriteLines(const ZTKTextBuffer& text, bool withMark, bool mend, ZTKTextFileType lineEnd,
                const std::string& name, const Sink& sink) {
  BlockSink out(sink);
  if (withMark) out.Put(kUtf8Mark);
  const unsigned long nLines = text.GetLineCount();
  Progress progress(name, nLines);
  for (unsigned long i = 0; i < nLines; ++i) {
    PutLine(text.GetLine(i), mend, out);
    const ZTKTextFileType own = text.GetLineType(i);
    const bool isEnded = own != EOL_NONE;
    out.Put(ZTKTextBuffer::GetEOL(isEnded && lineEnd != EOL_NONE ? lineEnd : own).view());
    if (i % 1024 == 0 && !progress.Update(i)) StopInterrupted();
  }
  out.Flush();
}

void RefuseLosses(const TextReport& report, const std::string& name,
                  const ConvertOptions& options) {
  if (report.firstNul) {
    throw Failure(kNo,
                  name + ": NUL at byte " + std::to_string(*report.firstNul) + ": this is no text");
  }
  if (!report.IsLossless() && !options.replaceIllFormed) {
    throw Failure(kNo, name + ": ill-formed at byte " + std::to_string(*report.firstIllFormed) +
                           "; --replace writes U+FFFD there");
  }
}

void WriteToStandardOutput(const std::function<void(const Sink&)>& write) {
  write([](std::string_view bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size()) return;
    throw Failure(kFailed, std::string("standard output: ") + std::strerror(errno));
  });
}

void WriteToFile(const std::string& target, const std::function<void(const Sink&)>& write) {
  // The file that a link leads to is the one to replace. The path is made absolute here, because
  // the temporary file takes "~" and "$" in a relative one for more than characters.
  std::error_code error;
  std::filesystem::path path = std::filesystem::absolute(target, error);
  if (std::filesystem::is_symlink(path, error)) {
    path = std::filesystem::weakly_canonical(path, error);
  }
  if (std::filesystem::exists(path, error) && access(path.c_str(), W_OK) != 0) {
    throw Failure(kFailed, target + ": " + std::strerror(errno));
  }
  ZTKTempFile file{ZTKString(path.c_str())};
  if (!file.GetFile().IsOpen()) {
    throw Failure(kFailed, target + ": no temporary file can be created beside it");
  }
  write([&file, &target](std::string_view bytes) {
    if (file.GetFile().Write(bytes.data(), bytes.size()) == bytes.size()) return;
    throw Failure(kFailed, target + ": cannot be written");
  });
  if (!file.Commit()) {
    file.Discard();
    throw Failure(kFailed, target + ": cannot be replaced");
  }
}

void ConvertFile(const std::string& path, const std::string& name, const std::string& target,
                 const ConvertOptions& options) {
  Input input(path);
  const TextReport report = ScanText(input);
  RefuseLosses(report, name, options);

  ZTKTextFile text(ZTKString(path.c_str()));
  if (!text.Open()) throw Failure(kFailed, name + ": cannot be read");
  const bool withMark = options.mark == ConvertOptions::Mark::kKeep
                            ? report.hasMark
                            : options.mark == ConvertOptions::Mark::kYes;
  const auto write = [&](const Sink& sink) {
    WriteLines(text, withMark, !report.IsLossless(), options.lineEnd, name, sink);
  };
  if (IsDash(target)) {
    WriteToStandardOutput(write);
  } else {
    WriteToFile(target, write);
  }
}

}  // namespace

TextReport ScanText(Input& input) {
  TextScanner scanner;
  Progress progress(input.Name(), input.Size().value_or(0));
  std::vector<char> block(kBlock);
  uint64_t nDone = 0;
  while (const size_t nRead = input.Read(block.data(), block.size())) {
    scanner.Feed({block.data(), nRead});
    nDone += nRead;
    if (!progress.Update(nDone)) StopInterrupted();
  }
  return scanner.Finish();
}

void ConvertText(const std::string& source, const std::string& target,
                 const ConvertOptions& options) {
  if (!IsDash(source)) {
    ConvertFile(source, source, target, options);
    return;
  }
  Input input(source);
  const Spool spool(input);
  ConvertFile(spool.Path(), input.Name(), target, options);
}
