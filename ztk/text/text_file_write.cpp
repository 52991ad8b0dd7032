// Writing: UTF-8 with a mark or, as an opt-in, the encoding that the file had.
#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/file/temp_file.h"
#include "ztk/foundation/internal/string_block.h"
#include "ztk/foundation/internal/utf8.h"
#include "ztk/foundation/internal/windows1252.h"
#include "ztk/foundation/text_conversion.h"
#include "ztk/text/internal/block_writer.h"
#include "ztk/text/internal/line_end.h"
#include "ztk/text/internal/utf16.h"
#include "ztk/text/internal/utf8_scan.h"
#include "ztk/text/text_file.h"

namespace {

constexpr unsigned int kTempFileOptions = TEXT_ONE_STEP | TEXT_FOLLOW_LINKS | TEXT_KEEP_IDENTITY;

constexpr int kWriteNormalization =
    ZTKNormEnvVars | ZTKNormDots | ZTKNormTilde | ZTKNormAbsolute | ZTKNormLongPath;
static_assert(kWriteNormalization == 0x37);

// Encoders write the mark and the lines of a text. A line that the encoding cannot hold is false.

/// Lines as they are.
class AsUtf8 {
 public:
  static void Mark(ZTKBlockWriter& writer) { writer.Write("\xEF\xBB\xBF"); }
  static bool Line(ZTKBlockWriter& writer, std::string_view line, ZTKTextFileType type) {
    writer.WriteLine(line, type);
    return true;
  }
};

/// 16-bit units, in the byte order in which reading took them, whatever the mark says.
class AsUtf16 {
 public:
  AsUtf16(unsigned short nMark, bool isBigEndian) : m_nMark(nMark), m_isBigEndian(isBigEndian) {}

  void Mark(ZTKBlockWriter& writer) const {
    writer.Write(m_nMark == ENC_UTF16BE ? "\xFE\xFF" : "\xFF\xFE");
  }

  bool Line(ZTKBlockWriter& writer, std::string_view line, ZTKTextFileType type) const {
    if (!ZTKScanBytes(line.data(), line.data() + line.size()).isUtf8) return false;
    while (!line.empty()) {
      const std::span<char> free = writer.Free(ZTKUtf8ToUtf16Bound(std::min(line.size(), kPiece)));
      size_t count = std::min(line.size(), (free.size() - ZTKUtf8ToUtf16Bound(0)) / 2);
      count -= ZTKOpenBytes(line.data(), line.data() + count);
      writer.Advance(ZTKUtf8ToUtf16(line.data(), count, free.data(), m_isBigEndian));
      line.remove_prefix(count);
    }
    for (const char ch : ZTKLineEndText(type)) Unit(writer, static_cast<unsigned char>(ch));
    return true;
  }

 private:
  // The least of a line that is put into a block.
  static constexpr size_t kPiece = 128;
  static_assert(ZTKUtf8ToUtf16Bound(kPiece) <= ZTKBlockWriter::kLeastSize);

  void Unit(ZTKBlockWriter& writer, uint16_t nUnit) const {
    const ZTKUnitBytes unit(nUnit, m_isBigEndian);
    writer.Write({unit.bytes, sizeof unit.bytes});
  }

  const unsigned short m_nMark;
  const bool m_isBigEndian;
};

/// Text without a mark: nothing at its start may look like one.
class Unmarked {
 public:
  static void Mark(ZTKBlockWriter& /*writer*/) {}

  bool Line(ZTKBlockWriter& writer, std::string_view bytes, ZTKTextFileType type) {
    const bool isSafe =
        !m_isFirst || !(bytes.starts_with("\xEF\xBB\xBF") || bytes.starts_with("\xFF\xFE") ||
                        bytes.starts_with("\xFE\xFF"));
    m_isFirst = false;
    writer.WriteLine(bytes, type);
    return isSafe;
  }

