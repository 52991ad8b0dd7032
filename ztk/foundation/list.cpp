#include "ztk/foundation/list.h"

#include <cstdlib>
#include <new>

#include "ztk/foundation/internal/node_pool.h"
#include "ztk/foundation/internal/own_type.h"

#if defined(__SANITIZE_ADDRESS__)
#define ZTK_NODES_FROM_HEAP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZTK_NODES_FROM_HEAP 1
#endif
#endif

static_assert(sizeof(ZTKListBase::ZTKNodebase) == ZTKNodePool::kPiece);

namespace {

// The sanitizer knows what happens to a node only when it comes from the heap.
#ifdef ZTK_NODES_FROM_HEAP
void* AllocateMemory() { return std::malloc(ZTKNodePool::kPiece); }
void ReleaseMemory(void* p) { std::free(p); }
void ReleaseChain(ZTKListBase::ZTKNodebase* pFirst, std::size_t nNodes) {
  for (; nNodes > 0; --nNodes) {
    ZTKListBase::ZTKNodebase* const next = pFirst->GetNext();
    std::free(pFirst);
    pFirst = next;
  }
}
#else
void* AllocateMemory() { return ZTKNodePool::Allocate(); }
void ReleaseMemory(void* p) { ZTKNodePool::Release(p); }
void ReleaseChain(ZTKListBase::ZTKNodebase* pFirst, std::size_t nNodes) {
  ZTKNodePool::ReleaseChain(pFirst, nNodes);
}
#endif

constexpr std::size_t kClearBatch = 512;  // Still in the first level of the cache when released.

// Nodes of the class itself in a list of the class itself have nothing to destroy: clearing such a
// list skips three virtual calls a node. The row ListClear pays for it.
const ZTKOwnType s_plainList = [] {
  const ZTKListBase list;
  return ZTKOwnType(&list);
}();
const ZTKOwnType s_plainNode = [] {
  const ZTKListBase::ZTKNodebase node(nullptr, nullptr, nullptr);
  return ZTKOwnType(&node);
}();

}  // namespace

// NOLINTNEXTLINE(cert-dcl54-cpp,misc-new-delete-overloads): its partner takes the size.
void* ZTKListBase::ZTKNodebase::operator new(std::size_t nSize) noexcept {
  return nSize == ZTKNodePool::kPiece ? AllocateMemory() : std::malloc(nSize);
}

void ZTKListBase::ZTKNodebase::operator delete(void* p, std::size_t nSize) noexcept {
  if (nSize == ZTKNodePool::kPiece) {
    ReleaseMemory(p);
  } else {
    std::free(p);
  }
}

// NOLINTNEXTLINE(cert-dcl54-cpp,misc-new-delete-overloads): its partner takes the size.
void* ZTKListBase::ZTKNodebase::operator new(std::size_t nSize,
                                             std::align_val_t alignment) noexcept {
  return ::operator new(nSize, alignment, std::nothrow);
}

void ZTKListBase::ZTKNodebase::operator delete(void* p, std::size_t,
                                               std::align_val_t alignment) noexcept {
  ::operator delete(p, alignment);
}

ZTKListBase::ZTKNodebase::~ZTKNodebase() = default;

void ZTKListBase::ZTKNodebase::DeleteData() {}

ZTKListBase::~ZTKListBase() { Clear(); }

void ZTKListBase::DoAppendNode(ZTKNodebase* pNode) { Append(pNode ? pNode->m_pData : nullptr); }

ZTKListBase::ZTKNodebase* ZTKListBase::CreateNode(ZTKNodebase* pPrev, ZTKNodebase* pNext,
                                                  void* pData) {
  void* const room = AllocateMemory();
  return room ? new (room) ZTKNodebase(pPrev, pNext, pData) : nullptr;
}

int ZTKListBase::DoDeleteNode(ZTKNodebase* pNode) {
  if (!pNode) return 0;
  pNode->DeleteData();
  delete pNode;
  return 1;
}

bool ZTKListBase::DataEqual(ZTKNodebase* pNode, const void* pData) const {
  return (pNode ? pNode->m_pData : nullptr) == pData;
}

ZTKListBase& ZTKListBase::Init() noexcept {
  m_nCount = 0;
  m_bDetached = 0;
  m_pHead = nullptr;
  m_pTail = nullptr;
  return *this;
}

ZTKListBase::ZTKNodebase* ZTKListBase::Append(void* pData) {
  ZTKNodebase* const node = CreateNode(m_pTail, nullptr, pData);
  if (!node) return nullptr;
  m_pTail = node;
  if (!m_pHead) m_pHead = node;
  ++m_nCount;
  return node;
}

ZTKListBase::ZTKNodebase* ZTKListBase::Insert(ZTKNodebase* pBefore, void* pData) {
  ZTKNodebase* const next = pBefore ? pBefore : m_pHead;
  ZTKNodebase* const node = CreateNode(next ? next->m_pPrev : nullptr, next, pData);
  if (!node) return nullptr;
  if (!m_pTail) m_pTail = node;
  if (!node->m_pPrev) m_pHead = node;
  ++m_nCount;
  return node;
}

int ZTKListBase::DeleteNode(ZTKNodebase* pNode) {
  if (!pNode) return 0;
  // Select the slot to write instead of branching: the branch mispredicts.
  ZTKNodebase** const before = pNode->m_pPrev ? &pNode->m_pPrev->m_pNext : &m_pHead;
  ZTKNodebase** const after = pNode->m_pNext ? &pNode->m_pNext->m_pPrev : &m_pTail;
  *before = pNode->m_pNext;
  *after = pNode->m_pPrev;
  --m_nCount;
  return DoDeleteNode(pNode);
}

int ZTKListBase::DeleteObject(void* pData) { return DeleteNode(Find(pData)); }

ZTKListBase::ZTKNodebase* ZTKListBase::Find(const void* pData) const {
  for (ZTKNodebase* node = m_pHead; node; node = node->m_pNext) {
    if (DataEqual(node, pData)) return node;
  }
  return nullptr;
}

long ZTKListBase::IndexOf(void* pData) const {
  long index = -1;
  for (const ZTKNodebase* node = Find(pData); node; node = node->m_pPrev) ++index;
  return index;
}

ZTKListBase::ZTKNodebase* ZTKListBase::Item(unsigned long nIndex) const noexcept {
  if (nIndex > m_nCount) return nullptr;
  ZTKNodebase* node = m_pHead;
  for (; nIndex > 0 && node; --nIndex) node = node->m_pNext;
  return node;
}

void ZTKListBase::Clear() {
  ZTKNodebase* node = m_bDetached ? nullptr : m_pHead;
  const bool isPlain = s_plainList.IsTypeOf(this);
  while (node) {
    ZTKNodebase* next = node;
    std::size_t count = 0;
    for (; isPlain && next && count < kClearBatch && s_plainNode.IsTypeOf(next); ++count) {
      next = next->m_pNext;
    }
    if (count > 0) {
      ReleaseChain(node, count);
    } else {
      next = node->m_pNext;
      DoDeleteNode(node);
    }
    node = next;
  }
  Init();
}

void ZTKListBase::DoCopy(const ZTKListBase& other) {
  // The count of now: a list that is copied to itself grows while it is walked.
  ZTKNodebase* node = other.m_pHead;
  for (unsigned long left = other.m_nCount; left > 0 && node; --left) {
    DoAppendNode(node);
    node = node->m_pNext;
  }
}
