// From the text of a path to the names of groups: what "." and ".." mean.
#include "ztk/config/internal/config_path.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

#include "ztk/file/internal/path_text.h"
#include "ztk/foundation/internal/memory_watch.h"
#include "ztk/log/log.h"

namespace {

constexpr size_t kNone = std::string_view::npos;

// The characters of a path that are logged, more than the log takes. A file may hold a path of
// millions of ".." components, each of which is reported.
constexpr int kLogged = 4096;

/// One component of a path.
struct Token {
  std::string_view name;
  size_t nRank = 0;      // Its index among the names in ascending order, equal ones in the path's.
  size_t nPrevious = 0;  // The index of the kept token in front, plus 1; 0 in front of all.
  bool isKept = false;
};

/// One position in that order.
struct Ranked {
  size_t nToken = 0;
  size_t nFirst = 0;    // The position of the first token of that name.
  size_t nRemoved = 0;  // There: how many of the name have been taken away.
};

/// Writes the components of `path` to `text`, which has room for it, with one "/" between them. A
/// single "." and what follows it become one component. Gives the length.
size_t JoinSingleDots(std::string_view path, char* text) {
  size_t nLength = 0;
  size_t nStart = 0;  // Of the component that is being written.
  for (std::string_view rest = path;;) {
    const std::string_view piece = ZTKPopComponent(rest);
    if (piece.empty()) return nLength;
    const bool isDot = nLength - nStart == 1 && text[nStart] == '.';
    if (nLength != 0 && !isDot) {
      text[nLength++] = '/';
      nStart = nLength;
    }
    piece.copy(text + nLength, piece.size());
    nLength += piece.size();
  }
}

/// Takes components away as ".." says. The first one with the name of the last one goes, which a
/// search for each ".." would find in quadratic time. Instead the names are sorted once: those that
/// are equal stand side by side in the order of the path, and the first one that is still kept is
/// found by counting those that are gone.
class Resolver {
 public:
  bool Allocate(size_t nMax) {
    m_tokens.reset(new (std::nothrow) Token[nMax]);
    m_order.reset(new (std::nothrow) Ranked[nMax]);
    const bool isWhole = m_tokens && m_order;
    if (!isWhole) ZTKMemoryWatch::NoteFailure();
    return isWhole;
  }
  void Add(std::string_view name) { m_tokens[m_nCount++].name = name; }

  /// Calls `onExtra` for each ".." that has nothing to take away.
  template <typename OnExtra>
  void Run(OnExtra onExtra) {
    Rank();
    size_t nLast = 0;  // The index of the last token that is kept, plus 1.
    for (size_t i = 0; i < m_nCount; ++i) {
      Token& token = m_tokens[i];
      if (token.name == "..") {
        if (nLast == 0) {
          onExtra();
        } else {
          Remove(nLast);
        }
      } else {
        token.isKept = true;
        token.nPrevious = nLast;
        nLast = i + 1;
      }
    }
  }

  template <typename OnKept>
  void ForEachKept(OnKept onKept) const {
    for (size_t i = 0; i < m_nCount; ++i) {
      if (m_tokens[i].isKept) onKept(m_tokens[i].name);
    }
  }

 private:
  void Rank() {
    const Token* const pTokens = m_tokens.get();
    Ranked* const pOrder = m_order.get();
    size_t nNames = 0;
    for (size_t i = 0; i < m_nCount; ++i) {
      if (pTokens[i].name != "..") pOrder[nNames++].nToken = i;
    }
    if (nNames == m_nCount) return;  // There is nothing to take away.
    std::sort(pOrder, pOrder + nNames, [pTokens](const Ranked& a, const Ranked& b) {
      const int order = pTokens[a.nToken].name.compare(pTokens[b.nToken].name);
      return order != 0 ? order < 0 : a.nToken < b.nToken;
    });
    for (size_t i = 0; i < nNames; ++i) {
      Token& token = m_tokens[pOrder[i].nToken];
      token.nRank = i;
      const bool isNew = i == 0 || token.name != pTokens[pOrder[i - 1].nToken].name;
      pOrder[i].nFirst = isNew ? i : pOrder[i - 1].nFirst;
    }
  }

  // Takes away the first token with the name of the last one, and goes back to the last one kept.
  void Remove(size_t& nLast) {
    Ranked& first = m_order[m_order[m_tokens[nLast - 1].nRank].nFirst];
    m_tokens[m_order[first.nFirst + first.nRemoved++].nToken].isKept = false;
    while (nLast != 0 && !m_tokens[nLast - 1].isKept) nLast = m_tokens[nLast - 1].nPrevious;
  }

  std::unique_ptr<Token[]> m_tokens;
  std::unique_ptr<Ranked[]> m_order;
  size_t m_nCount = 0;
};

}  // namespace

bool ZTKHasDotComponent(std::string_view path) noexcept {
  for (size_t dot = path.find('.'); dot != kNone; dot = path.find('.', dot)) {
    const size_t start = dot;
    while (dot < path.size() && path[dot] == '.') ++dot;
    const bool isWhole =
        (start == 0 || path[start - 1] == '/') && (dot == path.size() || path[dot] == '/');
    if (isWhole && dot - start <= 2) return true;
  }
  return false;
}

void ZTKSplitGroupPath(ZTKStringArray& out, std::string_view path, bool bWarns) noexcept {
  // The path may be one of the strings of `out`.
  const std::unique_ptr<char[]> text(new (std::nothrow) char[path.size() + 1]);
  const std::unique_ptr<char[]> whole(bWarns ? new (std::nothrow) char[path.size() + 1] : nullptr);
  if (text == nullptr || (bWarns && whole == nullptr)) {
    ZTKMemoryWatch::NoteFailure();
    out.RemoveAt(0, out.GetCount());
    return;
  }
  if (bWarns) {
    path.copy(whole.get(), path.size());
    whole[path.size()] = '\0';
  }
  const std::string_view joined(text.get(), JoinSingleDots(path, text.get()));
  out.RemoveAt(0, out.GetCount());

  Resolver resolver;
  const auto nSlashes = static_cast<size_t>(std::count(joined.begin(), joined.end(), '/'));
  if (!resolver.Allocate(nSlashes + 1)) return;
  for (std::string_view rest = joined;;) {
    const std::string_view name = ZTKPopComponent(rest);
    if (name.empty()) break;
    if (name != ".") resolver.Add(name);  // At the end it waits for text that never comes.
  }
  resolver.Run([&] {
    if (bWarns) ZTKLogWarning("'%.*s' has extra '..', ignored.", kLogged, whole.get());
  });
  const ZTKMemoryWatch memory;
  resolver.ForEachKept([&](std::string_view name) { out.Add(ZTKString(name), 1); });
  if (memory.RanOut()) out.RemoveAt(0, out.GetCount());
}

std::string_view ZTKResolveGroup(std::string_view path, ZTKStringArray& resolved,
                                 bool bWarns) noexcept {
  const ZTKMemoryWatch memory;
  ZTKStringArray parts;
  ZTKSplitGroupPath(parts, path, bWarns);
  ZTKTextBuilder joined;
  for (const ZTKString& part : parts) {
    joined.Add('/');
    joined.Add(part.view());
  }
  const unsigned long nCount = resolved.GetCount();
  resolved.Add(joined.Take(), 1);
  return memory.RanOut() || resolved.GetCount() == nCount ? std::string_view()
                                                          : resolved.Item(nCount).view();
}
