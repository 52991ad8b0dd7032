#include "ztk/foundation/list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <thread>
#include <type_traits>
#include <vector>

#include "tests/support/failing_allocator.h"

namespace {

using Node = ZTKListBase::ZTKNodebase;
using testing::ElementsAre;
using testing::IsEmpty;

int a, b, c, d;

std::vector<void*> Elements(const ZTKListBase& list) { return {list.begin(), list.end()}; }

// The elements from the tail, by the links the other way.
std::vector<void*> ElementsBackwards(const ZTKListBase& list) {
  std::vector<void*> found;
  for (Node* node = list.GetLast(); node; node = node->GetPrev()) found.push_back(node->GetData());
  return found;
}

void ExpectList(const ZTKListBase& list, std::vector<void*> expected) {
  EXPECT_EQ(Elements(list), expected);
  EXPECT_EQ(list.GetCount(), expected.size());
  std::reverse(expected.begin(), expected.end());
  EXPECT_EQ(ElementsBackwards(list), expected);
}

// Where an operation lies in the table of virtual operations.
template <class Operation>
size_t Slot(Operation operation) {
  std::uintptr_t word = 0;
  static_assert(sizeof operation >= sizeof word);
  std::memcpy(&word, &operation, sizeof word);
  return (word & ~std::uintptr_t{1}) / sizeof(void*);
}

// Counts what happens to the nodes it makes.
class CountingNode : public Node {
 public:
  CountingNode(Node* pPrev, Node* pNext, void* pData, std::vector<void*>& released)
      : Node(pPrev, pNext, pData), m_released(released) {}
  void DeleteData() override { m_released.push_back(GetData()); }

 private:
  std::vector<void*>& m_released;
};

class CountingList : public ZTKListBase {
 public:
  ~CountingList() override { Clear(); }
  Node* CreateNode(Node* pPrev, Node* pNext, void* pData) override {
    if (refuse) return nullptr;
    return new CountingNode(pPrev, pNext, pData, released);
  }
  void DoAppendNode(Node* pNode) override {
    ++appended;
    ZTKListBase::DoAppendNode(pNode);
  }
  int DoDeleteNode(Node* pNode) override {
    ++deleted;
    return ZTKListBase::DoDeleteNode(pNode);
  }
  void Detach() { m_bDetached = 1; }
  bool IsDetached() const { return m_bDetached != 0; }

  std::vector<void*> released;
  int appended = 0;
  int deleted = 0;
  bool refuse = false;
};

// Finds integers by their value.
class ValueList : public ZTKListBase {
 public:
  bool DataEqual(Node* pNode, const void* pData) const override {
    if (!pNode || !pNode->GetData() || !pData) return false;
    return *static_cast<const int*>(pNode->GetData()) == *static_cast<const int*>(pData);
  }
};

}  // namespace

TEST(ZTKListBase, IsEmptyAtFirst) {
  const ZTKListBase list;
  ExpectList(list, {});
  EXPECT_EQ(list.GetFirst(), nullptr);
  EXPECT_EQ(list.GetLast(), nullptr);
  EXPECT_EQ(list.Item(0), nullptr);
}

TEST(ZTKListBase, AppendsAtTheTailAndInsertsAtTheFront) {
  ZTKListBase list;
  EXPECT_EQ(list.Append(&a)->GetData(), &a);
  EXPECT_EQ(list.Append(&b)->GetData(), &b);
  EXPECT_EQ(list.Insert(nullptr, &c)->GetData(), &c);
  ExpectList(list, {&c, &a, &b});
  EXPECT_EQ(list.IndexOf(&b), 2);
  EXPECT_EQ(list.Item(0)->GetData(), &c);
  EXPECT_EQ(list.Item(2)->GetData(), &b);
  EXPECT_EQ(list.Item(3), nullptr);
  EXPECT_EQ(list.Item(4), nullptr);
  EXPECT_EQ(list.Item(~0ul), nullptr);
}

TEST(ZTKListBase, InsertsBeforeANode) {
  ZTKListBase list;
  Node* const first = list.Append(&a);
  Node* const last = list.Append(&b);
  EXPECT_EQ(list.Insert(first, &d)->GetData(), &d);
  ExpectList(list, {&d, &a, &b});
  list.Insert(last, &c);
  ExpectList(list, {&d, &a, &c, &b});
}

TEST(ZTKListBase, InsertIntoAnEmptyListSetsBothEnds) {
  ZTKListBase list;
  Node* const node = list.Insert(nullptr, &a);
  EXPECT_EQ(list.GetFirst(), node);
  EXPECT_EQ(list.GetLast(), node);
  ExpectList(list, {&a});
}

