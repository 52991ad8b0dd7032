// Changing the lines of a configuration file no more than its tree asks for.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>

#include "ztk/config/internal/config_parse.h"
#include "ztk/config/internal/config_walk.h"
#include "ztk/config/internal/config_write.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/foundation/internal/memory_watch.h"
#include "ztk/text/text_buffer.h"

namespace {

constexpr unsigned long kTop = ~0ul;  // In front of the first line.
constexpr size_t kLongestEnd = 2;     // Of the ends of lines.

/// What becomes of a line.
enum class Fate : unsigned char {
  kKept,       // A comment, a blank, or what means nothing.
  kHeader,     // Kept; the lines behind it are those of its group.
  kEntry,      // Kept, or changed when its value is another one.
  kOverruled,  // An entry that a later one overrules: kept.
  kDropped,    // Its group or its entry is gone.
};

struct Line {
  const ZTKFileConfigGroup* pGroup;  // Where it stands; null below a header that is gone.
  const ZTKFileConfigEntry* pEntry;  // What it says, if that is in the tree.
  Fate fate;
};

/// A node of the tree and a line about it, for finding the last one of each.
struct Mention {
  const void* pNode;
  unsigned long nLine;
};

bool IsBefore(const Mention& a, const Mention& b) {
  if (a.pNode != b.pNode) return std::less<>()(a.pNode, b.pNode);
  return a.nLine < b.nLine;
}

/// The last line about each of many nodes.
class LastMentions {
 public:
  bool Reserve(unsigned long nMax) {
    m_mentions.reset(new (std::nothrow) Mention[nMax + 1]);
    return m_mentions != nullptr;
  }
  void Add(const void* pNode, unsigned long nLine) { m_mentions[m_nCount++] = {pNode, nLine}; }
  void Sort() { std::sort(m_mentions.get(), m_mentions.get() + m_nCount, IsBefore); }

  /// False when no line is about the node.
  bool Find(const void* pNode, unsigned long& nLine) const {
    const Mention* const pStart = m_mentions.get();
    const Mention* const pEnd =
        std::upper_bound(pStart, pStart + m_nCount, Mention{pNode, ~0ul}, IsBefore);
    if (pEnd == pStart || pEnd[-1].pNode != pNode) return false;
    nLine = pEnd[-1].nLine;
    return true;
  }

 private:
  std::unique_ptr<Mention[]> m_mentions;
  unsigned long m_nCount = 0;
};

// Lines for what the text lacks, in the order of the tree, and where they go.
class NewLines {
 public:
  explicit NewLines(unsigned long nEnd) : m_nEnd(nEnd) {}

  void Add(std::string_view line, unsigned long nBehind) {
    m_lines.Add(ZTKString(line), 1);
    m_places.Add(ToPointer(nBehind), 1);
  }
  void AddAtEnd(std::string_view line) { Add(line, m_nEnd); }

  /// Orders them by their places; false when memory has run out.
  bool Sort() {
    const unsigned long nCount = m_lines.GetCount();
    m_order.reset(new (std::nothrow) unsigned long[nCount + 1]);
    if (m_order == nullptr || m_places.GetCount() != nCount) return false;
    for (unsigned long i = 0; i < nCount; ++i) m_order[i] = i;
    // The top comes first: it wraps round to 0.
    std::stable_sort(
        m_order.get(), m_order.get() + nCount,
        [this](unsigned long a, unsigned long b) { return PlaceOf(a) + 1 < PlaceOf(b) + 1; });
    return true;
  }

  /// Takes the next line that goes behind `nLine`; null when there is none (left).
  const ZTKString* TakeBehind(unsigned long nLine) {
    if (m_nNext == m_lines.GetCount() || PlaceOf(m_order[m_nNext]) != nLine) return nullptr;
    return &m_lines.Item(m_order[m_nNext++]);
  }

