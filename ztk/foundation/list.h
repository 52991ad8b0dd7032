#pragma once

#include <cstddef>
#include <iterator>
#include <new>

#include "ztk/export.h"

/// A doubly linked list of untyped pointers, each held in a heap node of its own.
///
/// The list owns its nodes, never the elements: deleting a node deletes its element only through
/// the node's `DeleteData()`, which does nothing in the base class. A subclass chooses how nodes
/// are made, compared and deleted: nodes come from `CreateNode` and go through `DoDeleteNode`
/// alone. The base destructor clears the list when the overrides of a subclass are gone already, so
/// a subclass that overrides `DoDeleteNode` calls `Clear()` in its own destructor.
///
/// Positions count from 0 at the head. Appending, inserting and deleting a known node take constant
/// time and one allocation a node; `Find`, `IndexOf` and `Item` walk. Null nodes are refused with 0
/// or null; a node of another list must not be passed in. Deleting a node invalidates iterators
/// that stand on it, and no others. One thread at a time.
class ZTK_API ZTKListBase {
 public:
  /// A node: the element and its neighbours.
  class ZTK_API ZTKNodebase {
   public:
    /// Links both neighbours, where there are any, to this node.
    ZTKNodebase(ZTKNodebase* pPrev, ZTKNodebase* pNext, void* pData) noexcept
        : m_pData(pData), m_pNext(pNext), m_pPrev(pPrev) {
      if (pPrev) pPrev->m_pNext = this;
      if (pNext) pNext->m_pPrev = this;
    }
    virtual ~ZTKNodebase();

    // Nodes without more fields than these come from a pool, others from the C library's heap; all
    // are aligned as their type asks for. Null without memory.
    // NOLINTNEXTLINE(cert-dcl54-cpp,misc-new-delete-overloads): its partner takes the size.
    static void* operator new(std::size_t nSize) noexcept;
    static void* operator new(std::size_t nSize, const std::nothrow_t&) noexcept {
      return operator new(nSize);
    }
    static void* operator new(std::size_t, void* pMemory) noexcept { return pMemory; }
    static void operator delete(void* p, std::size_t nSize) noexcept;
    // For a subclass that asks for more than the usual alignment: from the heap.
    // NOLINTNEXTLINE(cert-dcl54-cpp,misc-new-delete-overloads): its partner takes the size.
    static void* operator new(std::size_t nSize, std::align_val_t alignment) noexcept;
    static void* operator new(std::size_t nSize, std::align_val_t alignment,
                              const std::nothrow_t&) noexcept {
      return operator new(nSize, alignment);
    }
    static void operator delete(void* p, std::size_t nSize, std::align_val_t alignment) noexcept;

    /// Releases the element. The base does nothing: the element belongs to someone else.
    virtual void DeleteData();
    ZTKNodebase(const ZTKNodebase&) = delete;
    ZTKNodebase& operator=(const ZTKNodebase&) = delete;

    void* GetData() const noexcept { return m_pData; }
    void SetData(void* pData) noexcept { m_pData = pData; }
    /// The neighbours; null at the tail and at the head.
    ZTKNodebase* GetNext() const noexcept { return m_pNext; }
    ZTKNodebase* GetPrev() const noexcept { return m_pPrev; }

   private:
    friend class ZTKListBase;
    friend struct ZTKListLayout;
    void* m_pData;
    ZTKNodebase* m_pNext;
    ZTKNodebase* m_pPrev;
  };

  /// Walks the elements from the head to the tail.
  class iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = void*;
    using difference_type = std::ptrdiff_t;
    using pointer = void* const*;
    using reference = void*;

    iterator() noexcept = default;
    explicit iterator(ZTKNodebase* pNode) noexcept : m_pNode(pNode) {}
    void* operator*() const noexcept { return m_pNode->GetData(); }
    ZTKNodebase* GetNode() const noexcept { return m_pNode; }
    iterator& operator++() noexcept {
      m_pNode = m_pNode->GetNext();
      return *this;
    }
    iterator operator++(int) noexcept {
      const iterator old = *this;
      ++*this;
      return old;
    }
    bool operator==(const iterator& other) const noexcept { return m_pNode == other.m_pNode; }
    bool operator!=(const iterator& other) const noexcept { return m_pNode != other.m_pNode; }

   private:
    ZTKNodebase* m_pNode = nullptr;
  };

  ZTKListBase() noexcept = default;
  virtual ~ZTKListBase();
  ZTKListBase(const ZTKListBase&) = delete;
  ZTKListBase& operator=(const ZTKListBase&) = delete;

  /// Appends a new node that holds `pNode`'s data (null for a null node). Copying calls it.
  virtual void DoAppendNode(ZTKNodebase* pNode);
  /// Makes a node between `pPrev` and `pNext`, which are linked to it. Null when out of memory.
  virtual ZTKNodebase* CreateNode(ZTKNodebase* pPrev, ZTKNodebase* pNext, void* pData);
  /// Releases the element through `DeleteData()`, destroys the node and returns 1; 0 for null.
  virtual int DoDeleteNode(ZTKNodebase* pNode);
  /// Whether the node holds `pData`. A null node counts as one that holds null.
  virtual bool DataEqual(ZTKNodebase* pNode, const void* pData) const;

  /// Forgets every node without deleting any, as if the list were new.
  ZTKListBase& Init() noexcept;

  /// Adds an element at the tail. Null, and nothing changed, when no node could be made.
  ZTKNodebase* Append(void* pData);
  /// Adds an element before `pBefore`; a null `pBefore` means at the front. Null, and nothing
  /// changed, when no node could be made.
  ZTKNodebase* Insert(ZTKNodebase* pBefore, void* pData);
  /// Unlinks the node and returns what `DoDeleteNode` makes of it; 0 for null.
  int DeleteNode(ZTKNodebase* pNode);
  /// Deletes the first node that holds `pData`; 0 when there is none.
  int DeleteObject(void* pData);

  /// The first node, from the head, that holds `pData`; null when there is none.
  ZTKNodebase* Find(const void* pData) const;
  /// The position of the first node that holds `pData`; -1 when there is none.
  long IndexOf(void* pData) const;
  /// The node at a position; null past the end.
  ZTKNodebase* Item(unsigned long nIndex) const noexcept;

  /// Deletes every node. A detached list forgets its nodes instead and is attached again.
  void Clear();
  /// Appends a copy of each of `other`'s elements; what is here stays. A list may be copied to
  /// itself, which doubles it.
  void DoCopy(const ZTKListBase& other);

  unsigned long GetCount() const noexcept { return m_nCount; }
  ZTKNodebase* GetFirst() const noexcept { return m_pHead; }
  ZTKNodebase* GetLast() const noexcept { return m_pTail; }

  iterator begin() const noexcept { return iterator(m_pHead); }
  iterator end() const noexcept { return iterator(); }

 protected:
  unsigned long m_nCount = 0;
  int m_bDetached = 0;  // Non-zero: the nodes belong to someone else, Clear() forgets them.
  ZTKNodebase* m_pHead = nullptr;
  ZTKNodebase* m_pTail = nullptr;

  friend struct ZTKListLayout;
};
