// From the tree back to the file.
#include <initializer_list>
#include <memory>
#include <new>

#include "ztk/foundation/internal/string_block.h"
#include "ztk/text/internal/config_opt_ins.h"
#include "ztk/text/text_file.h"

namespace {

// A group whose child groups are being written.
struct Level {
  const ZTKFileConfigGroup* pGroup;
  unsigned long nNextChild;
  unsigned long nPrefix;  // The length of what stands in front of its children's names.
};

// The levels above the group that is being written. A stack of our own, because groups may be
// nested as deep as a file says.
class Levels {
 public:
  bool IsEmpty() const { return m_nCount == 0; }
  Level& Top() { return m_levels[m_nCount - 1]; }
  void Pop() { --m_nCount; }

  bool Push(const Level& level) {
    if (m_nCount == m_nCapacity && !Grow()) return false;
    m_levels[m_nCount++] = level;
    return true;
  }

 private:
  bool Grow() {
    const size_t nCapacity = m_nCapacity == 0 ? 16 : 2 * m_nCapacity;
    std::unique_ptr<Level[]> levels(new (std::nothrow) Level[nCapacity]);
    if (levels == nullptr) return false;
    for (size_t i = 0; i < m_nCount; ++i) levels[i] = m_levels[i];
    m_levels.swap(levels);
    m_nCapacity = nCapacity;
    return true;
  }

  std::unique_ptr<Level[]> m_levels;
  size_t m_nCount = 0;
  size_t m_nCapacity = 0;
};

// Adds lines to a text, many at a time: what ends one line inside a block is the very text that
// the line's type would write, so the file is the same and a line costs no objects of its own.
class LineBlocks {
 public:
  explicit LineBlocks(ZTKTextBuffer& text)
      : m_text(text), m_lineEnd(ZTKTextBuffer::GetEOL(ZTKTextBuffer::typeDefault)) {}

  // One line, put together from these parts. False when memory runs out; so does `Finish`.
  bool Add(std::initializer_list<std::string_view> parts) {
    unsigned long nLine = m_lineEnd.Len();
    for (const std::string_view part : parts) nLine += static_cast<unsigned long>(part.size());
    if (m_hasLine && m_nLength + nLine > kBlock && !Finish()) return false;
    if (m_hasLine && !Append(m_lineEnd.view())) return false;
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
  const ZTKString m_lineEnd;
  ZTKString m_block;
  unsigned long m_nLength = 0;
  bool m_hasLine = false;
};

// The header and the entries of one group. `prefix` is the path of the group above it, with "/".
bool AddGroupLines(LineBlocks& lines, const ZTKFileConfigGroup& group, std::string_view prefix) {
  if (!lines.Add({"[", prefix, ZTKConfigName(group), "]"})) return false;
  for (unsigned long i = 0; i < group.GetEntryCount(); ++i) {
    const ZTKFileConfigEntry& entry = *group.GetEntry(i);
    if (!lines.Add({ZTKConfigName(entry), "=", ZTKConfigValue(entry)})) return false;
  }
  return true;
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
  const bool isThere = ZTKFile::Exists(m_filePath.c_str());
  if (isThere ? !IsReadable(m_filePath) : !OpenConfFile(file)) return false;
  file.Clear();  // Somebody may have made the file meanwhile: it was read then.
  if (!AddLines(*m_pRoot, file)) return false;

  m_bDirty = 0;  // Before writing: a failed writing is not tried again.
  const bool isWritten = file.Write(EOL_NONE);
  // Its own writing is no news.
  if (ZTKConfigOptIns* p = OptIns()) p->Know(ZTKConfigOptIns::StateOf(m_filePath));
  return isWritten;
}

bool ZTKFileConfig::AddLines(const ZTKConfigTree& tree, ZTKTextBuffer& text) {
  LineBlocks lines(text);
  Levels levels;
  ZTKString prefix;
  if (!levels.Push({&tree, 0, 0})) return false;
  while (!levels.IsEmpty()) {
    Level& level = levels.Top();
    const ZTKFileConfigGroup* pGroup = level.pGroup->GetGroup(level.nNextChild);
    if (pGroup == nullptr) {
      levels.Pop();
      continue;
    }
    ++level.nNextChild;
    prefix.Truncate(level.nPrefix);
    if (!AddGroupLines(lines, *pGroup, prefix.view())) return false;
    if (pGroup->GetGroupCount() == 0) continue;

    const unsigned long nPrefix = prefix.Len() + pGroup->GetName().Len() + 1;
    prefix.append(pGroup->GetName());
    prefix.append('/', 1);
    if (prefix.Len() != nPrefix || !levels.Push({pGroup, 0, nPrefix})) return false;
  }
  return lines.Finish();
}
