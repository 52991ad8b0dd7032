// Clearing a list skips the hooks of nodes that have nothing to release. It is compared here with
// its described steps, taken one by one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "ztk/foundation/list.h"

namespace {

using Node = ZTKListBase::ZTKNodebase;

// What the nodes of one list were asked to do, in order.
struct Event {
  char what;
  const void* data;
  bool operator==(const Event& other) const { return what == other.what && data == other.data; }
};
std::vector<Event>* g_events = nullptr;

// As large as a plain node, and from the same memory.
class LoudNode : public Node {
 public:
  using Node::Node;
  ~LoudNode() override { g_events->push_back({'~', GetData()}); }
  void DeleteData() override { g_events->push_back({'d', GetData()}); }
};

class LargeNode : public LoudNode {
 public:
  using LoudNode::LoudNode;
  std::uintptr_t more[3] = {};
};

// Makes nodes of three kinds. The base destructor clears what is left of it.
class MixedList : public ZTKListBase {
 public:
  MixedList(unsigned nSeed, unsigned nPlainOfTen) : m_random(nSeed), m_plain(nPlainOfTen) {}
  Node* CreateNode(Node* pPrev, Node* pNext, void* pData) override {
    const auto kind = m_random();
    if (kind % 10 < m_plain) return ZTKListBase::CreateNode(pPrev, pNext, pData);
    if (kind % 16 < 8) return new (std::nothrow) LoudNode(pPrev, pNext, pData);
    return new (std::nothrow) LargeNode(pPrev, pNext, pData);
  }

 private:
  std::mt19937 m_random;
  unsigned m_plain;
};

void* Element(std::uintptr_t i) { return reinterpret_cast<void*>(i * 8 + 8); }

void Fill(ZTKListBase& list, unsigned long nNodes) {
  for (unsigned long i = 0; i < nNodes; ++i) list.Append(Element(i));
}

void ClearByTheDescribedSteps(ZTKListBase& list) {
  for (Node* node = list.GetFirst(); node;) {
    Node* const next = node->GetNext();
    list.DoDeleteNode(node);
    node = next;
  }
  list.Init();
}

// Sizes around what is released at once, and beyond a slab.
constexpr unsigned long kSizes[] = {0, 1, 2, 3, 511, 512, 513, 1023, 1024, 1025, 40'000, 70'000};

TEST(ListClear, ReleasesWhatTheDescribedStepsDo) {
  for (const unsigned long size : kSizes) {
    for (const unsigned plain : {0u, 1u, 5u, 9u, 10u}) {
      SCOPED_TRACE(testing::Message() << size << " nodes, " << plain << " of 10 plain");
      std::vector<Event> expected, cleared, destroyed;
      {
        MixedList list(7, plain);
        Fill(list, size);
        g_events = &expected;
        ClearByTheDescribedSteps(list);
      }
      MixedList list(7, plain);
      Fill(list, size);
      g_events = &cleared;
      list.Clear();
      EXPECT_EQ(list.GetCount(), 0u);
      EXPECT_EQ(list.GetFirst(), nullptr);
      EXPECT_EQ(list.GetLast(), nullptr);
      {
        MixedList other(7, plain);
        Fill(other, size);
        g_events = &destroyed;
      }
      g_events = nullptr;
      EXPECT_EQ(cleared, expected);
      EXPECT_EQ(destroyed, expected);
    }
  }
}

TEST(ListClear, CallsAnOverriddenHookForEveryPlainNode) {
  class Counting : public ZTKListBase {
   public:
    ~Counting() override { Clear(); }
    int DoDeleteNode(Node* pNode) override {
      ++deleted;
      return ZTKListBase::DoDeleteNode(pNode);
    }
    unsigned long deleted = 0;
  };
  Counting list;
  Fill(list, 2000);
  list.Clear();
  EXPECT_EQ(list.deleted, 2000u);
}

// Lists whose nodes share memory with those of all others, beside models of them.
class Lists {
 public:
  explicit Lists(unsigned nSeed) : m_random(nSeed), m_lists(8), m_models(8) {
    for (auto& list : m_lists) list = std::make_unique<ZTKListBase>();
  }
  // Some random changes; false when a list differs from its model.
  bool Change(int nSteps) {
    for (int step = 0; step < nSteps; ++step) {
      const size_t i = m_random() % m_lists.size();
      ZTKListBase& list = *m_lists[i];
      auto& model = m_models[i];
      switch (m_random() % 6) {
        case 0:
          list.Clear();
          model.clear();
          break;
        case 1:
          for (auto left = m_random() % 700; left > 0 && !model.empty(); --left) {
            list.DeleteNode(list.GetFirst());
            model.erase(model.begin());
          }
          break;
        case 2:  // In any order.
          for (Node* node = list.GetFirst(); node;) {
            Node* const next = node->GetNext();
            if (m_random() % 2 == 0) {
              model.erase(std::find(model.begin(), model.end(), node->GetData()));
              list.DeleteNode(node);
            }
            node = next;
          }
          break;
        default:
          for (auto left = m_random() % 900; left > 0; --left) {
            void* const element = Element(++m_next);
            if (list.Append(element)) model.push_back(element);
          }
      }
      if (!std::equal(list.begin(), list.end(), model.begin(), model.end())) return false;
      if (list.GetCount() != model.size()) return false;
    }
    return true;
  }

 private:
  std::mt19937 m_random;
  std::uintptr_t m_next = 0;
  std::vector<std::unique_ptr<ZTKListBase>> m_lists;
  std::vector<std::vector<void*>> m_models;
};

TEST(ListClear, ListsOfManyThreadsAgreeWithModels) {
  // Each round another thread goes on with the lists: it deletes what others have made.
  std::vector<Lists> lists;
  for (unsigned i = 0; i < 4; ++i) lists.emplace_back(i);
  for (size_t round = 0; round < 6; ++round) {
    std::vector<char> right(lists.size());
    std::vector<std::thread> threads;
    for (size_t i = 0; i < lists.size(); ++i) {
      threads.emplace_back([&, i] { right[i] = lists[i].Change(60) ? 1 : 0; });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(std::count(right.begin(), right.end(), 0), 0);
  }
}

TEST(ListClear, ListsAgreeWithModelsWhenMemoryRunsOut) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  bool failed = false;
  for (const unsigned long size : {30'000ul, 40'000ul, 2'000'000ul}) {
    ZTKListBase list;
    {
      const failing_allocator::Scope scope(0);
      Fill(list, size);
      failed = failed || scope.Failed();
    }
    std::uintptr_t i = 0;
    for (const void* element : list) {
      ASSERT_LT(i, size);
      if (element != Element(i)) i = size;  // Behind the first that could not be made.
      ++i;
    }
    EXPECT_EQ(i, list.GetCount());
    list.Clear();
    Fill(list, size);
    EXPECT_EQ(list.GetCount(), size);
  }
  EXPECT_TRUE(failed);
}

}  // namespace