TEST(ZTKListBase, DeletesTheFirstMatchOnly) {
  ZTKListBase list;
  for (void* data : {&a, &b, &a}) list.Append(data);
  EXPECT_EQ(list.DeleteObject(&a), 1);
  ExpectList(list, {&b, &a});
  EXPECT_EQ(list.DeleteObject(&c), 0);
  ExpectList(list, {&b, &a});
}

TEST(ZTKListBase, DeletesANodeAtEveryPosition) {
  const std::vector<std::vector<void*>> remaining = {{&b, &c}, {&a, &c}, {&a, &b}};
  for (unsigned long position = 0; position < 3; ++position) {
    SCOPED_TRACE(position);
    ZTKListBase list;
    for (void* data : {&a, &b, &c}) list.Append(data);
    EXPECT_EQ(list.DeleteNode(list.Item(position)), 1);
    ExpectList(list, remaining[position]);
  }
}

TEST(ZTKListBase, DeletingTheOnlyNodeLeavesNothing) {
  ZTKListBase list;
  list.Append(&a);
  EXPECT_EQ(list.DeleteNode(list.GetFirst()), 1);
  EXPECT_EQ(list.GetFirst(), nullptr);
  EXPECT_EQ(list.GetLast(), nullptr);
  EXPECT_EQ(list.GetCount(), 0u);
  list.Append(&b);
  ExpectList(list, {&b});
}

TEST(ZTKListBase, RefusesANullNode) {
  ZTKListBase list;
  list.Append(&a);
  EXPECT_EQ(list.DeleteNode(nullptr), 0);
  EXPECT_EQ(list.DoDeleteNode(nullptr), 0);
  ExpectList(list, {&a});
}

TEST(ZTKListBase, FindsFromTheHead) {
  ZTKListBase list;
  for (void* data : {&a, &b, &a}) list.Append(data);
  EXPECT_EQ(list.Find(&a), list.Item(0));
  EXPECT_EQ(list.Find(&b), list.Item(1));
  EXPECT_EQ(list.Find(&c), nullptr);
  EXPECT_EQ(list.IndexOf(&a), 0);
  EXPECT_EQ(list.IndexOf(&c), -1);
}

TEST(ZTKListBase, FindsNullData) {
  ZTKListBase list;
  EXPECT_EQ(list.Find(nullptr), nullptr);
  list.Append(&a);
  list.Append(nullptr);
  list.Append(nullptr);
  EXPECT_EQ(list.Find(nullptr), list.Item(1));
  EXPECT_EQ(list.IndexOf(nullptr), 1);
}

TEST(ZTKListBase, ANullNodeCountsAsOneThatHoldsNull) {
  ZTKListBase list;
  EXPECT_TRUE(list.DataEqual(nullptr, nullptr));
  EXPECT_FALSE(list.DataEqual(nullptr, &a));
  list.DoAppendNode(nullptr);
  ExpectList(list, {nullptr});
}

TEST(ZTKListBase, ClearsAndCanBeFilledAgain) {
  ZTKListBase list;
  list.Append(&a);
  list.Append(&b);
  list.Clear();
  ExpectList(list, {});
  list.Clear();
  list.Append(&c);
  ExpectList(list, {&c});
}

TEST(ZTKListBase, CopyingAppends) {
  ZTKListBase source;
  for (void* data : {&a, &b, &c}) source.Append(data);
  ZTKListBase target;
  target.Append(&d);
  target.DoCopy(source);
  ExpectList(target, {&d, &a, &b, &c});
  ExpectList(source, {&a, &b, &c});
  target.DoCopy(ZTKListBase());
  EXPECT_EQ(target.GetCount(), 4u);
}

TEST(ZTKListBase, CopyingToItselfDoublesTheList) {
  ZTKListBase list;
  for (void* data : {&a, &b, &c}) list.Append(data);
  list.DoCopy(list);
  ExpectList(list, {&a, &b, &c, &a, &b, &c});
}

TEST(ZTKListBase, IsNotCopiedImplicitly) {
  EXPECT_FALSE(std::is_copy_constructible_v<ZTKListBase>);
  EXPECT_FALSE(std::is_copy_assignable_v<ZTKListBase>);
  EXPECT_FALSE(std::is_copy_constructible_v<Node>);
}

