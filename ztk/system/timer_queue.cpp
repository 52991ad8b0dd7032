#include "ztk/system/internal/timer_queue.h"

#include <algorithm>
#include <limits>
#include <new>

namespace {

constexpr size_t kChildren = 4;

}  // namespace

ZTKEventLoopTimer ZTKTimerQueue::Add(const Timer& timer, std::int64_t nDue,
                                     std::uint32_t nSlack) noexcept {
  if (!ReserveOneMore()) return 0;

  const std::uint32_t slot = AllocateSlot();
  m_slots[slot].timer = timer;
  m_heap.push_back({nDue, ++m_lastSequence, slot, nSlack});
  SiftUp(m_heap.size() - 1);
  return NameOf(slot);
}

bool ZTKTimerQueue::Remove(ZTKEventLoopTimer name) noexcept {
  const auto slot = static_cast<std::uint32_t>(name & 0xFFFFFFFF);
  const auto generation = static_cast<std::uint32_t>(name >> 32);
  if (slot >= m_slots.size() || m_slots[slot].generation != generation) return false;
  if (generation % 2 == 0) return false;  // Free: the name was made up.

  std::uint32_t position = m_positions[slot];
  if ((position & kDeferred) != 0) {
    position &= ~kDeferred;
    m_deferred[position] = m_deferred.back();
    m_positions[m_deferred[position].slot] = position | kDeferred;
    m_deferred.pop_back();
  } else {
    RemoveAt(position);
  }

  // A slot whose generations are used up is never used again, so that no name comes back.
  Slot& removed = m_slots[slot];
  if (++removed.generation == 0) return true;
  removed.nextFree = m_freeSlot;
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
  m_positions[entry.slot] = static_cast<std::uint32_t>(m_deferred.size()) | kDeferred;
  m_deferred.push_back(entry);  // Add() made room for every timer there is.
}

void ZTKTimerQueue::RequeueDeferred() noexcept {
  for (const Entry& entry : m_deferred) {
    m_heap.push_back(entry);
    SiftUp(m_heap.size() - 1);
  }
  m_deferred.clear();
}

std::int64_t ZTKTimerQueue::NextDeadline() const noexcept {
  // The first timer and the two levels below it: looking at all that are due before the result
  // would be a scan. One that is missed here is late by no more than the first timer's slack.
  constexpr size_t kExamined = 1 + kChildren + kChildren * kChildren;
  constexpr std::int64_t kEnd = std::numeric_limits<std::int64_t>::max();
  std::int64_t earliest = kEnd;
  const size_t end = std::min(kExamined, m_heap.size());
  for (size_t position = 0; position < end; ++position) {
    const Entry& entry = m_heap[position];
    if (entry.due < kEnd - entry.slack) earliest = std::min(earliest, entry.due + entry.slack);
  }
  return earliest;
}

// Room for one more timer everywhere, so that only Add() ever allocates.
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
    if (m_freeSlot == kNoSlot) {
      m_positions.reserve(m_slots.size() + more);
      m_slots.reserve(m_slots.size() + more);
    }
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::uint32_t ZTKTimerQueue::AllocateSlot() noexcept {
  std::uint32_t slot = m_freeSlot;
  if (slot != kNoSlot) {
    m_freeSlot = m_slots[slot].nextFree;
  } else {
    slot = static_cast<std::uint32_t>(m_slots.size());
    m_slots.emplace_back();
    m_positions.emplace_back();
  }
  ++m_slots[slot].generation;
  return slot;
}

void ZTKTimerQueue::SiftUp(size_t position) noexcept {
  Entry* const heap = m_heap.data();
  std::uint32_t* const positions = m_positions.data();
  // Most new timers are due after most others and stay where they are.
  if (position > 0 && heap[position].Before(heap[(position - 1) / kChildren])) {
    const Entry entry = heap[position];
    do {
      const size_t parent = (position - 1) / kChildren;
      if (!entry.Before(heap[parent])) break;
      heap[position] = heap[parent];
      positions[heap[position].slot] = static_cast<std::uint32_t>(position);
      position = parent;
    } while (position > 0);
    heap[position] = entry;
  }
  positions[heap[position].slot] = static_cast<std::uint32_t>(position);
}

// Fills the hole, and puts the entry where it belongs.
void ZTKTimerQueue::SiftDown(size_t hole, const Entry& entry) noexcept {
  Entry* const heap = m_heap.data();
  std::uint32_t* const positions = m_positions.data();
  const size_t size = m_heap.size();
  // Bottom-up: the entry comes from a leaf or belongs near one. So the hole sinks to a leaf along
  // the earliest children, without comparing with the entry, which is then sifted up.
  for (size_t first = kChildren * hole + 1; first < size; first = kChildren * hole + 1) {
    size_t least = first;
    const size_t end = std::min(first + kChildren, size);
    for (size_t child = first + 1; child < end; ++child) {
      least = heap[child].Before(heap[least]) ? child : least;
    }
    heap[hole] = heap[least];
    positions[heap[hole].slot] = static_cast<std::uint32_t>(hole);
    hole = least;
  }
  heap[hole] = entry;
  SiftUp(hole);
}

void ZTKTimerQueue::RemoveAt(size_t position) noexcept {
  const Entry last = m_heap.back();
  m_heap.pop_back();
  if (position < m_heap.size()) SiftDown(position, last);  // It may also move up.
}