 private:
  static void* ToPointer(unsigned long n) {
    return reinterpret_cast<void*>(static_cast<uintptr_t>(n));  // NOLINT: a number in its cell.
  }
  unsigned long PlaceOf(unsigned long i) const {
    return static_cast<unsigned long>(reinterpret_cast<uintptr_t>(m_places.GetItems()[i]));
  }

  const unsigned long m_nEnd;
  ZTKStringArray m_lines;
  ZTKPtrArr m_places;
  std::unique_ptr<unsigned long[]> m_order;
  unsigned long m_nNext = 0;
};

/// Collects lines; the last one waits for its line end until it is known whether another follows.
class Result : public ZTKTextBuffer {
 public:
  explicit Result(ZTKTextFileType defaultType) : m_default(defaultType) {}
  bool OnExists() const override { return false; }
  bool OnOpen(const ZTKString&, ZTKTextBufferOpenMode) override { return false; }
  bool OnClose() override { return false; }
  bool OnRead() override { return false; }
  bool OnWrite(ZTKTextFileType) override { return false; }

  void Put(const ZTKString& line, ZTKTextFileType type) {
    ++m_nPut;
    if (m_hasLast) AddLine(m_last, m_lastType != EOL_NONE ? m_lastType : m_default);
    m_last = line;
    m_lastType = type;
    m_hasLast = true;
  }
  /// A line with the line end of the one in front of it.
  void PutNew(const ZTKString& line) {
    Put(line, m_hasLast && m_lastType != EOL_NONE ? m_lastType : m_default);
  }
  bool EndsBlank() const { return !m_hasLast || ZTKTrim(m_last.view()).empty(); }
  /// False when a line is missing because memory has run out.
  bool Finish() {
    if (m_hasLast) AddLine(m_last, m_lastType);
    m_hasLast = false;
    return GetLineCount() == m_nPut;
  }

 private:
  const ZTKTextFileType m_default;
  ZTKString m_last;
  ZTKTextFileType m_lastType = EOL_NONE;
  bool m_hasLast = false;
  unsigned long m_nPut = 0;
};

// Whether a key, or the path of a group, would be read back as it is: others are not written.
bool HoldsKey(std::string_view key) {
  if (key.find_first_of("=\r\n") != std::string_view::npos) return false;
  if (ZTKTrim(key) != key) return false;
  return key.empty() || std::strchr(";#[", key.front()) == nullptr;
}

bool HoldsPath(std::string_view path) {
  return path.find_first_of("]\r\n") == std::string_view::npos;
}

// The line with another value in the place of its own; all else of it stays.
ZTKString WithValue(std::string_view line, std::string_view value) {
  const size_t equals = line.find('=');
  const std::string_view old = ZTKTrim(line.substr(equals + 1));
  size_t start = line.size();
  size_t end = line.size();
  if (!old.empty()) {
    start = static_cast<size_t>(old.data() - line.data());
    end = start + old.size();
  }
  ZTKTextBuilder text;
  text.Add(line.substr(0, start));
  text.Add(value);
  text.Add(line.substr(end));
  return text.Take();
}

ZTKString EntryLine(const ZTKFileConfigEntry& entry) {
  ZTKTextBuilder text;
  text.Add(ZTKConfigName(entry));
  text.Add('=');
  text.Add(ZTKConfigValue(entry));
  return text.Take();
}

class Rewriter {
 public:
  Rewriter(ZTKTextBuffer& text, ZTKConfigTree& tree, ZTKFileConfigGroup* const* pGroups)
      : m_text(text), m_tree(tree), m_pGroups(pGroups), m_new(text.GetLineCount()) {}

  bool Run(uint64_t nMaxSize, uint64_t& nSize) {
    const ZTKMemoryWatch memory;
    if (!Judge() || !FindWhatIsMissing(true)) return false;
    nSize = m_nNewSize + SizeOfOldLines();
    if (nSize > nMaxSize || !FindWhatIsMissing(false) || !m_new.Sort()) return false;
    Result result(DefaultType());
    if (!Put(result)) return false;
    const unsigned long nLines = result.GetLineCount();
    m_text.Clear();
    for (unsigned long i = 0; i < nLines; ++i) {
      m_text.AddLine(result.GetLine(i), result.GetLineType(i));
    }
    return !memory.RanOut() && m_text.GetLineCount() == nLines;
  }

