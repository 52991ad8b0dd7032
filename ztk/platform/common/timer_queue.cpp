#include "ztk/platform/common/timer_queue.h"

#include <algorithm>
#include <new>

namespace {

constexpr size_t kChildren = 4;

}  // namespace

ZTKEventLoopTimer ZTKTimerQueue::Add(const Timer& timer, std::int64_t nDue) noexcept {
  if (!ReserveOneMore()) return 0;

  const std::uint32_t slot = TakeSlot();
  m_slots[slot].timer = timer;
  m_heap.emplace_back();
  SiftUp(m_heap.size() - 1, Entry{nDue, ++m_lastSequence, slot});
  return NameOf(slot);
}

bool ZTKTimerQueue::Remove(ZTKEventLoopTimer name) noexcept {
  const auto slot = static_cast<std::uint32_t>(name & 0xFFFFFFFF);
  const auto generation = static_cast<std::uint32_t>(name >> 32);
  if (slot >= m_slots.size() || m_slots[slot].generation != generation) return false;
  if (generation % 2 == 0) return false;  // Free: the name was made up.

  Slot& removed = m_slots[slot];
  if ((removed.place & kDeferred) != 0) {
    const std::uint32_t place = removed.place & ~kDeferred;
    m_deferred[place] = m_deferred.back();
    m_slots[m_deferred[place].slot].place = place | kDeferred;
    m_deferred.pop_back();
  } else {
    RemoveAt(removed.place);
  }

  // A slot whose generations are used up is never used again, so that no name comes back.
  if (++removed.generation == 0) return true;
  removed.place = m_freeSlot;
  m_freeSlot = slot;
  return true;
}

void ZTKTimerQueue::PostponeNext(std::int64_t nDue) noexcept {
  Entry entry = m_heap.front();
  entry.due = nDue;
  SiftDown(0, entry);
}

void ZTKTimerQueue::DeferNext() noexcept {
  const Entry entry = m_heap.front();
  RemoveAt(0);
  m_slots[entry.slot].place = static_cast<std::uint32_t>(m_deferred.size()) | kDeferred;
  m_deferred.push_back(entry);  // Add() made room for every timer there is.
}

void ZTKTimerQueue::RequeueDeferred() noexcept {
  for (const Entry& entry : m_deferred) {
    m_heap.emplace_back();
    SiftUp(m_heap.size() - 1, entry);
  }
  m_deferred.clear();
}

std::int64_t ZTKTimerQueue::LastDueBefore(std::int64_t nLimit) const noexcept {
  // The second level of the heap is enough: what is not first in it is later than what is.
  constexpr size_t kLooked = 1 + kChildren + kChildren * kChildren;
  std::int64_t last = NextDue();
  const size_t end = std::min(kLooked, m_heap.size());
  for (size_t place = 1; place < end; ++place) {
    if (m_heap[place].due <= nLimit) last = std::max(last, m_heap[place].due);
  }
  return last;
}

// Room for one more timer everywhere, so that nothing behind Add() ever needs memory.
bool ZTKTimerQueue::ReserveOneMore() noexcept {
  const size_t needed = Count() + 1;
  if (needed > kMaxTimers) return false;
  if (needed <= m_heap.capacity() && needed <= m_deferred.capacity() &&
      (m_freeSlot != kNoSlot || m_slots.size() < m_slots.capacity())) {
    return true;
  }
  try {
    const size_t more = std::max<size_t>(needed + needed / 2, 16);
    if (needed > m_heap.capacity()) m_heap.reserve(more);
    if (needed > m_deferred.capacity()) m_deferred.reserve(more);
    if (m_freeSlot == kNoSlot) m_slots.reserve(m_slots.size() + more);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::uint32_t ZTKTimerQueue::TakeSlot() noexcept {
  std::uint32_t slot = m_freeSlot;
  if (slot != kNoSlot) {
    m_freeSlot = m_slots[slot].place;
  } else {
    slot = static_cast<std::uint32_t>(m_slots.size());
    m_slots.emplace_back();
  }
  ++m_slots[slot].generation;
  return slot;
}

void ZTKTimerQueue::Put(size_t place, const Entry& entry) noexcept {
  m_heap[place] = entry;
  m_slots[entry.slot].place = static_cast<std::uint32_t>(place);
}

void ZTKTimerQueue::SiftUp(size_t hole, const Entry& entry) noexcept {
  while (hole > 0) {
    const size_t parent = (hole - 1) / kChildren;
    if (!entry.Before(m_heap[parent])) break;
    Put(hole, m_heap[parent]);
    hole = parent;
  }
  Put(hole, entry);
}

void ZTKTimerQueue::SiftDown(size_t hole, const Entry& entry) noexcept {
  const size_t size = m_heap.size();
  for (size_t first = kChildren * hole + 1; first < size; first = kChildren * hole + 1) {
    size_t least = first;
    const size_t end = std::min(first + kChildren, size);
    for (size_t child = first + 1; child < end; ++child) {
      if (m_heap[child].Before(m_heap[least])) least = child;
    }
    if (!m_heap[least].Before(entry)) break;
    Put(hole, m_heap[least]);
    hole = least;
  }
  Put(hole, entry);
}

void ZTKTimerQueue::RemoveAt(size_t place) noexcept {
  const Entry moved = m_heap.back();
  m_heap.pop_back();
  if (place == m_heap.size()) return;

  // The last entry takes the place; it may belong above it as well as below.
  if (place > 0 && moved.Before(m_heap[(place - 1) / kChildren])) {
    SiftUp(place, moved);
  } else {
    SiftDown(place, moved);
  }
}
