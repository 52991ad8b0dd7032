// From the tree back to the file.
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <new>

#include "ztk/config/internal/config_opt_ins.h"
#include "ztk/config/internal/config_walk.h"
#include "ztk/foundation/internal/string_block.h"
#include "ztk/log/log.h"
#include "ztk/text/internal/line_end.h"
#include "ztk/text/text_file.h"

namespace {

// Adds lines to a text, many at a time: what ends one line inside a block is the very text that
// the line's type would write, so the file is the same and a line costs no objects of its own.
class LineBlocks {
 public:
  explicit LineBlocks(ZTKTextBuffer& text)
      : m_text(text), m_lineEnd(ZTKLineEndText(ZTKTextBuffer::typeDefault)) {}

  // One line, put together from these parts. False when memory runs out; so does `Finish`.
  bool Add(std::initializer_list<std::string_view> parts) {
    auto nLine = static_cast<unsigned long>(m_lineEnd.size());
    for (const std::string_view part : parts) nLine += static_cast<unsigned long>(part.size());
    if (m_hasLine && m_nLength + nLine > kBlock && !Finish()) return false;
    if (m_hasLine && !Append(m_lineEnd)) return false;
    m_hasLine = true;
    for (const std::string_view part : parts) {
      if (!Append(part)) return false;
    }
    return true;
  }

  bool Finish() {
    if (!m_hasLine) return true;
    const unsigned long nCount = m_text.GetLineCount();
    m_text.AddLine(m_block, ZTKTextBuffer::typeDefault);
    m_block.Empty();
    m_nLength = 0;
    m_hasLine = false;
    return m_text.GetLineCount() != nCount;
  }

 private:
  static constexpr unsigned long kBlock = 64UL * 1024;

  bool Append(std::string_view text) {
    const auto nCount = static_cast<unsigned long>(text.size());
    if (nCount == 0) return true;
    if (m_block.AllocatedSize() == 0 && !m_block.Alloc(kBlock)) return false;
    if (!ZTKStringBlocks::Append(m_block, m_nLength, text.data(), nCount)) return false;
    m_nLength += nCount;
    return true;
  }

  ZTKTextBuffer& m_text;
  const std::string_view m_lineEnd;
  ZTKString m_block;
  unsigned long m_nLength = 0;
  bool m_hasLine = false;
};

// The header and the entries of one group.
bool AddGroupLines(LineBlocks& lines, const ZTKFileConfigGroup& group, std::string_view path) {
  if (!lines.Add({"[", path, "]"})) return false;
  for (unsigned long i = 0; i < group.GetEntryCount(); ++i) {
    const ZTKFileConfigEntry& entry = *group.GetEntry(i);
    if (!lines.Add({ZTKConfigName(entry), "=", ZTKConfigValue(entry)})) return false;
  }
  return true;
}

// The bytes of the file that `PutLines` makes; false when memory runs out.
bool MeasureFile(const ZTKConfigTree& tree, uint64_t& nBytes) {
  constexpr uint64_t kMark = 3;
  const uint64_t nLineEnd = ZTKLineEndText(ZTKTextBuffer::typeDefault).size();
  nBytes = kMark;
  ZTKConfigWalk walk(tree, ZTKConfigWalk::kLengths);
  while (const ZTKFileConfigGroup* pGroup = walk.Next()) {
    nBytes += walk.PathLength() + 2 + nLineEnd;
    for (unsigned long i = 0; i < pGroup->GetEntryCount(); ++i) {
      const ZTKFileConfigEntry& entry = *pGroup->GetEntry(i);
      nBytes += ZTKConfigName(entry).size() + ZTKConfigValue(entry).size() + 1 + nLineEnd;
    }
  }
  return !walk.RanOut();
}

// Whether the file can be read to its end, as it must be before it is replaced. Nobody would see
// the lines that reading it in full makes.
bool IsReadable(const ZTKString& path) {
  ZTKFile file(path.c_str(), ZTKFile::read);
  if (!file.IsOpen()) return false;
  constexpr size_t kChunk = size_t{64} * 1024;
  const std::unique_ptr<char[]> chunk(new (std::nothrow) char[kChunk]);
  if (chunk == nullptr) return false;
  while (file.Read(chunk.get(), kChunk) == kChunk) {
  }
  return !file.HasReadError();
}

}  // namespace

bool ZTKFileConfig::Flush() {
  if (m_bDirty == 0) return true;
  if (m_pRoot == nullptr) return false;  // Nothing is known that could be saved.
  return GetOptions() != 0 ? FlushWithOptions() : FlushByDefault();
}

bool ZTKFileConfig::FlushByDefault() {
  ZTKTextFile file(m_filePath);
  const XPFileKind kind = ZTKConfigOptIns::KindOf(m_filePath);
  if (kind == XPFileKind::kFolder || kind == XPFileKind::kOther) return false;
  const bool isThere = ZTKFile::Exists(m_filePath.c_str());
  if (isThere ? !IsReadable(m_filePath) : !OpenConfFile(file)) return false;
  if (!PutLines(*m_pRoot, file)) return false;

  m_bDirty = 0;  // Before writing: a failed writing is not tried again.
  const bool isWritten = file.Write(EOL_NONE);
  // Its own writing is no news.
  if (ZTKConfigOptIns* p = OptIns()) p->Know(ZTKConfigOptIns::StateOf(m_filePath));
  return isWritten;
}

bool ZTKFileConfig::Refuse(const char* pszReason) const {
  ZTKLogError("'%s' is not saved: %s.", m_filePath.c_str(), pszReason);
  return false;
}

bool ZTKFileConfig::IsSizeAllowed(uint64_t nBytes) const {
  if (nBytes <= GetMaxSize()) return true;
  ZTKLogError("'%s' is not saved: it would have %llu bytes, and %lu are allowed.",
              m_filePath.c_str(), static_cast<unsigned long long>(nBytes), GetMaxSize());
  return false;
}

// Makes the lines of `text` those of the tree.
bool ZTKFileConfig::PutLines(const ZTKConfigTree& tree, ZTKTextBuffer& text) const {
  text.Clear();  // Somebody may have made the file meanwhile: it was read then.
  uint64_t nBytes = 0;
  if (!MeasureFile(tree, nBytes) || !IsSizeAllowed(nBytes)) return false;
  LineBlocks lines(text);
  ZTKConfigWalk walk(tree, ZTKConfigWalk::kTexts);
  while (const ZTKFileConfigGroup* pGroup = walk.Next()) {
    if (!AddGroupLines(lines, *pGroup, walk.Path())) return false;
  }
  return !walk.RanOut() && lines.Finish();
}
