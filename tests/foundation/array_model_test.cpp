#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/foundation/pointer_array_fixtures.h"
#include "tests/support/failing_allocator.h"
#include "ztk/foundation/arrays.h"

// Random sequences of operations beside models that do the described steps to the letter: every
// allocation is made anew and zeroed, every element is a string from plain `new`.

namespace {

/// ZTKPtrArr. The slots are the block; the model of an array without memory allocates nothing.
struct PointersModel {
  std::vector<void*> slots;
  unsigned long count = 0;
  bool hasMemory = true;

  unsigned long Capacity() const { return slots.size(); }

  bool Realloc(unsigned long n) {
    if (!hasMemory) return false;
    std::vector<void*> fresh(n, nullptr);
    std::copy_n(slots.begin(), count, fresh.begin());
    slots = fresh;
    return true;
  }
  void Alloc(unsigned long n) {
    if (Capacity() < n) slots.assign(hasMemory ? n : 0, nullptr);
    count = 0;
  }
  void Grow(unsigned long nAdd) {
    if (count != Capacity() && Capacity() - count >= nAdd) return;
    if (Capacity() == 0) {
      if (hasMemory) slots.assign(std::max(nAdd, 16ul), nullptr);
      return;
    }
    unsigned long step = Capacity() <= 15 ? 16 : Capacity() / 2;
    step = std::max(std::min(step, 2048ul), nAdd);
    Realloc(Capacity() + step);
  }
  void Add(void* p, unsigned long n) {
    if (n == 0) return;
    Grow(n);
    for (; n > 0 && count < Capacity(); --n) slots[count++] = p;
  }
  void Insert(void* p, unsigned long index) {
    if (index >= count) return Add(p, 1);
    Grow(1);
    if (count == Capacity()) return;
    for (unsigned long i = count; i > index; --i) slots[i] = slots[i - 1];
    slots[index] = p;
    ++count;
  }
  void RemoveAt(unsigned long index, unsigned long n) {
    if (index >= count || index + n > count) return;
    for (unsigned long i = index; i < index + n; ++i) slots[i] = nullptr;
    for (unsigned long i = index; i + n < count; ++i) slots[i] = slots[i + n];
    count -= n;
  }
  long Index(void* p, bool fromEnd) const {
    for (unsigned long i = 0; i < count; ++i) {
      const unsigned long at = fromEnd ? count - 1 - i : i;
      if (slots[at] == p) return static_cast<long>(at);
    }
    return -1;
  }
  void RemoveAll() {
    std::fill_n(slots.begin(), count, nullptr);
    count = 0;
  }
  void Clear() {
    slots.clear();
    count = 0;
  }
  void Shrink() {
    if (count < Capacity()) Realloc(count);
  }
  void DoCopy(const PointersModel& other) {
    if (count > 0) Clear();
    if (other.count == 0) return;
    Alloc(other.count);
    const bool hasBlock = Capacity() > 0;
    count = hasBlock ? other.count : 0;
    slots.resize(count);
    std::copy_n(other.slots.begin(), count, slots.begin());
  }
};

bool IsEqual(const ZTKPtrArr& array, const PointersModel& model) {
  return array.GetCount() == model.count && array.GetCapacity() == model.Capacity() &&
         std::equal(model.slots.begin(), model.slots.end(), array.GetItems());
}

/// Does one random operation to both; the same for equal states of `random`.
template <typename Array>
void Change(Array& array, const Array& other, std::mt19937 random, unsigned long count,
            unsigned long most) {
  const unsigned long index = random() % (count + 2);
  const unsigned long some = random() % (count / 2 + 3);
  void* const p = Pointer(random() % 20);
  switch (random() % 16) {
    case 0:
      return array.Add(p, some);
    case 1:
      return array.Add(p, count < most ? random() % most : 1);
    case 2:
    case 3:
      return array.Insert(p, index);
    case 4:
    case 5:
      return array.RemoveAt(index, some);
    case 6:
      return array.RemoveAt(array.Index(p, true) < 0 ? 0 : 1, 1);
    case 7:
      return array.RemoveAll();
    case 8:
      return array.Clear();
    case 9:
      return array.Alloc(some + random() % 3 * count);
    case 10:
      return (void)array.Realloc(std::max(count, 1ul));  // Often the capacity there is.
    case 11:
      return (void)array.Realloc(count + 1 + some);
    case 12:
      return array.Grow(random() % 2 * some);
    case 13:
      return array.Shrink();
    case 14:
      return array.DoCopy(other);
    default:
      return array.Add(p, 1);
  }
}

void RunPointers(unsigned seed, unsigned long most, int operations, bool failing) {
  std::mt19937 random(seed);
  ZTKPtrArr array, other;
  PointersModel model, otherModel;
  for (int i = 0; i < operations; ++i) {
    // What the operation chooses depends on the state alone, so both choose the same.
    const auto choice = random;
    random.discard(7);
    if (failing && random() % 3 == 0) {
      // A block that is large enough needs no memory, where a fresh one would: either will do.
      PointersModel failed = model;
      failed.hasMemory = false;
      Change(failed, otherModel, choice, failed.count, most);
      failed.hasMemory = true;
      PointersModel done = model;
      Change(done, otherModel, choice, done.count, most);
      {
        failing_allocator::Scope none(0);
        Change(array, other, choice, model.count, most);
      }
      model = IsEqual(array, failed) ? failed : done;
    } else {
      Change(array, other, choice, model.count, most);
      Change(model, otherModel, choice, model.count, most);
    }
    ASSERT_TRUE(IsEqual(array, model)) << "seed " << seed << ", operation " << i;
    if (random() % 8 == 0) {
      other = array;
      otherModel.RemoveAll();
      otherModel.DoCopy(model);
      ASSERT_TRUE(IsEqual(other, otherModel)) << "seed " << seed << ", copy at " << i;
    } else if (random() % 20 == 0) {
      other.Attach(array, 1);
      otherModel = std::move(model);
      model = PointersModel();
      ASSERT_TRUE(IsEqual(other, otherModel) && IsEqual(array, model)) << "seed " << seed;
    }
  }
}

/// ZTKStringArray: the pointers in a vector, since its capacity cannot be seen.
struct StringsModel {
  std::vector<std::unique_ptr<ZTKString>> strings;  // Null where the string was destroyed.

