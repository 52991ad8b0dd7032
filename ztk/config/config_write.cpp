#include "ztk/config/internal/config_write.h"

#include <initializer_list>
#include <string_view>

#include "ztk/config/internal/config_walk.h"
#include "ztk/foundation/internal/string_block.h"
#include "ztk/text/internal/line_end.h"
#include "ztk/text/text_buffer.h"

namespace {

// What a line is put together from.
using Parts = std::initializer_list<std::string_view>;

// Adds lines to a text, many at a time: what ends one line inside a block is the very text that
// the line's type would write, so the file is the same and a line costs no objects of its own.
class LineBlocks {
 public:
  explicit LineBlocks(ZTKTextBuffer& text)
      : m_text(text), m_lineEnd(ZTKLineEndText(ZTKTextBuffer::typeDefault)) {}

  // One line. False when memory runs out; so does `Finish`.
  bool Add(Parts parts) {
    if (m_nLength >= kBlock && !Finish()) return false;
    if (m_nLength != 0 && !Append(m_lineEnd)) return false;  // No line here is empty.
    for (const std::string_view part : parts) {
      if (!Append(part)) return false;
    }
    return true;
  }

  bool Finish() {
    if (m_nLength == 0) return true;
    const unsigned long nCount = m_text.GetLineCount();
    m_text.AddLine(m_block, ZTKTextBuffer::typeDefault);
    m_block.Empty();
    m_nLength = 0;
    return m_text.GetLineCount() != nCount;
  }

 private:
  static constexpr unsigned long kBlock = 64UL * 1024;

  bool Append(std::string_view text) {
    if (m_block.AllocatedSize() == 0 && !m_block.Alloc(2 * kBlock)) return false;
    const auto nCount = static_cast<unsigned long>(text.size());
    if (!ZTKStringBlocks::Append(m_block, m_nLength, text.data(), nCount)) return false;
    m_nLength += nCount;
    return true;
  }

  ZTKTextBuffer& m_text;
  const std::string_view m_lineEnd;
  ZTKString m_block;
  unsigned long m_nLength = 0;
};

// Calls `onLine` with the parts of each line. False when that is, and when memory runs out.
template <typename OnLine>
bool ForEachLine(const ZTKConfigTree& tree, OnLine onLine) {
  ZTKConfigWalk walk(tree);
  while (const ZTKFileConfigGroup* pGroup = walk.Next()) {
    if (!onLine({"[", walk.Path(), "]"})) return false;
    for (unsigned long i = 0; i < pGroup->GetEntryCount(); ++i) {
      const ZTKFileConfigEntry& entry = *pGroup->GetEntry(i);
      if (!onLine({ZTKConfigName(entry), "=", ZTKConfigValue(entry)})) return false;
    }
  }
  return !walk.RanOut();
}

}  // namespace

bool ZTKWriteConfig(ZTKConfigTree& tree, ZTKTextBuffer& text, uint64_t nMaxSize,
                    uint64_t& nSize) noexcept {
  constexpr uint64_t kMark = 3;
  const uint64_t nLineEnd = ZTKLineEndText(ZTKTextBuffer::typeDefault).size();
  nSize = kMark;
  const auto measure = [&](Parts parts) {
    for (const std::string_view part : parts) nSize += part.size();
    nSize += nLineEnd;
    return true;
  };
  text.Clear();
  if (!ForEachLine(tree, measure) || nSize > nMaxSize) return false;
  LineBlocks lines(text);
  return ForEachLine(tree, [&](Parts parts) { return lines.Add(parts); }) && lines.Finish();
}
