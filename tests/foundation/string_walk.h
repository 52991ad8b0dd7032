#pragma once

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tests/foundation/literal_string.h"
#include "tests/foundation/string_support.h"
#include "tests/support/failing_allocator.h"
#include "ztk/foundation/internal/string_block.h"
#include "ztk/foundation/string.h"
#include "ztk/foundation/string_array.h"

/// A string, what it should be, and the places in its block that were handed out.
struct StringSlot {
  ZTKString* text;
  LiteralString model;
  std::vector<char*> kept;
};

/// A random sequence of operations on some strings: plain ones, one in a block that was attached
/// from outside, and elements of an array.
class StringWalk {
 public:
  explicit StringWalk(unsigned nSeed) : m_random(nSeed) {
    std::memset(m_storage, '#', sizeof m_storage);
    std::strcpy(m_storage, "attached from outside");
    ZTKStringBlocks::BorrowBlock(m_attached, m_storage, 21, kStorageSize);
    for (const char* text : {"an element", "another element of the array", ""})
      m_array.Add(text, 1);
    for (ZTKString& text : m_strings) m_slots.push_back({&text, {}, {}});
    m_slots.push_back({&m_attached, {}, {}});
    for (unsigned long i = 0; i < m_array.GetCount(); ++i) {
      m_slots.push_back({&m_array.Item(i), {}, {}});
    }
    for (StringSlot& slot : m_slots) Resync(slot);
  }

  /// One operation on one string, with allocations that fail now and then where they can.
  unsigned long Operation() const { return m_operation; }
  void Step() {
    StringSlot& slot = m_slots[Below(m_slots.size())];
    const bool mayFail = failing_allocator::Available() && Below(16) == 0;
    const long before = static_cast<long>(Below(3));
    const std::string oldText = slot.model.Text();
    const char* const oldBlock = slot.text->c_str();
    slot.model.hasFreshBlock = false;
    m_failsAfter = mayFail ? before : -1;
    m_failed = false;
    m_swapped = nullptr;
    Change(slot);
    if (slot.model.hasFreshBlock || slot.text->c_str() != oldBlock) {
      if (m_swapped == nullptr) slot.kept.clear();
    }
    if (m_failed) {
      // Done, not done, or empty.
      const std::string text = Std(*slot.text);
      EXPECT_TRUE(text == oldText || text == slot.model.Text() || text.empty()) << text;
      EXPECT_EQ(slot.text->Len(), text.size());
    } else {
      Compare(slot);
    }
    Resync(slot);
    if (m_swapped != nullptr) {
      Compare(*m_swapped);
      Resync(*m_swapped);
    }
    WriteThroughKept();
  }

 private:
  static constexpr unsigned long kStorageSize = 100;

  unsigned long Below(unsigned long n) { return m_random() % n; }
  char Character() { return "aabB c\t\xE9."[Below(10) % 9]; }
  std::string Text() {
    static constexpr unsigned long kLimits[] = {4, 12, 20, 40, 300, 3000};
    unsigned long limit = kLimits[Below(4)];
    if (Below(24) == 0) limit = kLimits[4 + Below(2)];
    std::string text(Below(limit), 'x');
    std::generate(text.begin(), text.end(), [this] { return Character(); });
    return text;
  }
  unsigned long Number(const StringSlot& slot) {
    return Below(12) == 0 ? kHuge - Below(3) : Below(slot.model.Len() + 3);
  }

  template <typename Operation>
  auto Do(Operation operation) {
    if (m_failsAfter < 0) return operation();
    struct Counted {
      explicit Counted(StringWalk& walk) : owner(walk), scope(walk.m_failsAfter, 1) {}
      ~Counted() { owner.m_failed = scope.Failed(); }
      StringWalk& owner;
      failing_allocator::Scope scope;
    } counted(*this);
    return operation();
  }

  void Keep(StringSlot& slot, char* p) {
    if (slot.kept.size() < 6) slot.kept.push_back(p);
  }

  void Change(StringSlot& slot);
  void ChangeStorage(StringSlot& slot, const std::string& text);
  void HandOut(StringSlot& slot);
  void Exchange(StringSlot& slot, StringSlot& other);
  void Compare(StringSlot& slot);
  void Look(StringSlot& slot);

  /// Sets the model to what the string is: the bytes behind the NUL are nobody's promise.
  static void Resync(StringSlot& slot) {
    LiteralString& model = slot.model;
    const ZTKString& text = *slot.text;
    model.allocated = text.AllocatedSize();
    model.dataLength = text.DataLength();
    model.hasBlock = model.allocated != 0;
    const std::string now = Std(text);
    const size_t size = std::max<size_t>(model.allocated, now.size() + 1);
    model.block.assign(model.hasBlock ? size : 0, '\0');
    if (model.hasBlock) std::memcpy(model.block.data(), text.c_str(), size);
  }

  void WriteThroughKept() {
    for (StringSlot& slot : m_slots) {
      if (slot.kept.empty() || Below(8) != 0) continue;
      char* const p = slot.kept[Below(slot.kept.size())];
      const size_t at = static_cast<size_t>(p - slot.text->c_str());
      // Behind the text there may be another character only in front of a further NUL.
      const char ch = Below(3) != 0 ? '\0' : Character();
      const auto& block = slot.model.block;
      if (at >= block.size() || (ch != '\0' && !std::count(&block[at] + 1, &block.back() + 1, 0))) {
        continue;
      }
      *p = ch;
      slot.model.block[at] = ch;
      Compare(slot);
    }
    if (Below(16) == 0 && m_attached.c_str() == m_storage) {
      m_storage[Below(kStorageSize - 1)] = '\0';
      Resync(m_slots[kAttached]);
      Compare(m_slots[kAttached]);
    }
  }

  static constexpr size_t kAttached = 4;

  std::minstd_rand m_random;
  char m_storage[kStorageSize + 1];
  ZTKString m_strings[kAttached];
  ZTKString m_attached;
  ZTKStringArray m_array;
  std::vector<StringSlot> m_slots;
  unsigned long m_operation = 0;  // For the message alone.
  long m_failsAfter = -1;
  bool m_failed = false;
  StringSlot* m_swapped = nullptr;
};
