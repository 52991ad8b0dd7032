#include "ztk/text/text_file.h"

#include <cstddef>
#include <cstring>
#include <string_view>

#include "ztk/file/file_name.h"
#include "ztk/file/file_system.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/file/temp_file.h"
#include "ztk/foundation/text_conversion.h"
#include "ztk/text/internal/block_writer.h"
#include "ztk/text/internal/line_end.h"

// Opening, telling the encoding, writing. text_file_read.cpp reads.

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"  // Both compilers support it here.
struct ZTKTextFileLayout {
  static constexpr size_t kBase = sizeof(ZTKTextBuffer);
  static_assert(offsetof(ZTKTextFile, m_nEncoding) == kBase);
  static_assert(offsetof(ZTKTextFile, m_file) == kBase + sizeof(void*));
  static_assert(sizeof(ZTKTextFile) == kBase + sizeof(void*) + sizeof(ZTKFile));
};
#pragma GCC diagnostic pop

namespace {

constexpr int kPermissions = 0666;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

constexpr int kWriteNormalization =
    ZTKNormEnvVars | ZTKNormDots | ZTKNormTilde | ZTKNormAbsolute | ZTKNormLongPath;
static_assert(kWriteNormalization == 0x37);

bool IsUnicode(unsigned short nEncoding) {
  return nEncoding == ENC_UTF8 || nEncoding == ENC_UTF16LE || nEncoding == ENC_UTF16BE;
}

// Where a file of this name is written. "" without a name, which would stand for the working
// directory; and for a relative one when there is no working directory to take it from, as it would
// end up in the root.
ZTKString TargetPath(const ZTKString& path) {
  if (path.view().empty()) return ZTKString();
  ZTKFileName name(path, ZTKPathNative);
  if (!name.IsAbsolute(ZTKPathNative)) {
    if (ZTKGetCwd().view().empty()) return ZTKString();
    name.XPNormalize(kWriteNormalization, ZTKString(), ZTKPathNative);
  }
  return name.GetFullPath(ZTKPathNative);
}

}  // namespace

constinit bool ZTKTextFile::ms_swapUtf16 = false;

ZTKTextFile::ZTKTextFile(const ZTKString& name) : ZTKTextBuffer(name) {}

ZTKTextFile::~ZTKTextFile() = default;

bool ZTKTextFile::OnExists() const { return ZTKFile::Exists(GetName().c_str()); }

bool ZTKTextFile::OnOpen(const ZTKString& name, ZTKTextBufferOpenMode mode) {
  const bool create = mode == OPEN_CREATE;
  const ZTKFile::OpenMode fileMode = create ? ZTKFile::write : ZTKFile::read;
  if (!m_file.XPOpen(name.c_str(), fileMode, kPermissions)) return false;
  // A file just emptied has no mark, and reading it through a handle for writing would fail.
  m_nEncoding = create ? static_cast<unsigned short>(ENC_ANSI) : EncodedType();
  return true;
}

bool ZTKTextFile::OnClose() { return m_file.Close(); }

unsigned short ZTKTextFile::EncodedType() {
  if (!m_file.IsOpen()) return ENC_NONE;
  unsigned char mark[3] = {};
  m_file.Read(mark, 2);
  if (mark[0] == 0xFF && mark[1] == 0xFE) return ENC_UTF16LE;
  if (mark[0] == 0xFE && mark[1] == 0xFF) return ENC_UTF16BE;
  if (mark[0] == 0xEF && mark[1] == 0xBB) {
    m_file.Read(mark + 2, 1);
    if (mark[2] == 0xBF) return ENC_UTF8;
  }
  ResetFilePointer();
  return ENC_ANSI;
}

void ZTKTextFile::ResetFilePointer() {
  if (m_file.IsOpen()) m_file.Seek(0, ZTKFromStart);
}

bool ZTKTextFile::OnWrite(ZTKTextFileType type) {
  const ZTKString path = ZTKWholePath([this] { return TargetPath(GetName()); });
  if (path.view().empty()) return false;
  ZTKTempFile file(path);
  if (!file.GetFile().IsOpen()) return false;

  ZTKBlockWriter writer(file.GetFile());
  if (GetLineCount() > 0) writer.Write(kUtf8Mark);
  unsigned long index = 0;
  for (const ZTKString& line : *this) {
    const ZTKTextFileType own = GetLineType(index++);
    // The recorded length is right: nothing changes a line in place.
    writer.WriteLine({line.c_str(), line.DataLength()}, type != EOL_NONE ? type : own);
  }
  writer.Flush();
  return file.Commit();
}

void ZTKTextFile::WriteBOM(ZTKTempFile& file, unsigned short nEncoding) {
  if (IsUnicode(nEncoding)) file.GetFile().Write(kUtf8Mark.data(), kUtf8Mark.size());
}

bool ZTKTextFile::OnWriteW(ZTKTempFile& file, const wchar_t* pszText, unsigned long,
                           unsigned short nEncoding) {
  if (pszText == nullptr) return false;
  const unsigned int codePage = IsUnicode(nEncoding) ? kCodePageUtf8 : kCodePageSystem;
  const ZTKCW2AEX<128> text(pszText, codePage);
  const auto length = static_cast<unsigned long>(std::strlen(text.m_psz));
  return file.GetFile().Write(text.m_psz, length) > 0;
}

bool ZTKTextFile::SwapStr(unsigned short*, unsigned long) { return true; }
