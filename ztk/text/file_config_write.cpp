// From the tree back to the file.
#include <memory>
#include <new>

#include "ztk/file/path_text.h"
#include "ztk/text/file_config.h"
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

bool AddLine(ZTKTextBuffer& text, ZTKTextBuilder& line) {
  const unsigned long nCount = text.GetLineCount();
  text.AddLine(line.Take(), ZTKTextBuffer::typeDefault);
  return text.GetLineCount() != nCount;
}

// The header and the entries of one group. `prefix` is the path of the group above it, with "/".
bool AddGroupLines(ZTKTextBuffer& text, const ZTKFileConfigGroup& group, std::string_view prefix) {
  ZTKTextBuilder header;
  header.Add('[');
  header.Add(prefix);
  header.Add(group.GetName().view());
  header.Add(']');
  if (!AddLine(text, header)) return false;

  for (unsigned long i = 0; i < group.GetEntryCount(); ++i) {
    const ZTKFileConfigEntry& entry = *group.GetEntry(i);
    ZTKTextBuilder line;
    line.Add(entry.m_key.view());
    line.Add('=');
    line.Add(entry.m_value.view());
    if (!AddLine(text, line)) return false;
  }
  return true;
}

}  // namespace

bool ZTKFileConfig::Flush() {
  if (m_bDirty == 0) return true;
  ZTKTextFile file(m_filePath);
  if (!OpenConfFile(file)) return false;
  file.Clear();
  if (!AddLines(file)) return false;

  m_bDirty = 0;  // Before writing: a failed writing is not tried again.
  return file.Write(EOL_NONE);
}

bool ZTKFileConfig::AddLines(ZTKTextBuffer& text) const {
  if (m_pRoot == nullptr) return true;
  Levels levels;
  ZTKString prefix;
  if (!levels.Push({m_pRoot, 0, 0})) return false;
  while (!levels.IsEmpty()) {
    Level& level = levels.Top();
    const ZTKFileConfigGroup* pGroup = level.pGroup->GetGroup(level.nNextChild);
    if (pGroup == nullptr) {
      levels.Pop();
      continue;
    }
    ++level.nNextChild;
    prefix.Truncate(level.nPrefix);
    if (!AddGroupLines(text, *pGroup, prefix.view())) return false;
    if (pGroup->GetGroupCount() == 0) continue;

    const unsigned long nPrefix = prefix.Len() + pGroup->GetName().Len() + 1;
    prefix.append(pGroup->GetName());
    prefix.append('/', 1);
    if (prefix.Len() != nPrefix || !levels.Push({pGroup, 0, nPrefix})) return false;
  }
  return true;
}
