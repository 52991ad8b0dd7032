#include "ztk/text/text_file.h"

#include <cstring>
#include <string_view>

#include "ztk/file/internal/file_xp.h"
#include "ztk/file/temp_file.h"
#include "ztk/foundation/text_conversion.h"

// Opening and telling the encoding. text_file_read.cpp reads, text_file_write.cpp writes.

namespace {

constexpr int kPermissions = 0666;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";

bool IsUnicode(unsigned short nEncoding) {
  return nEncoding == ENC_UTF8 || nEncoding == ENC_UTF16LE || nEncoding == ENC_UTF16BE;
}

}  // namespace

constinit bool ZTKTextFile::ms_swapUtf16 = false;
constinit std::int64_t ZTKTextFile::ms_nStreamLimit = std::int64_t{64} << 20;

ZTKTextFile::ZTKTextFile(const ZTKString& name) : ZTKTextBuffer(name) {}

ZTKTextFile::ZTKTextFile(const ZTKString& name, unsigned int nOptions) : ZTKTextBuffer(name) {
  SetOptions(nOptions);
}

ZTKTextFile::~ZTKTextFile() = default;

bool ZTKTextFile::OnExists() const { return ZTKFile::Exists(GetName().c_str()); }

bool ZTKTextFile::OnOpen(const ZTKString& name, ZTKTextBufferOpenMode mode) {
  const bool create = mode == OPEN_CREATE;
  const ZTKFile::OpenMode fileMode = create ? ZTKFile::write : ZTKFile::read;
  if (!m_file.XPOpen(name.c_str(), fileMode, kPermissions)) return false;
  // A file just emptied has no mark, and reading it through a handle for writing would fail.
  const auto encoding = create ? static_cast<unsigned short>(ENC_ANSI) : EncodedType();
  if (!m_file.IsOpen()) return false;
  m_nEncoding = encoding;
  m_nFound = kNothingFound;
  return true;
}

void ZTKTextFile::SetOptions(unsigned int nOptions) noexcept {
  m_nOptions = static_cast<uint8_t>(nOptions);
}

bool ZTKTextFile::OnClose() { return m_file.Close(); }

unsigned short ZTKTextFile::EncodedType() {
  if (!m_file.IsOpen()) return ENC_NONE;
  unsigned char mark[3] = {};
  unsigned long length = m_file.Read(mark, 2);
  if (mark[0] == 0xFF && mark[1] == 0xFE) return ENC_UTF16LE;
  if (mark[0] == 0xFE && mark[1] == 0xFF) return ENC_UTF16BE;
  if (mark[0] == 0xEF && mark[1] == 0xBB) {
    length += m_file.Read(mark + 2, 1);
    if (mark[2] == 0xBF) return ENC_UTF8;
  }
  if (m_file.Seek(0, ZTKFromStart) == 0 ||
      XPUnreadStream(XPStreamOf(m_file.GetHandle()), mark, length)) {
    return ENC_ANSI;
  }
  m_file.Close();  // What was read would be missing.
  return ENC_NONE;
}

std::int64_t ZTKTextFile::Limit() const noexcept {
  return XPIsRegularStream(XPStreamOf(m_file.GetHandle())) ? INT64_MAX : ms_nStreamLimit;
}

void ZTKTextFile::ResetFilePointer() {
  if (m_file.IsOpen()) m_file.Seek(0, ZTKFromStart);
}

void ZTKTextFile::WriteBOM(ZTKTempFile& file, unsigned short nEncoding) {
  if (IsUnicode(nEncoding)) file.GetFile().Write(kUtf8Mark.data(), kUtf8Mark.size());
}

bool ZTKTextFile::OnWriteW(ZTKTempFile& file, const wchar_t* pszText, unsigned long,
                           unsigned short nEncoding) {
  if (pszText == nullptr) return false;
  const unsigned int codePage = IsUnicode(nEncoding) ? kCodePageUtf8 : kCodePageSystem;
  const ZTKCW2AEX<128> text(pszText, codePage);
  const unsigned long length = ZTKCountOf(std::strlen(text.m_psz));
  return file.GetFile().Write(text.m_psz, length) > 0;
}

bool ZTKTextFile::SwapStr(unsigned short*, unsigned long) { return true; }