 private:
  bool Judge() {
    const unsigned long nLines = m_text.GetLineCount();
    m_lines.reset(new (std::nothrow) Line[nLines + 1]);
    if (m_lines == nullptr || !m_entries.Reserve(nLines) || !m_groups.Reserve(nLines)) return false;
    const ZTKFileConfigGroup* pGroup = &m_tree;
    for (unsigned long i = 0; i < nLines; ++i) {
      m_lines[i] = JudgeLine(i, pGroup);
      const Line& line = m_lines[i];
      if (line.fate == Fate::kEntry) m_entries.Add(line.pEntry, i);
      if (line.fate == Fate::kEntry || line.fate == Fate::kHeader) m_groups.Add(line.pGroup, i);
    }
    m_entries.Sort();
    m_groups.Sort();
    for (unsigned long i = 0; i < nLines; ++i) {
      unsigned long nLast = 0;
      if (m_lines[i].fate != Fate::kEntry || !m_entries.Find(m_lines[i].pEntry, nLast)) continue;
      if (nLast != i) m_lines[i].fate = Fate::kOverruled;
    }
    return true;
  }

  Line JudgeLine(unsigned long i, const ZTKFileConfigGroup*& pGroup) {
    const std::string_view line = m_text.GetLine(i).view();
    std::string_view key;
    std::string_view value;
    if (ZTKParseHeader(line, key)) {
      pGroup = m_pGroups[i];
      return {pGroup, nullptr, pGroup != nullptr ? Fate::kHeader : Fate::kDropped};
    }
    if (!ZTKParseEntry(line, key, value)) return {pGroup, nullptr, Fate::kKept};
    const ZTKFileConfigEntry* pEntry = pGroup != nullptr ? m_tree.Find(*pGroup, key) : nullptr;
    return {pGroup, pEntry, pEntry != nullptr ? Fate::kEntry : Fate::kDropped};
  }

  // With `bCounts` nothing is added, and m_nNewSize is the most bytes that it would take.
  bool FindWhatIsMissing(bool bCounts) {
    m_nNewSize = 0;
    FindMissingEntries(m_tree, "", 0, bCounts);
    ZTKConfigWalk walk(m_tree, bCounts ? ZTKConfigWalk::kLengths : ZTKConfigWalk::kTexts);
    while (const ZTKFileConfigGroup* pGroup = walk.Next()) {
      if (HoldsPath(ZTKConfigName(*pGroup))) {
        FindMissingEntries(*pGroup, walk.Path(), walk.PathLength(), bCounts);
      } else {
        walk.SkipInside();
      }
    }
    return !walk.RanOut();
  }

  // There is a path only when nothing is counted.
  void FindMissingEntries(const ZTKFileConfigGroup& group, std::string_view path, size_t nPath,
                          bool bCounts) {
    unsigned long nBehind = kTop;
    const bool hasPlace = m_groups.Find(&group, nBehind) || nPath == 0;
    bool hasHeader = hasPlace;
    const auto putHeader = [&] {
      hasHeader = true;
      m_nNewSize += nPath + 2 + 2 * kLongestEnd;  // A blank line may come in front.
      if (bCounts) return;
      ZTKTextBuilder header;
      header.Add('[');
      header.Add(path);
      header.Add(']');
      m_new.AddAtEnd(header.Take().view());
    };
    for (unsigned long i = 0; i < group.GetEntryCount(); ++i) {
      const ZTKFileConfigEntry& entry = *group.GetEntry(i);
      unsigned long nLine = 0;
      if (m_entries.Find(&entry, nLine) || !HoldsKey(ZTKConfigName(entry))) continue;
      if (!hasHeader) putHeader();
      m_nNewSize += ZTKConfigName(entry).size() + ZTKConfigValue(entry).size() + 1 + kLongestEnd;
      if (bCounts) continue;
      const ZTKString line = EntryLine(entry);
      if (hasPlace) {
        m_new.Add(line.view(), nBehind);
      } else {
        m_new.AddAtEnd(line.view());
      }
    }
    // A group with others inside is in their headers.
    if (!hasHeader && group.GetGroupCount() == 0) putHeader();
  }