 private:
  bool m_isFirst = true;
};

/// Windows-1252, where UTF-8 is what the system reads otherwise.
class AsWindows1252 : public Unmarked {
 public:
  bool Line(ZTKBlockWriter& writer, std::string_view line, ZTKTextFileType type) {
    unsigned long nLength = 0;
    if (!m_bytes.Alloc(static_cast<unsigned long>(line.size()))) return false;
    if (!ztk_windows1252::FromUtf8(line, ZTKStringBlocks::Data(m_bytes), nLength)) return false;
    ZTKStringBlocks::Terminate(m_bytes, nLength);
    // Bytes that are UTF-8 by chance would be read as such.
    const bool isAscii = nLength == line.size();
    if (!isAscii && ztk_utf8::IsValid(m_bytes.c_str())) return false;
    return Unmarked::Line(writer, {m_bytes.c_str(), nLength}, type);
  }

 private:
  ZTKString m_bytes;
};

/// The codeset of the current locale.
class AsSystem : public Unmarked {
 public:
  bool Line(ZTKBlockWriter& writer, std::string_view line, ZTKTextFileType type) {
    const ZTKString text(line);
    const ZTKCA2WEX<128> wide(text.c_str(), kCodePageUtf8);
    const ZTKCW2AEX<128> bytes(wide.m_psz, kCodePageSystem);
    const ZTKCA2WEX<128> readWide(bytes.m_psz, kCodePageSystem);
    const ZTKCW2AEX<128> readBack(readWide.m_psz, kCodePageUtf8);
    if (readBack.m_psz == nullptr || line != readBack.m_psz) return false;
    return Unmarked::Line(writer, bytes.m_psz, type);
  }
};

}  // namespace

// Where the file is written. "" without a name, which would stand for the working directory; and
// for a relative one when there is no working directory to take it from, as it would end up in the
// root.
ZTKString ZTKTextFile::TargetPath() const {
  if (GetName().view().empty() || ZTKSlashesMislead(GetName())) return ZTKString();
  // What a variable brings along into a relative name is part of it.
  if (!ZTKFileName(GetName(), ZTKPathNative).IsAbsolute(ZTKPathNative) &&
      ZTKHasStraySlash(ZTKFileName::ExpandEnvVars(GetName()))) {
    return ZTKString();
  }
  return ZTKAbsolutePath(GetName(), kWriteNormalization);
}

bool ZTKTextFile::OnWrite(ZTKTextFileType type) {
  // With options the file is the one that reading opens, by a name that is not parsed.
  const bool isExact = m_nOptions != 0;
  const ZTKString path = isExact ? GetName() : ZTKWholePath([this] { return TargetPath(); });
  if (path.view().empty()) return false;
  unsigned int options = isExact ? (m_nOptions & kTempFileOptions) | TEMP_EXACT_PATH : 0;
  if (ZTKFile::ms_strict || Has(TEXT_ONE_STEP)) options |= TEMP_UNNAMED;
  ZTKTempFile file(path, options);
  return file.GetFile().IsOpen() && WriteTo(file, type) && file.Commit();
}

bool ZTKTextFile::WriteTo(ZTKTempFile& file, ZTKTextFileType type) const {
  ZTKBlockWriter writer(file.GetFile());
  if (!Has(TEXT_KEEP_ENCODING) || !HasFound(kSomething)) return WriteLines(writer, type, AsUtf8());
  switch (m_nEncoding) {
    case ENC_UTF16LE:
    case ENC_UTF16BE:
      return WriteLines(writer, type, AsUtf16(m_nEncoding, HasFound(kBigEndian)));
    case ENC_ANSI:
      if (!XPSystemReadsUtf8()) return WriteLines(writer, type, AsSystem());
      // Lines of both kinds have no one encoding: in UTF-8 nothing of them is lost.
      if (HasFound(kLegacy) && !HasFound(kUtf8)) return WriteLines(writer, type, AsWindows1252());
      return WriteLines(writer, type, Unmarked());
    default:
      return WriteLines(writer, type, AsUtf8());
  }
}

template <typename Encoder>
bool ZTKTextFile::WriteLines(ZTKBlockWriter& writer, ZTKTextFileType type, Encoder encoder) const {
  if (GetLineCount() > 0) encoder.Mark(writer);
  unsigned long index = 0;
  for (const ZTKString& line : *this) {
    const ZTKTextFileType own = GetLineType(index++);
    // The recorded length is right: nothing changes a line in place.
    const std::string_view text(line.c_str(), line.DataLength());
    if (!encoder.Line(writer, text, type != EOL_NONE ? type : own)) return false;
  }
  writer.Flush();
  return true;
}
