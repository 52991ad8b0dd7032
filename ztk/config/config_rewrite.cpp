// Changing the lines of a configuration file no more than its tree asks for.
#include <cstring>
#include <initializer_list>
#include <new>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ztk/config/internal/config_parse.h"
#include "ztk/config/internal/config_walk.h"
#include "ztk/config/internal/config_write.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/text/text_buffer.h"

namespace {

constexpr size_t kLongestEnd = 2;  // Of the ends of lines.

/// What is done with a line.
enum class LineAction : unsigned char {
  kKeep,    // A comment, a blank line, what means nothing, an entry that a later one supersedes.
  kHeader,  // Kept: the header of a group.
  kEntry,   // Kept, or changed when its value is another one.
  kDrop,    // Its group or its entry is not in the tree.
};

struct Line {
  const ZTKFileConfigGroup* pGroup = nullptr;  // Where it stands; null below a dropped header.
  const ZTKFileConfigEntry* pEntry = nullptr;  // What it says, if that is in the tree.
  LineAction action = LineAction::kKeep;
  bool isLastOfGroup = false;  // No later header or entry belongs to the same group.
};

// Whether a key, or the name of a group, would be read back as it is: others are not written.
bool IsWritableKey(std::string_view key) {
  if (key.find_first_of("=\r\n") != std::string_view::npos) return false;
  if (ZTKTrim(key) != key) return false;
  return key.empty() || std::strchr(";#[", key.front()) == nullptr;
}

bool IsWritableGroup(std::string_view name) {
  return name.find_first_of("]\r\n") == std::string_view::npos;
}

/// Goes over the new text twice: once for its size, and once to build it.
class Rewriter {
 public:
  Rewriter(ZTKConfigTree& tree, ZTKTextBuffer& text) : m_tree(tree), m_text(text) {}

  bool Run(uint64_t nMaxSize, uint64_t& nSize) {
    Classify();
    if (!PutAll()) return false;
    nSize = m_nSize;
    if (nSize > nMaxSize) return false;
    m_isMeasuring = false;
    m_defaultType = m_lastType = DefaultType();
    if (!PutAll() || m_memory.RanOut()) return false;
    const unsigned long nLines = m_newLines.GetCount();
    if (m_newTypes.GetCount() != nLines) return false;
    m_text.Clear();
    for (unsigned long i = 0; i < nLines; ++i) {
      // The last line of a file may have no end: it gets one when others follow.
      const bool lacksEnd = m_newTypes.Item(i) == EOL_NONE && i + 1 < nLines;
      m_text.AddLine(m_newLines.Item(i), lacksEnd ? m_defaultType : m_newTypes.Item(i));
    }
    return m_text.GetLineCount() == nLines;
  }

 private:
  // What to do with each line -----------------------------------------------------------------

  void Classify() {
    const unsigned long nLines = m_text.GetLineCount();
    m_lines.reserve(nLines);
    const ZTKFileConfigGroup* pGroup = &m_tree;
    for (unsigned long i = 0; i < nLines; ++i) {
      m_lines.push_back(ClassifyLine(m_text.GetLine(i).view(), pGroup));
      const Line& line = m_lines.back();
      const bool isEntry = line.action == LineAction::kEntry;
      if (isEntry) m_lastLines[line.pEntry] = i;
      if (isEntry || line.action == LineAction::kHeader) m_lastLines[line.pGroup] = i;
    }
    for (unsigned long i = 0; i < nLines; ++i) {
      Line& line = m_lines[i];
      line.isLastOfGroup = IsLastLineOf(line.pGroup, i);
      const bool isSuperseded = line.action == LineAction::kEntry && !IsLastLineOf(line.pEntry, i);
      if (isSuperseded) line.action = LineAction::kKeep;
    }
  }

  Line ClassifyLine(std::string_view text, const ZTKFileConfigGroup*& pGroup) {
    std::string_view key;
    std::string_view value;
    Line line;
    if (ZTKParseHeader(text, key)) {
      pGroup = m_tree.FindPlainPath(ZTKResolveHeader(key, m_resolved, false));
      line.action = pGroup != nullptr ? LineAction::kHeader : LineAction::kDrop;
    } else if (ZTKParseEntry(text, key, value)) {
      line.pEntry = pGroup != nullptr ? m_tree.Find(*pGroup, key) : nullptr;
      line.action = line.pEntry != nullptr ? LineAction::kEntry : LineAction::kDrop;
    }
    line.pGroup = pGroup;
    return line;
  }

  bool IsLastLineOf(const void* pNode, unsigned long nLine) const {
    const auto found = m_lastLines.find(pNode);
    return found != m_lastLines.end() && found->second == nLine;
  }
  bool IsNamed(const void* pNode) const { return m_lastLines.count(pNode) != 0; }

  // The new text ------------------------------------------------------------------------------