TEST(ZTKListBase, KeepsTheOrderOfItsVirtualOperations) {
  // The two entries of the destructor come first.
  EXPECT_EQ(Slot(&ZTKListBase::DoAppendNode), 2u);
  EXPECT_EQ(Slot(&ZTKListBase::CreateNode), 3u);
  EXPECT_EQ(Slot(&ZTKListBase::DoDeleteNode), 4u);
  EXPECT_EQ(Slot(&ZTKListBase::DataEqual), 5u);
  EXPECT_EQ(Slot(&Node::DeleteData), 2u);
}

TEST(ZTKListBase, EveryChangeGoesThroughTheHooks) {
  CountingList list;
  list.Append(&a);
  list.Insert(nullptr, &b);
  ZTKListBase source;
  source.Append(&c);
  list.DoCopy(source);
  EXPECT_EQ(list.appended, 1);
  list.DeleteObject(&a);
  EXPECT_EQ(list.deleted, 1);
  EXPECT_THAT(list.released, ElementsAre(&a));
  list.Clear();
  EXPECT_EQ(list.deleted, 3);
  EXPECT_THAT(list.released, ElementsAre(&a, &b, &c));
}

TEST(ZTKListBase, ASubclassDecidesWhatIsEqual) {
  int one = 1, two = 2, otherTwo = 2;
  ValueList list;
  list.Append(&one);
  list.Append(&two);
  EXPECT_EQ(list.IndexOf(&otherTwo), 1);
  EXPECT_EQ(list.DeleteObject(&otherTwo), 1);
  ExpectList(list, {&one});
}

TEST(ZTKListBase, ANodeThatCannotBeMadeChangesNothing) {
  CountingList list;
  list.refuse = true;
  EXPECT_EQ(list.Append(&a), nullptr);
  EXPECT_EQ(list.Insert(nullptr, &a), nullptr);
  ExpectList(list, {});
  list.refuse = false;
  Node* const node = list.Append(&b);
  list.refuse = true;
  EXPECT_EQ(list.Append(&a), nullptr);
  EXPECT_EQ(list.Insert(node, &a), nullptr);
  ExpectList(list, {&b});
}

TEST(ZTKListBase, OutOfMemoryChangesNothing) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  ZTKListBase list;
  unsigned long count = 1;
  list.Append(&a);
  {
    // What lists had before serves other nodes first.
    const failing_allocator::Scope scope(0);
    while (list.Append(&a)) ++count;
    EXPECT_EQ(list.Insert(list.GetFirst(), &b), nullptr);
    EXPECT_TRUE(scope.Failed());
  }
  EXPECT_EQ(list.GetCount(), count);
  EXPECT_EQ(list.GetLast()->GetData(), &a);
  EXPECT_EQ(list.GetLast()->GetNext(), nullptr);
  EXPECT_EQ(list.Find(&b), nullptr);
  EXPECT_NE(list.Append(&b), nullptr);
}

TEST(ZTKListBase, OutOfMemoryRefusesLargerNodesToo) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  CountingList list;
  {
    const failing_allocator::Scope scope(0);
    EXPECT_EQ(list.Append(&a), nullptr);
  }
  ExpectList(list, {});
}

TEST(ZTKListBase, DeletedNodesMakeRoomForOthers) {
  ZTKListBase list;
  for (int i = 0; i < 500; ++i) list.Append(&a);
  list.Clear();
  if (!failing_allocator::Available()) return;
  const failing_allocator::Scope scope(0);
  for (int i = 0; i < 500; ++i) ASSERT_NE(list.Append(&b), nullptr);
  EXPECT_EQ(list.GetCount(), 500u);
}

TEST(ZTKListBase, NodesOfOneThreadAreDeletedByAnother) {
  // Half of the threads fill lists, the others empty them. Those that end leave their memory to the
  // ones that come later.
  for (int round = 0; round < 4; ++round) {
    std::vector<ZTKListBase> lists(8);
    std::vector<std::thread> threads;
    for (int half = 0; half < 2; ++half) {
      for (size_t i = 0; i < lists.size(); ++i) {
        threads.emplace_back([&list = lists[i], i, half] {
          ZTKListBase own;
          if (half == 1) list.Clear();
          for (unsigned long n = 0; n < 9000 + 500 * i; ++n) {
            list.Append(&a);
            own.Append(&b);
            if (n % 3 == 0) own.DeleteNode(own.GetFirst());
          }
        });
      }
      for (std::thread& thread : threads) thread.join();
      threads.clear();
    }
    for (size_t i = 0; i < lists.size(); ++i) {
      EXPECT_EQ(lists[i].GetCount(), 9000 + 500 * i);
      EXPECT_EQ(std::count(lists[i].begin(), lists[i].end(), &a),
                9000 + 500 * static_cast<long>(i));
    }
  }
}

