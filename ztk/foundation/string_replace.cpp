#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "ztk/foundation/internal/allocation_watch.h"
#include "ztk/foundation/internal/string_block.h"
#include "ztk/foundation/string.h"

// Replacing one text by another. A match is never looked for in what was put in.

namespace {

/// One replacement: what to look for, what to put there, in how many places.
struct Task {
  const char* wanted;
  size_t wantedLength;
  const char* put;
  size_t putLength;
  bool all;

  const char* Next(const char* pRest) const noexcept {
    return all ? std::strstr(pRest, wanted) : nullptr;
  }
};

/// A growing result. Cut at the maximum length; after a failed allocation it stays empty.
class Result {
 public:
  explicit Result(size_t nCapacity) noexcept { Reserve(nCapacity); }
  ~Result() { std::free(m_data); }
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;

  bool Fits(size_t nCount) const noexcept { return nCount <= ZTKString::kMaxLength - m_length; }

  void Add(const char* pText, size_t nCount) noexcept {
    nCount = std::min<size_t>(nCount, ZTKString::kMaxLength - m_length);
    if (nCount >= m_capacity - m_length) Reserve(m_length + nCount + m_capacity / 2);
    if (m_data == nullptr) return;
    std::memcpy(m_data + m_length, pText, nCount);
    m_length += nCount;
  }

  /// Gives the text to the string as an assignment would: into its own block where that is large
  /// enough, else in a block by the rule.
  bool AssignTo(ZTKString& text) noexcept {
    if (m_data == nullptr) return false;
    m_data[m_length] = '\0';
    const auto length = static_cast<unsigned long>(m_length);
    if (text.AllocatedSize() > length) {
      ZTKStringBlocks::Assign(text, m_data, length, true);
      return true;
    }
    const unsigned long size = ZTKStringBlocks::BlockSize(length);
    auto* block = static_cast<char*>(std::realloc(m_data, size));
    if (block == nullptr) {
      ZTKAllocationWatch::NoteFailure();
      return false;
    }
    m_data = nullptr;
    ZTKStringBlocks::AdoptBlock(text, block, length, size, true);
    return true;
  }

 private:
  void Reserve(size_t nCapacity) noexcept {
    nCapacity = std::min<size_t>(nCapacity + 1, ZTKString::kMaxBlock);
    auto* data = m_hasFailed ? nullptr : static_cast<char*>(std::realloc(m_data, nCapacity));
    if (data == nullptr) {
      ZTKAllocationWatch::NoteFailure();
      std::free(m_data);
      m_hasFailed = true;
    }
    m_data = data;
    m_capacity = nCapacity;
  }

  char* m_data = nullptr;
  size_t m_length = 0;
  size_t m_capacity = 0;
  bool m_hasFailed = false;  // An allocation.
};

/// The text does not grow: it is compacted inside its block. `length` becomes the new length.
unsigned long ReplaceInPlace(char* pText, const char* pFound, const Task& task,
                             size_t& length) noexcept {
  unsigned long count = 0;
  char* target = pText + (pFound - pText);
  for (;;) {
    const char* rest = pFound + task.wantedLength;
    pFound = task.Next(rest);
    std::memcpy(target, task.put, task.putLength);
    target += task.putLength;
    ++count;
    const size_t kept = pFound != nullptr ? static_cast<size_t>(pFound - rest) : std::strlen(rest);
    if (target != rest) std::memmove(target, rest, kept);
    target += kept;
    if (pFound == nullptr) break;
  }
  *target = '\0';
  length = static_cast<size_t>(target - pText);
  return count;
}

/// The text grows: it is built anew. 0, and nothing changed, when the text before a match would
/// pass the maximum length or an allocation fails.
unsigned long ReplaceAside(ZTKString& text, const char* pFound, const Task& task) noexcept {
  const char* rest = text.c_str();
  const size_t oldLength = text.Len();
  Result result(oldLength + oldLength / 4 + task.putLength);
  unsigned long count = 0;
  while (pFound != nullptr) {
    const auto before = static_cast<size_t>(pFound - rest);
    if (!result.Fits(before)) return 0;
    result.Add(rest, before);
    result.Add(task.put, task.putLength);
    ++count;
    rest = pFound + task.wantedLength;
    pFound = task.Next(rest);
  }
  result.Add(rest, std::strlen(rest));
  return result.AssignTo(text) ? count : 0;
}

}  // namespace

unsigned long ZTKString::Replace(const char* pszOld, const char* pszNew, int bReplaceAll) noexcept {
  if (pszOld == nullptr || *pszOld == '\0' || pszNew == nullptr || m_pBuffer == nullptr) return 0;
  const char* found = std::strstr(m_pBuffer, pszOld);
  if (found == nullptr) return 0;

  if (ZTKStringBlocks::Contains(*this, pszOld) || ZTKStringBlocks::Contains(*this, pszNew)) {
    const ZTKString wanted(pszOld);
    const ZTKString put(pszNew);
    const bool isCopied = *wanted.c_str() != '\0' && *put.c_str() == *pszNew;
    return isCopied ? Replace(wanted.c_str(), put.c_str(), bReplaceAll) : 0;
  }

  const Task task = {pszOld, std::strlen(pszOld), pszNew, std::strlen(pszNew), bReplaceAll != 0};
  if (task.putLength > task.wantedLength) return ReplaceAside(*this, found, task);

  const bool isSame = std::strcmp(pszOld, pszNew) == 0;
  size_t length = 0;
  const unsigned long count = ReplaceInPlace(m_pBuffer, found, task, length);
  if (isSame) return count;  // Assigning an equal text would change nothing, the hint included.
  const uint32_t writable = ZTKStringBlocks::WritableMark(*this);
  ZTKStringBlocks::Record(*this, static_cast<unsigned long>(length));
  // Only after a `Shrink` does the block look too small for a text as long as the old one. Without
  // memory for another it stays: the text is complete.
  if (AllocatedSize() > length) return count;
  const unsigned long size = ZTKStringBlocks::BlockSize(static_cast<unsigned long>(length));
  const auto oldPlace = reinterpret_cast<uintptr_t>(m_pBuffer);
  auto* block = static_cast<char*>(std::realloc(m_pBuffer, size));
  if (block == nullptr) return count;
  m_pBuffer = block;
  const bool hasMoved = reinterpret_cast<uintptr_t>(block) != oldPlace;
  m_nAllocated = ZTKStringBlocks::Field(size, hasMoved ? 0 : writable);
  ZTKStringBlocks::Record(*this, static_cast<unsigned long>(length));
  return count;
}