  static std::unique_ptr<ZTKString> Copy(const ZTKString& s) {
    return std::make_unique<ZTKString>(s);
  }
  ZTKString& Item(unsigned long i) {
    if (strings[i] == nullptr) strings[i] = Copy(ZTKString());
    return *strings[i];
  }
  void Add(const ZTKString& s, unsigned long n) {
    for (const ZTKString text(s); n > 0; --n) strings.push_back(Copy(text));
  }
  void Insert(const ZTKString& s, unsigned long index) {
    const auto at = static_cast<std::ptrdiff_t>(std::min<size_t>(index, strings.size()));
    strings.insert(strings.begin() + at, Copy(s));
  }
  void RemoveAt(unsigned long index, unsigned long n) {
    const size_t end = std::min<size_t>(index + n, strings.size());
    for (size_t i = index; i < end; ++i) strings[i] = nullptr;
    if (index >= strings.size() || index + n > strings.size()) return;
    const auto first = strings.begin() + static_cast<std::ptrdiff_t>(index);
    strings.erase(first, first + static_cast<std::ptrdiff_t>(n));
  }
  void Remove(const ZTKString& s) {
    for (unsigned long i = 0; i < strings.size(); ++i) {
      const ZTKString& element = strings[i] != nullptr ? *strings[i] : ZTKString();
      if (element == s) return RemoveAt(i, 1);
    }
  }
  void DoCopyArr(const StringsModel& other) {
    const size_t count = other.strings.size();
    for (size_t i = 0; i < count; ++i) {
      Add(other.strings[i] != nullptr ? *other.strings[i] : ZTKString(), 1);
    }
  }
  void Assign(const StringsModel& other) {
    if (&other == this) return;
    RemoveAt(0, strings.size());
    DoCopyArr(other);
  }
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // As the class it derives from.
struct PlainStrings : ZTKStringArray {};
struct DeletingStrings : ZTKStringArray {
  ~DeletingStrings() { RemoveAt(0, GetCount()); }
  void DataDelete(void* p) override { delete static_cast<ZTKString*>(p); }
};
#pragma GCC diagnostic pop

void Assign(ZTKStringArray& array, const ZTKStringArray& other) { array = other; }
void Assign(StringsModel& array, const StringsModel& other) { array.Assign(other); }

ZTKString RandomText(std::mt19937& random) {
  const unsigned long longest = random() % 20 == 0 ? 400 : 60;
  return ZTKString(static_cast<char>('a' + random() % 4), random() % longest);
}

/// Fills the block to its end.
void Fill(ZTKString& s) {
  if (s.Len() == 0) return;
  const unsigned long size = s.AllocatedSize();
  char* const block = &s[0];
  std::memset(block, 'f', size - 1);
  block[size - 1] = '\0';
}

void ChangeString(ZTKString& s, std::mt19937& random) {
  switch (random() % 9) {
    case 0:
      s += RandomText(random);
      break;
    case 1:
      s = RandomText(random);
      break;
    case 2:
      s += 'c';
      break;
    case 3:
      s.Shrink();
      break;
    case 4:
      s.Clear();
      break;
    case 5:
      s.Truncate(s.Len() / 2);
      break;
    case 6:
      s.Printf("%s-%d", s.Left(30).c_str(), 5);
      break;
    case 7:
      s.Replace("a", "bb", 1);
      break;
    default:
      Fill(s);
      break;
  }
}

template <typename Array>
void ChangeStrings(Array& array, const Array& other, std::mt19937 random, unsigned long count) {
  const unsigned long index = random() % (count + 2);
  const unsigned long some = random() % 6;
  const ZTKString text = RandomText(random);
  switch (random() % 12) {
    case 0:
      return array.Add(text, some);
    case 1:
    case 2:
      return array.Insert(text, index);
    case 3:
      return array.RemoveAt(index, some);
    case 4:
      return array.RemoveAt(index, 1), array.Insert(text, index);
    case 5:
      return array.Remove(text);
    case 6:
      if (count < 60) array.DoCopyArr(other);
      return;
    case 7:
      if (count < 60) array.DoCopyArr(array);
      return;
    case 8:
      if (random() % 8 == 0) Assign(array, other);
      return;
    default:
      if (index < count) ChangeString(array.Item(index), random);
      return;
  }
}

void ExpectEqual(const ZTKStringArray& array, const StringsModel& model) {
  const ZTKString empty;
  ASSERT_EQ(array.GetCount(), model.strings.size());
  for (unsigned long i = 0; i < array.GetCount(); ++i) {
    const ZTKString* const expected = model.strings[i] ? model.strings[i].get() : &empty;
    ASSERT_EQ(array.Item(i), *expected) << i;
    ASSERT_EQ(array.Item(i).AllocatedSize(), expected->AllocatedSize()) << i;
    ASSERT_EQ(array.Item(i).DataLength(), expected->DataLength()) << i;
  }
}

template <typename Array>
void RunStrings(unsigned seed, int operations) {
  std::mt19937 random(seed);
  Array array;
  ZTKStringArray other;
  StringsModel model, otherModel;
  for (int i = 0; i < operations; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << seed << ", operation " << i);
    const auto choice = random;
    random.discard(9);
    const unsigned long count = array.GetCount();
    ChangeStrings<ZTKStringArray>(array, other, choice, count);
    ChangeStrings(model, otherModel, choice, count);
    ASSERT_NO_FATAL_FAILURE(ExpectEqual(array, model));
    if (random() % 16 != 0) continue;
    other = array;
    otherModel.Assign(model);
    Array copy(array);
    ASSERT_NO_FATAL_FAILURE(ExpectEqual(copy, otherModel));
  }
}

/// With some allocations failing: every element is whole, the others are as they were.
template <typename Array>
void RunStringsWithoutMemory(unsigned seed) {
  std::mt19937 random(seed);
  Array array;
  StringsModel model;
  for (int i = 0; i < 300; ++i) {
    SCOPED_TRACE(testing::Message() << "seed " << seed << ", operation " << i);
    const ZTKString text = RandomText(random);
    const unsigned long index = random() % (model.strings.size() + 1);
    const unsigned long some = random() % 5;
    const bool isInsert = random() % 2 == 0;
    const bool isRemoval = random() % 3 == 0;
    unsigned long added;
    {
      failing_allocator::Scope scope(static_cast<long>(random() % 4), 1);
      const unsigned long before = array.GetCount();
      if (isRemoval) {
        array.RemoveAt(index, 1);
      } else if (isInsert) {
        array.Insert(text, index);
      } else {
        array.Add(text, some);
      }
      added = array.GetCount() - before;
      if (!isRemoval && !scope.Failed()) {
        ASSERT_EQ(added, isInsert ? 1 : some);
      }
    }
    if (isRemoval) {
      model.RemoveAt(index, 1);
    } else if (isInsert) {
      if (added == 1) model.Insert(text, index);
    } else {
      model.Add(text, added);
    }
    ASSERT_NO_FATAL_FAILURE(ExpectEqual(array, model));
  }
}

}  // namespace

