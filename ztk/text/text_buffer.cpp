#include "ztk/text/text_buffer.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "ztk/foundation/internal/never_destroyed.h"
#include "ztk/foundation/internal/string_block.h"
#include "ztk/text/internal/line_end.h"
#include "ztk/text/internal/line_scan.h"

constinit ZTKTextFileType ZTKTextBuffer::typeDefault = EOL_DOS;

ZTKTextBuffer::ZTKTextBuffer() = default;

ZTKTextBuffer::ZTKTextBuffer(const ZTKString& name) : m_name(name) {}

ZTKTextBuffer::~ZTKTextBuffer() = default;

bool ZTKTextBuffer::Exists() const { return OnExists(); }

bool ZTKTextBuffer::Create() {
  if (OnExists()) return false;
  if (!OnOpen(m_name, OPEN_CREATE)) return false;
  OnClose();
  return true;
}

bool ZTKTextBuffer::Create(const ZTKString& name) {
  m_name = name;
  return Create();
}

bool ZTKTextBuffer::Open() {
  if (!OnOpen(m_name, OPEN_READ)) return false;
  m_bOpened = OnRead() ? 1 : 0;
  OnClose();
  return IsOpened();
}

bool ZTKTextBuffer::Open(const ZTKString& name) {
  m_name = name;
  return Open();
}

bool ZTKTextBuffer::Write(ZTKTextFileType type) { return OnWrite(type); }

bool ZTKTextBuffer::Close() {
  Clear();
  m_bOpened = 0;
  return true;
}

void ZTKTextBuffer::Clear() {
  m_lines.RemoveAt(0, m_lines.GetCount());
  m_types.RemoveAt(0, m_types.GetCount());
  m_nReserved = 0;
}

void ZTKTextBuffer::AddLine(const ZTKString& line, ZTKTextFileType type) {
  InsertLine(line, GetLineCount(), type);
}

void ZTKTextBuffer::InsertLine(const ZTKString& line, unsigned long nIndex, ZTKTextFileType type) {
  const unsigned long count = GetLineCount();
  m_lines.Insert(line, nIndex);
  if (GetLineCount() == count) return;
  m_types.Insert(type, nIndex);
  if (m_types.GetCount() == count) m_lines.RemoveAt(std::min(nIndex, count), 1);
}

bool ZTKTextBuffer::AppendLine(const char* pText, unsigned long nLength, ZTKTextFileType type) {
  if (!m_lines.AppendText(pText, nLength)) return false;
  if (m_types.Append(type)) return true;
  m_lines.RemoveAt(GetLineCount() - 1, 1);
  return false;
}

void ZTKTextBuffer::ReserveLines(unsigned long nMore) noexcept {
  const unsigned long count = GetLineCount();
  if (nMore > ZTKPtrArr::kMaxCount - count) return;
  m_lines.Reserve(count + nMore);
  m_types.Reserve(count + nMore);
}

void ZTKTextBuffer::RemoveLine(unsigned long nIndex) {
  if (nIndex >= GetLineCount()) return;
  m_lines.RemoveAt(nIndex, 1);
  m_types.RemoveAt(nIndex, 1);
}

const ZTKString& ZTKTextBuffer::GetLine(unsigned long nIndex) const {
  static const ZTKNeverDestroyed<ZTKString> empty;  // Read by what is destroyed after main, too.
  return nIndex < GetLineCount() ? m_lines.Item(nIndex) : empty.value;
}

ZTKString ZTKTextBuffer::GetEOL(ZTKTextFileType type) { return ZTKString(ZTKLineEndText(type)); }

ZTKString ZTKTextBuffer::Translate(const ZTKString& text, ZTKTextFileType type) {
  const std::string_view source = text.view();
  if (type == EOL_NONE || source.empty()) return text;

  ZTKString result;
  if (!result.Alloc(static_cast<unsigned long>(source.size()))) return result;
  unsigned long length = 0;
  const auto append = [&](std::string_view part) {
    const auto partLength = static_cast<unsigned long>(part.size());
    const bool fits = ZTKStringBlocks::Append(result, length, part.data(), partLength);
    length = std::min(length + partLength, ZTKString::kMaxLength);
    return fits;
  };

  const std::string_view lineEnd = ZTKLineEndText(type);
  const char* const end = source.data() + source.size();
  for (const char* at = source.data(); at < end;) {
    const char* const found = ZTKFindLineEnd(at, end);
    if (!append(std::string_view(at, static_cast<size_t>(found - at)))) return ZTKString();
    if (found == end) break;
    if (!append(lineEnd)) return ZTKString();
    at = found + (*found == '\r' && found + 1 < end && found[1] == '\n' ? 2 : 1);
  }
  return result;
}
