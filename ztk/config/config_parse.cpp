#include "ztk/config/internal/config_parse.h"

#include <algorithm>
#include <memory>
#include <new>

#include "ztk/config/internal/config_path.h"
#include "ztk/config/internal/config_tree.h"
#include "ztk/file/internal/path_text.h"
#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/text/text_buffer.h"

namespace {

// The lines below a header, up to the next one.
struct Section {
  std::string_view group;  // The path that the header names.
  unsigned long nFirstLine;
  unsigned long nEndLine;
};

unsigned long CountHeaders(const ZTKTextBuffer& text) {
  unsigned long nHeaders = 0;
  std::string_view group;
  for (const ZTKString& line : text) nHeaders += ZTKParseHeader(line.view(), group) ? 1 : 0;
  return nHeaders;
}

// The order of the tree, in which a group comes before those inside it.
bool IsGroupBefore(const Section& a, const Section& b) {
  std::string_view restA = a.group;
  std::string_view restB = b.group;
  while (true) {
    const std::string_view partA = ZTKPopComponent(restA);
    const std::string_view partB = ZTKPopComponent(restB);
    if (partB.empty()) return false;
    if (partA.empty()) return true;
    const int order = partA.compare(partB);
    if (order != 0) return order < 0;
  }
}

void AppendEntries(ZTKFileConfigGroup& group, const ZTKTextBuffer& text, const Section& section,
                   bool& isSorted) {
  for (unsigned long i = section.nFirstLine; i < section.nEndLine; ++i) {
    std::string_view key;
    std::string_view value;
    if (ZTKParseEntry(text.GetLine(i).view(), key, value)) group.AppendEntry(key, value, isSorted);
  }
}

}  // namespace

std::string_view ZTKResolveHeader(std::string_view group, ZTKStringArray& resolved,
                                  bool bWarns) noexcept {
  if (!ZTKHasDotComponent(group)) return group;
  ZTKTextBuilder path;
  path.Add('/');
  path.Add(group);
  path.Add('/');
  return ZTKResolveGroup(path.Finish().view(), resolved, bWarns);
}

// Groups are added in the order of the tree and entries are sorted when all of a group's are there,
// so that no order of the file makes every insertion move half of what came before.
bool ZTKParseConfig(const ZTKTextBuffer& text, ZTKConfigTree& tree, bool bWarns) noexcept {
  const ZTKAllocationWatch memory;
  tree.m_index.Drop();
  ZTKFileConfigGroup* pOpen = &tree;
  bool isSorted = true;
  const auto finishOpen = [&] {
    if (!isSorted) pOpen->SortEntries();
    isSorted = true;
  };
  const auto add = [&](const Section& section) {
    ZTKFileConfigGroup* const pFound = tree.PutPath(section.group);
    ZTKFileConfigGroup* const pGroup = pFound != nullptr ? pFound : &tree;
    if (pGroup != pOpen) finishOpen();
    pOpen = pGroup;
    AppendEntries(*pGroup, text, section, isSorted);
  };

  const unsigned long nLines = text.GetLineCount();
  const std::unique_ptr<Section[]> sections(new (std::nothrow) Section[CountHeaders(text) + 1]);
  ZTKStringArray resolved;       // The headers that were rewritten.
  Section section = {"", 0, 0};  // What stands before the first header belongs to the root group.
  unsigned long nSections = 0;
  const auto close = [&](unsigned long nEndLine) {
    section.nEndLine = nEndLine;
    if (sections != nullptr) {
      sections[nSections++] = section;
    } else {
      add(section);  // Slower, perhaps, but no less correct.
    }
  };
  for (unsigned long i = 0; i < nLines; ++i) {
    std::string_view group;
    if (!ZTKParseHeader(text.GetLine(i).view(), group)) continue;
    close(i);
    section = {ZTKResolveHeader(group, resolved, bWarns), i + 1, i + 1};
  }
  close(nLines);

  if (sections != nullptr) {
    Section* const pEnd = sections.get() + nSections;
    if (!std::is_sorted(sections.get(), pEnd, IsGroupBefore)) {
      std::stable_sort(sections.get(), pEnd, IsGroupBefore);
    }
    std::for_each(sections.get(), pEnd, add);
  }
  finishOpen();
  return !memory.RanOut();
}