TEST(ZTKListBase, NodesAreMadeInEveryUsualWay) {
  delete new Node(nullptr, nullptr, &a);
  delete new (std::nothrow) Node(nullptr, nullptr, &a);
  alignas(Node) unsigned char memory[sizeof(Node)];
  Node* const node = new (memory) Node(nullptr, nullptr, &a);
  EXPECT_EQ(node->GetData(), &a);
  node->SetData(&b);
  EXPECT_EQ(node->GetData(), &b);
  node->~Node();
}

// A node as large as a plain one, and a larger one; both ask for more than the usual alignment.
struct alignas(2 * sizeof(Node)) AlignedNode : Node {
  using Node::Node;
};
struct alignas(256) WideNode : Node {
  using Node::Node;
  double values[4] = {1, 2, 3, 4};
};

template <class Made>
class ListOf : public ZTKListBase {
 public:
  ~ListOf() override { Clear(); }
  ZTKNodebase* CreateNode(ZTKNodebase* pPrev, ZTKNodebase* pNext, void* pData) override {
    return new (std::nothrow) Made(pPrev, pNext, pData);
  }
};

template <class Made>
void ExpectAlignedNodes() {
  ListOf<Made> list;
  for (int i = 0; i < 100; ++i) {
    Node* const node = list.Append(&a);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(node) % alignof(Made), 0u);
    if (i % 3 == 0) list.DeleteNode(list.GetFirst());
  }
  Node* const node = new Made(nullptr, nullptr, &b);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(node) % alignof(Made), 0u);
  delete node;
  if (!failing_allocator::Available()) return;
  const failing_allocator::Scope scope(0);
  EXPECT_EQ(list.Append(&b), nullptr);
}

TEST(ZTKListBase, NodesOfASubclassHaveTheAlignmentThatItAsksFor) {
  ExpectAlignedNodes<AlignedNode>();
  ExpectAlignedNodes<WideNode>();
}

TEST(ZTKListBase, ADetachedListForgetsItsNodes) {
  CountingList list;
  list.Append(&a);
  Node* const kept = list.GetFirst();
  list.Detach();
  list.Clear();
  ExpectList(list, {});
  EXPECT_FALSE(list.IsDetached());
  EXPECT_EQ(list.deleted, 0);
  EXPECT_EQ(kept->GetData(), &a);
  delete kept;
}

TEST(ZTKListBase, InitForgetsNodesAndTheDetachedFlag) {
  CountingList list;
  Node* const kept = list.Append(&a);
  list.Detach();
  EXPECT_EQ(&list.Init(), &list);
  ExpectList(list, {});
  EXPECT_FALSE(list.IsDetached());
  EXPECT_THAT(list.released, IsEmpty());
  delete kept;
}

TEST(ZTKListBase, WorksInARangeFor) {
  ZTKListBase list;
  for (void* data : {&a, &b}) list.Append(data);
  std::vector<void*> seen;
  for (void* data : list) seen.push_back(data);
  EXPECT_THAT(seen, ElementsAre(&a, &b));
  auto it = list.begin();
  EXPECT_EQ(*it++, &a);
  EXPECT_EQ(it.GetNode(), list.GetLast());
  EXPECT_EQ(std::count(list.begin(), list.end(), &b), 1);
}

TEST(ZTKListBase, AgreesWithAModel) {
  ZTKListBase list;
  std::vector<void*> model;
  std::uint32_t random = 1;
  std::vector<char> elements(8);
  for (int step = 0; step < 5000; ++step) {
    random = random * 1664525u + 1013904223u;
    const size_t size = model.size();
    const auto position = static_cast<long>(size == 0 ? 0 : (random >> 8) % size);
    void* const data = &elements[(random >> 20) % elements.size()];
    switch (size > 40 ? 3 : (random >> 28) % 5) {
      case 0:
        list.Append(data);
        model.push_back(data);
        break;
      case 1:
        list.Insert(list.Item(static_cast<unsigned long>(position)), data);
        model.insert(model.begin() + position, data);
        break;
      case 2: {
        const auto found = std::find(model.begin(), model.end(), data);
        EXPECT_EQ(list.IndexOf(data), found == model.end() ? -1 : found - model.begin());
        EXPECT_EQ(list.DeleteObject(data), found == model.end() ? 0 : 1);
        if (found != model.end()) model.erase(found);
        break;
      }
      default:
        if (size == 0) break;
        EXPECT_EQ(list.DeleteNode(list.Item(static_cast<unsigned long>(position))), 1);
        model.erase(model.begin() + position);
    }
    ExpectList(list, model);
    if (testing::Test::HasFailure()) FAIL() << "at step " << step;
  }
}
