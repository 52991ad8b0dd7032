#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ztk/system/event_loop.h"

/// The timers of an event loop in the order of their expiries: a four-ary heap. The position of
/// each timer's entry is kept, so that any timer is removed in logarithmic time.
///
/// A timer is named by its slot and the slot's generation, so that the name of a removed timer
/// never names its successor in the same slot. Memory grows to what the largest number of timers
/// needed and stays.
class ZTKTimerQueue {
 public:
  /// What the loop needs to know in order to fire a timer.
  struct Timer {
    ZTKEventLoopCallback callback;
    void* userData;
    std::int64_t interval;
    std::uint64_t round;  // The dispatch in which it was installed or fired last.
  };

  /// The slack, in nanoseconds, is how late the timer may be served together with others. 0 when
  /// out of memory.
  ZTKEventLoopTimer Add(const Timer& timer, std::int64_t nDue, std::uint32_t nSlack) noexcept;
  bool Remove(ZTKEventLoopTimer name) noexcept;

  /// Counts the deferred timers too.
  size_t Count() const noexcept { return m_heap.size() + m_deferred.size(); }

  /// The rest is about the timers in the heap: whether there is one, and the first.
  bool HasNext() const noexcept { return !m_heap.empty(); }
  std::int64_t NextDue() const noexcept { return m_heap.front().due; }
  Timer& Next() noexcept { return m_slots[m_heap.front().slot].timer; }
  ZTKEventLoopTimer NextName() const noexcept { return NameOf(m_heap.front().slot); }
  /// Gives the first timer a later expiry.
  void PostponeNext(std::int64_t nDue) noexcept;
  /// Keeps the first timer out of the heap until `RequeueDeferred`.
  void DeferNext() noexcept;
  void RequeueDeferred() noexcept;

  /// The earliest deadline, expiry plus slack, of the timers that are due first.
  std::int64_t NextDeadline() const noexcept;

 private:
  struct Entry {
    std::int64_t due;
    std::uint64_t sequence;  // The order of installation.
    std::uint32_t slot;
    std::uint32_t slack;

    bool Before(const Entry& other) const noexcept {
      return due != other.due ? due < other.due : sequence < other.sequence;
    }
  };
  struct Slot {
    Timer timer;
    std::uint32_t generation;  // Odd while the slot is in use.
    std::uint32_t nextFree;
  };

  static constexpr std::uint32_t kDeferred = 0x80000000;  // Marks a position among the deferred.
  static constexpr std::uint32_t kNoSlot = 0xFFFFFFFF;
  static constexpr size_t kMaxTimers = 0x7FFFFFFF;

  ZTKEventLoopTimer NameOf(std::uint32_t slot) const noexcept {
    return std::uint64_t{m_slots[slot].generation} << 32 | slot;
  }
  bool ReserveOneMore() noexcept;
  std::uint32_t AllocateSlot() noexcept;
  void SiftUp(size_t position) noexcept;
  void SiftDown(size_t hole, const Entry& entry) noexcept;
  void RemoveAt(size_t position) noexcept;

  std::vector<Entry> m_heap;
  std::vector<Entry> m_deferred;  // In no order.
  std::vector<Slot> m_slots;
  // Of the entry of each slot, in the heap or among the deferred. Apart from the slots, so that
  // sifting touches little memory.
  std::vector<std::uint32_t> m_positions;
  std::uint32_t m_freeSlot = kNoSlot;
  std::uint64_t m_lastSequence = 0;
};
