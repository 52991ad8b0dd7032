// Where the memory of nodes comes from, and where it goes.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <thread>
#include <vector>

#include "tests/support/failing_allocator.h"
#include "tests/support/sanitizer.h"
#include "ztk/foundation/list.h"

namespace {

constexpr long kMiB = 1024L * 1024;
constexpr unsigned long kMany = 10'000'000;
constexpr long kMostLeft = 36 * kMiB;  // 32 MiB are kept for the next lists.

int element;

long ResidentBytes() {
  long size = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> size >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

void Fill(ZTKListBase& list, unsigned long nNodes) {
  for (unsigned long i = 0; i < nNodes; ++i) list.Append(&element);
}

class ListMemory : public testing::Test {
 protected:
  void SetUp() override {
    if (!failing_allocator::Available() || kThreadSanitizer) {
      GTEST_SKIP() << "the sanitizer brings its own allocator";
    }
    ZTKListBase warmUp;
    Fill(warmUp, 100);
    before = ResidentBytes();
  }

  long before = 0;
};

TEST_F(ListMemory, OfADestroyedListGoesBackToTheSystem) {
  {
    ZTKListBase list;
    Fill(list, kMany);
    ASSERT_EQ(list.GetCount(), kMany);
    ASSERT_GT(ResidentBytes() - before, 100 * kMiB);
  }
  EXPECT_LT(ResidentBytes() - before, kMostLeft);
}

TEST_F(ListMemory, OfNodesDeletedInAnyOrderGoesBackToTheSystem) {
  ZTKListBase list;
  Fill(list, kMany);
  for (const unsigned step : {7u, 3u, 2u, 1u}) {
    unsigned long i = 0;
    for (auto* node = list.GetFirst(); node; ++i) {
      auto* const next = node->GetNext();
      if (i % step == 0) list.DeleteNode(node);
      node = next;
    }
  }
  EXPECT_EQ(list.GetCount(), 0u);
  EXPECT_LT(ResidentBytes() - before, kMostLeft);
}

TEST_F(ListMemory, OfNodesThatAnotherThreadDeletesGoesBackToTheSystem) {
  for (int round = 0; round < 5; ++round) {
    ZTKListBase list;
    std::thread([&] { Fill(list, kMany / 5); }).join();
    std::thread([&] { list.Clear(); }).join();
  }
  EXPECT_LT(ResidentBytes() - before, kMostLeft);
}

TEST_F(ListMemory, OfNodesDeletedHereAndThereServesTheNextOnes) {
  constexpr unsigned long kNodes = 2'000'000;
  ZTKListBase list;
  Fill(list, kNodes);
  for (auto* node = list.GetFirst(); node;) {
    auto* const kept = node->GetNext();
    list.DeleteNode(node);
    node = kept ? kept->GetNext() : nullptr;
  }
  const long half = ResidentBytes();
  Fill(list, kNodes / 2);
  EXPECT_EQ(list.GetCount(), kNodes);
  EXPECT_LT(ResidentBytes() - half, 8 * kMiB);
}

TEST(ListMemoryAfterFork, ServesTheChildOfAProcessWithThreads) {
  // Its own locks stay held in the child.
  if (!failing_allocator::Available()) GTEST_SKIP() << "a sanitizer brings its own allocator";
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] {
      while (!stop) {
        ZTKListBase list;
        Fill(list, 5000);
      }
    });
  }
  int failures = 0;
  for (int i = 0; i < 100; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(60);  // Ends a child that waits for a thread that it does not have.
      ZTKListBase list;
      Fill(list, 5000);
      list.Clear();
      _exit(list.GetCount() == 0 ? 0 : 1);
    }
    int status = -1;
    if (child == -1 || waitpid(child, &status, 0) != child || status != 0) ++failures;
    if (failures > 0) break;
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

}  // namespace
