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

  const std::uint32_t slot = TakeSlot();
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

  std::uint32_t place = m_places[slot];
  if ((place & kDeferred) != 0) {
    place &= ~kDeferred;
    m_deferred[place] = m_deferred.back();
    m_places[m_deferred[place].slot] = place | kDeferred;
    m_deferred.pop_back();
  } else {
    RemoveAt(place);
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
  m_places[entry.slot] = static_cast<std::uint32_t>(m_deferred.size()) | kDeferred;
  m_deferred.push_back(entry);  // Add() made room for every timer there is.
}

void ZTKTimerQueue::RequeueDeferred() noexcept {
  for (const Entry& entry : m_deferred) {
    m_heap.push_back(entry);
    SiftUp(m_heap.size() - 1);
  }
  m_deferred.clear();
}

std::int64_t ZTKTimerQueue::LastServableTime() const noexcept {
  // The first timer and the two levels below it. Looking at all that are due before the result
  // would be a scan; one that is missed here is still no later than the first timer's slack.
  constexpr size_t kLooked = 1 + kChildren + kChildren * kChildren;
  constexpr std::int64_t kEnd = std::numeric_limits<std::int64_t>::max();
  std::int64_t last = kEnd;
  const size_t end = std::min(kLooked, m_heap.size());
  for (size_t place = 0; place < end; ++place) {
    const Entry& entry = m_heap[place];
    if (entry.due < kEnd - entry.slack) last = std::min(last, entry.due + entry.slack);
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
    if (m_freeSlot == kNoSlot) {
      m_places.reserve(m_slots.size() + more);
      m_slots.reserve(m_slots.size() + more);
    }
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

std::uint32_t ZTKTimerQueue::TakeSlot() noexcept {
  std::uint32_t slot = m_freeSlot;
  if (slot != kNoSlot) {
    m_freeSlot = m_slots[slot].nextFree;
  } else {
    slot = static_cast<std::uint32_t>(m_slots.size());
    m_slots.emplace_back();
    m_places.emplace_back();
  }
  ++m_slots[slot].generation;
  return slot;
}

void ZTKTimerQueue::SiftUp(size_t place) noexcept {
  Entry* const heap = m_heap.data();
  std::uint32_t* const places = m_places.data();
  // Most new timers are due after most others and stay where they are.
  if (place > 0 && heap[place].Before(heap[(place - 1) / kChildren])) {
    const Entry entry = heap[place];
    do {
      const size_t parent = (place - 1) / kChildren;
      if (!entry.Before(heap[parent])) break;
      heap[place] = heap[parent];
      places[heap[place].slot] = static_cast<std::uint32_t>(place);
      place = parent;
    } while (place > 0);
    heap[place] = entry;
  }
  places[heap[place].slot] = static_cast<std::uint32_t>(place);
}

// Puts an entry into the hole, or wherever else it belongs.
void ZTKTimerQueue::SiftDown(size_t hole, const Entry& entry) noexcept {
  Entry* const heap = m_heap.data();
  std::uint32_t* const places = m_places.data();
  const size_t size = m_heap.size();
  // What is put at the top comes from the bottom, or goes there. So the hole goes down all the way
  // along the earliest children, which saves comparing with the entry, and the entry comes up.
  for (size_t first = kChildren * hole + 1; first < size; first = kChildren * hole + 1) {
    size_t least = first;
    const size_t end = std::min(first + kChildren, size);
    for (size_t child = first + 1; child < end; ++child) {
      least = heap[child].Before(heap[least]) ? child : least;
    }
    heap[hole] = heap[least];
    places[heap[hole].slot] = static_cast<std::uint32_t>(hole);
    hole = least;
  }
  heap[hole] = entry;
  SiftUp(hole);
}

void ZTKTimerQueue::RemoveAt(size_t place) noexcept {
  const Entry last = m_heap.back();
  m_heap.pop_back();
  if (place < m_heap.size()) SiftDown(place, last);  // It may belong above the place as well.
}
