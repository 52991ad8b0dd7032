#include "tools/ztk/text_convert.h"

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "tools/ztk/failure.h"
#include "tools/ztk/progress.h"
#include "tools/ztk/spool.h"
#include "tools/ztk/text_output.h"
#include "tools/ztk/text_recode.h"
#include "ztk/foundation/text_conversion.h"
#include "ztk/text/text_file.h"

namespace {

constexpr size_t kBlock = size_t{1} << 16;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

[[noreturn]] void StopInterrupted() { throw Failure(kFailed, "interrupted"); }

void ScanBlocks(Input& input, const std::function<void(std::string_view)>& visit) {
  Progress progress(input.Name(), input.Size().value_or(0));
  std::vector<char> block(kBlock);
  uint64_t nDone = 0;
  while (const size_t nRead = input.Read(block.data(), block.size())) {
    visit({block.data(), nRead});
    nDone += nRead;
    if (!progress.Update(nDone)) StopInterrupted();
  }
}

// Lines go out in blocks.
class BlockSink {
 public:
  explicit BlockSink(TextSink sink) : m_sink(std::move(sink)) {}

  void Put(std::string_view text) {
    m_block.append(text);
    if (m_block.size() >= kBlock) Flush();
  }
  void Flush() {
    m_sink(m_block);
    m_block.clear();
  }

 private:
  TextSink m_sink;
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
                const std::string& name, const TextSink& sink) {
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
  if (report.IsUtf32()) {
    throw Failure(kNo, name + ": " + std::string(EncodingName(report.encoding)) +
                           ": only UTF-8, UTF-16 and Windows-1252 are read");
  }
  if (report.firstNul) {
    throw Failure(kNo, name + (report.hasMark ? ": " : ": binary: ") + "NUL at byte " +
                           std::to_string(*report.firstNul) + ": this is no text");
  }
  if (!report.IsLossless() && !options.replaceIllFormed) {
    throw Failure(kNo, name + ": ill-formed at byte " + std::to_string(*report.firstIllFormed) +
                           "; --replace writes U+FFFD there");
  }
}

// Copies the input, when it is to be copied, up to where it turns out to be none to convert.
TextReport ScanForLosses(Input& input, const ConvertOptions& options, Spool* pSpool) {
  TextScanner scanner;
  ScanBlocks(input, [&](std::string_view block) {
    scanner.Feed(block);
    RefuseLosses(scanner.SoFar(), input.Name(), options);
    if (pSpool != nullptr) pSpool->Put(block);
  });
  const TextReport report = scanner.Finish();
  RefuseLosses(report, input.Name(), options);
  return report;
}

}  // namespace

TextReport ScanText(Input& input) {
  TextScanner scanner;
  ScanBlocks(input, [&scanner](std::string_view block) { scanner.Feed(block); });
  return scanner.Finish();
}

void ConvertText(const std::string& source, const std::string& target,
                 const ConvertOptions& options) {
  std::optional<Input> input(source);
  const std::string name = input->Name();
  std::optional<Spool> spool;
  if (!input->IsRegular()) spool.emplace();
  const TextReport report = ScanForLosses(*input, options, spool ? &*spool : nullptr);
  input.reset();  // Not every system replaces a file that somebody has open.

  std::string path = spool ? spool->Path() : source;
  std::optional<Spool> recoded;
  std::optional<uint64_t> nRead;
  if (!report.hasMark && report.encoding != TextReport::Encoding::kAscii && !XPSystemReadsUtf8()) {
    Input again(path);
    nRead = CopyAsUtf8(again, recoded.emplace());
    path = recoded->Path();
  }
  ZTKTextFile text(ZTKString(path.c_str()));
  ZTKTextReport found;
  if (!text.Open(found)) throw Failure(kFailed, name + ": cannot be read");
  if (nRead.value_or(static_cast<uint64_t>(found.nBytes)) != report.nBytes || found.nNuls != 0) {
    throw Failure(kFailed, name + ": changed while it was read");
  }
  const bool withMark = options.mark == ConvertOptions::Mark::kKeep
                            ? report.hasMark
                            : options.mark == ConvertOptions::Mark::kYes;
  WriteText(target, [&](const TextSink& sink) {
    WriteLines(text, withMark, !report.IsLossless(), options.lineEnd, name, sink);
  });
}