TEST(ArrayModel, APointerArrayDoesWhatIsDescribed) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    ASSERT_NO_FATAL_FAILURE(RunPointers(seed, 60, 200, false));
  }
  for (unsigned seed = 0; seed < 20; ++seed) {
    ASSERT_NO_FATAL_FAILURE(RunPointers(seed, 6000, 200, false));
  }
}

TEST(ArrayModel, APointerArrayWithoutMemoryIsWholeOrUnchanged) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  for (unsigned seed = 0; seed < 300; ++seed) {
    ASSERT_NO_FATAL_FAILURE(RunPointers(seed, 60, 200, true));
  }
  for (unsigned seed = 0; seed < 20; ++seed) {
    ASSERT_NO_FATAL_FAILURE(RunPointers(seed, 6000, 200, true));
  }
}

TEST(ArrayModel, AStringArrayDoesWhatIsDescribed) {
  for (unsigned seed = 0; seed < 40; ++seed) {
    ASSERT_NO_FATAL_FAILURE(RunStrings<ZTKStringArray>(seed, 400));
    ASSERT_NO_FATAL_FAILURE(RunStrings<PlainStrings>(seed, 400));
  }
}

TEST(ArrayModel, AStringArrayThatDeletesItsElementsDoesWhatIsDescribed) {
  for (unsigned seed = 0; seed < 40; ++seed) {
    ASSERT_NO_FATAL_FAILURE(RunStrings<DeletingStrings>(seed, 400));
  }
}

TEST(ArrayModel, AStringArrayWithoutMemoryHoldsWholeStrings) {
  if (!failing_allocator::Available()) GTEST_SKIP() << "the sanitizer brings its own allocator";
  for (unsigned seed = 0; seed < 40; ++seed) {
    ASSERT_NO_FATAL_FAILURE(RunStringsWithoutMemory<ZTKStringArray>(seed));
    ASSERT_NO_FATAL_FAILURE(RunStringsWithoutMemory<DeletingStrings>(seed));
  }
}