  // New entries go behind the last line of their group, new groups to the end.
  bool PutAll() {
    m_endsBlank = true;
    if (!IsNamed(&m_tree)) PutNewEntries(m_tree, nullptr);
    for (unsigned long i = 0; i < m_text.GetLineCount(); ++i) {
      PutLine(i);
      if (m_lines[i].isLastOfGroup) PutNewEntries(*m_lines[i].pGroup, nullptr);
    }
    ZTKConfigWalk walk(m_tree);
    while (const ZTKFileConfigGroup* pGroup = walk.Next()) {
      if (!IsWritableGroup(ZTKConfigName(*pGroup))) {
        walk.SkipInside();
      } else if (!IsNamed(pGroup)) {
        PutNewEntries(*pGroup, &walk);
      }
    }
    return !walk.RanOut();
  }

  // An entry gets another value in the place of its own; all else of its line stays.
  void PutLine(unsigned long i) {
    const Line& line = m_lines[i];
    if (line.action == LineAction::kDrop) return;
    const std::string_view text = m_text.GetLine(i).view();
    const ZTKTextFileType type = m_text.GetLineType(i);
    std::string_view key;
    std::string_view old;
    if (line.action != LineAction::kEntry || !ZTKParseEntry(text, key, old)) {
      return Put({text}, type);
    }
    const std::string_view value = ZTKConfigValue(*line.pEntry);
    if (old == ZTKTrim(value)) return Put({text}, type);
    const size_t nKept = old.empty() ? text.size() : static_cast<size_t>(old.data() - text.data());
    Put({text.substr(0, nKept), value, text.substr(nKept + old.size())}, type);
  }

  // Below the header of a group that the text lacks: `pNew` is the walk that has just given it. A
  // group without entries but with others inside is in their headers.
  void PutNewEntries(const ZTKFileConfigGroup& group, const ZTKConfigWalk* pNew) {
    bool lacksHeader = pNew != nullptr;
    for (unsigned long i = 0; i < group.GetEntryCount(); ++i) {
      const ZTKFileConfigEntry& entry = *group.GetEntry(i);
      if (!IsWritableKey(ZTKConfigName(entry)) || IsNamed(&entry)) continue;
      if (lacksHeader) PutHeader(*pNew);
      lacksHeader = false;
      Put({ZTKConfigName(entry), "=", ZTKConfigValue(entry)}, m_lastType);
    }
    if (lacksHeader && group.GetGroupCount() == 0) PutHeader(*pNew);
  }

  void PutHeader(const ZTKConfigWalk& walk) {
    if (!m_endsBlank) Put({}, m_lastType);
    Put({"[", walk.Path(), "]"}, m_lastType);
  }

  // One line, of these parts.
  void Put(std::initializer_list<std::string_view> parts, ZTKTextFileType type) {
    m_nSize += kLongestEnd;
    for (const std::string_view part : parts) m_nSize += part.size();
    m_endsBlank = parts.size() == 0 || (parts.size() == 1 && ZTKTrim(*parts.begin()).empty());
    if (m_isMeasuring) return;
    ZTKTextBuilder line;
    for (const std::string_view part : parts) line.Add(part);
    m_newLines.Add(line.Finish(), 1);
    m_newTypes.Add(type, 1);
    m_lastType = type != EOL_NONE ? type : m_defaultType;
  }

  // The line end of the first line that has one.
  ZTKTextFileType DefaultType() const {
    for (unsigned long i = 0; i < m_text.GetLineCount(); ++i) {
      if (m_text.GetLineType(i) != EOL_NONE) return m_text.GetLineType(i);
    }
    return ZTKTextBuffer::typeDefault;
  }

  const ZTKAllocationWatch m_memory;  // In front of the arrays: it sees them begin.
  ZTKConfigTree& m_tree;
  ZTKTextBuffer& m_text;
  std::vector<Line> m_lines;
  // Of each group and entry of the tree that has one, its last line.
  std::unordered_map<const void*, unsigned long> m_lastLines;
  ZTKStringArray m_resolved;  // The headers that were rewritten.

  bool m_isMeasuring = true;
  uint64_t m_nSize = 0;
  bool m_endsBlank = true;  // Whether the new text ends with a blank line, or is empty.
  ZTKStringArray m_newLines;
  ZTKArrayLinesType m_newTypes;
  ZTKTextFileType m_defaultType = EOL_NONE;
  ZTKTextFileType m_lastType = EOL_NONE;  // How a line ends that is like the one in front of it.
};

}  // namespace

bool ZTKRewriteConfig(ZTKConfigTree& tree, ZTKTextBuffer& text, uint64_t nMaxSize,
                      uint64_t& nSize) noexcept {
  nSize = 0;
  try {
    return Rewriter(tree, text).Run(nMaxSize, nSize);
  } catch (const std::bad_alloc&) {
    ZTKAllocationWatch::NoteFailure();
    return false;
  }
}