  // The most bytes that the lines take that there are already.
  uint64_t SizeOfOldLines() const {
    uint64_t nSize = 0;
    for (unsigned long i = 0; i < m_text.GetLineCount(); ++i) {
      const Line& line = m_lines[i];
      if (line.fate == Fate::kDropped) continue;
      nSize += m_text.GetLine(i).DataLength() + kLongestEnd;
      if (line.fate == Fate::kEntry) nSize += ZTKConfigValue(*line.pEntry).size();
    }
    return nSize;
  }

  // The line end of the first line that has one.
  ZTKTextFileType DefaultType() const {
    for (unsigned long i = 0; i < m_text.GetLineCount(); ++i) {
      if (m_text.GetLineType(i) != EOL_NONE) return m_text.GetLineType(i);
    }
    return ZTKTextBuffer::typeDefault;
  }

  bool Put(Result& result) {
    const auto putBehind = [&](unsigned long nLine) {
      while (const ZTKString* pLine = m_new.TakeBehind(nLine)) result.PutNew(*pLine);
    };
    putBehind(kTop);
    const unsigned long nLines = m_text.GetLineCount();
    for (unsigned long i = 0; i < nLines; ++i) {
      PutLine(result, i);
      putBehind(i);
    }
    while (const ZTKString* pLine = m_new.TakeBehind(nLines)) {
      std::string_view group;
      if (ZTKParseHeader(pLine->view(), group) && !result.EndsBlank()) result.PutNew(ZTKString());
      result.PutNew(*pLine);
    }
    return result.Finish();
  }

  void PutLine(Result& result, unsigned long i) {
    const Line& line = m_lines[i];
    if (line.fate == Fate::kDropped) return;
    const ZTKString& text = m_text.GetLine(i);
    std::string_view key;
    std::string_view value;
    if (line.fate == Fate::kEntry && ZTKParseEntry(text.view(), key, value) &&
        value != ZTKTrim(ZTKConfigValue(*line.pEntry))) {
      result.Put(WithValue(text.view(), ZTKConfigValue(*line.pEntry)), m_text.GetLineType(i));
    } else {
      result.Put(text, m_text.GetLineType(i));
    }
  }

  ZTKTextBuffer& m_text;
  ZTKConfigTree& m_tree;
  ZTKFileConfigGroup* const* const m_pGroups;
  std::unique_ptr<Line[]> m_lines;
  LastMentions m_entries;
  LastMentions m_groups;
  NewLines m_new;
  uint64_t m_nNewSize = 0;
};

}  // namespace

bool ZTKRewriteConfig(ZTKConfigTree& tree, ZTKTextBuffer& text, uint64_t nMaxSize,
                      uint64_t& nSize) noexcept {
  nSize = 0;
  const unsigned long nLines = text.GetLineCount();
  const std::unique_ptr<ZTKFileConfigGroup*[]> groups(new (std::nothrow)
                                                          ZTKFileConfigGroup*[nLines + 1]());
  if (groups == nullptr) return false;
  ZTKStringArray resolved;
  const ZTKMemoryWatch memory;
  for (unsigned long i = 0; i < nLines; ++i) {
    std::string_view group;
    if (!ZTKParseHeader(text.GetLine(i).view(), group)) continue;
    groups[i] = tree.FindPlainPath(ZTKResolveHeader(group, resolved, false));
  }
  return !memory.RanOut() && Rewriter(text, tree, groups.get()).Run(nMaxSize, nSize);
}
