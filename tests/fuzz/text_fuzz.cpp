#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "tests/text/text_reference.h"
#include "ztk/text/text_file.h"

// Text files of any bytes: the lines are those of the reference, the saved file is the reference's
// byte for byte, and it reads as the same lines again. The first byte of the input chooses a mark
// and whether UTF-16BE is swapped, and the text in front of the rest, the next two how much of
// that there is, so that anything can come to straddle the end of a chunk.

namespace {

namespace fs = std::filesystem;
using text_reference::Line;
using Lines = std::vector<Line>;

/// A folder for the files; removed at the end.
class Folder {
 public:
  Folder() {
    const fs::path parent =
        fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
    std::string pattern = (parent / "ztk-text-fuzz-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) std::abort();
    m_path = pattern;
  }
  ~Folder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
  }
  std::string File() const { return (m_path / "text").string(); }

 private:
  fs::path m_path;
};

void Check(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "text_fuzz: %s\n", what);
  std::abort();
}

void WriteFile(const std::string& path, std::string_view bytes) {
  std::ofstream(path, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

Lines LinesOf(const ZTKTextBuffer& buffer) {
  Lines lines;
  for (const ZTKString& line : buffer) {
    lines.push_back({std::string(line.view()), buffer.GetLineType(lines.size())});
  }
  Check(buffer.GetLineType(lines.size()) == EOL_NONE, "a type without a line");
  return lines;
}

/// The file that an input stands for.
std::string FileOf(std::string_view input) {
  static constexpr std::string_view kMarks[] = {"", "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"};
  static constexpr size_t kBoundaries[] = {0, 1024, 32768, 65536};
  if (input.size() < 3) return std::string(input);
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(input[i]); };
  const std::string_view mark = kMarks[byte(0) & 3];
  const size_t boundary = kBoundaries[byte(1) & 3];
  const size_t before = byte(2);  // The input starts that many bytes in front of the boundary.

  std::string bytes(mark);
  if (boundary > before) {
    const bool isWide = mark.size() == 2;
    // Plain, so that a block may be well formed as a whole, or not.
    const bool isPlain = (byte(0) & 64) != 0;
    const size_t count = boundary - before;
    for (size_t i = 0; i < count; ++i) {
      const bool isIll = i % 7 == 6 && !isPlain;
      bytes += isIll ? '\xC3' : isPlain && i % 100 == 99 && !isWide ? '\n' : 'x';
      if (isWide) bytes += isIll ? '\xD8' : '\0';
    }
  }
  return bytes.append(input.substr(3));
}

/// The same few changes to a buffer and to a model of it.
void Edit(ZTKTextFile& file, Lines& model, std::string_view input) {
  for (size_t i = 3; i + 2 < input.size() && i < 40; i += 3) {
    const auto byte = [&](size_t k) { return static_cast<unsigned char>(input[i + k]); };
    const size_t at = byte(1) % (model.size() + 2);
    const int type = byte(0) >> 2 & 3;
    const Line line = {std::string(byte(2), 'e'), type};
    const auto place = model.begin() + static_cast<std::ptrdiff_t>(std::min(at, model.size()));
    switch (byte(0) & 3) {
      case 0:
        file.AddLine(line.text.c_str(), static_cast<ZTKTextFileType>(type));
        model.push_back(line);
        break;
      case 1:
        file.InsertLine(line.text.c_str(), static_cast<unsigned long>(at),
                        static_cast<ZTKTextFileType>(type));
        model.insert(place, line);
        break;
      default:
        file.RemoveLine(static_cast<unsigned long>(at));
        if (at < model.size()) model.erase(place);
    }
  }
}

/// A file that is saved in its own encoding holds the same lines and, where reading drops nothing,
/// the same bytes.
void CheckKeptEncoding(const std::string& path, const std::string& bytes) {
  WriteFile(path, bytes);
  ZTKTextFile file(path.c_str(), TEXT_KEEP_ENCODING | TEXT_ONE_STEP);
  ZTKTextReport report;
  Check(file.Open(report), "a file was not read with a report");
  Check(report.nBytes == static_cast<int64_t>(bytes.size()), "another length in the report");
  Check(report.nEncoding == file.GetEncoding(), "another encoding in the report");
  const unsigned long* const n = report.nLines;
  Check(n[0] + n[1] + n[2] + n[3] == file.GetLineCount(), "other line counts in the report");
  Check(file.Write(EOL_NONE), "a file was not written in its encoding");

  const bool isWide = report.nEncoding == ENC_UTF16LE || report.nEncoding == ENC_UTF16BE;
  const bool isMixed = report.nEncoding == ENC_ANSI && report.nFirstIllFormed >= 0;
  // Runs of CRs are turned round, again by every reading.
  if (bytes.find('\r') != std::string::npos) return;
  if (report.nNuls != 0 || (isWide && report.nFirstIllFormed >= 0)) return;
  ZTKTextFile again(path.c_str(), TEXT_KEEP_ENCODING);
  Check(again.Open(), "a file in its encoding was not read");
  Check(LinesOf(again) == LinesOf(file), "other lines in the encoding that was kept");

  if (isMixed || report.bOddByte || file.GetLineCount() == 0) return;
  Check(ReadFile(path) == bytes, "other bytes in the encoding that was kept");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize) {
  static const Folder folder;
  const std::string path = folder.File();
  const std::string_view input(reinterpret_cast<const char*>(pData), nSize);
  const std::string bytes = FileOf(input);
  const bool swaps = nSize >= 3 && (pData[0] & 4) != 0;
  ZTKTextFile::ms_swapUtf16 = swaps;

  CheckKeptEncoding(path, bytes);
  WriteFile(path, bytes);
  ZTKTextFile file(path.c_str());
  Check(file.Open(), "a file was not read");
  Check(file.GetEncoding() == text_reference::Encoding(bytes), "another encoding");
  Lines lines = LinesOf(file);
  Check(lines == text_reference::Read(bytes, swaps), "other lines");

  if (nSize >= 3 && (pData[0] & 8) != 0) {
    Edit(file, lines, input);
    Check(LinesOf(file) == lines, "other lines after changes");
  }

  const int type = nSize >= 1 ? pData[0] >> 4 & 3 : 0;
  Check(file.Write(static_cast<ZTKTextFileType>(type)), "a file was not written");
  const std::string written = ReadFile(path);
  Check(written == text_reference::Write(lines, type), "other bytes were written");

  ZTKTextFile again(path.c_str());
  Check(again.Open(), "a written file was not read");
  Check(LinesOf(again) == text_reference::Read(written), "other lines the second time");
  return 0;
}
