#pragma once

#include "ztk/system/internal/wait_signal_xp.h"

/// A count, and the queue of the threads that wait for it: the semaphore of every layer that has
/// threads.
///
/// What is posted goes to the head of the queue, so there is never a count and a queue at once. A
/// thread can enter the queue first and sleep later, which the condition needs: it must be in the
/// queue before it unlocks its caller's mutex, or a later thread could consume its signal.
class ZTKWaitQueue {
 public:
  /// A thread in the queue. It lives on that thread's stack.
  class Waiter {
   public:
    Waiter() noexcept = default;
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

   private:
    friend class ZTKWaitQueue;

    XPWaitSignal m_wakeUp;
    bool m_isServed = false;
    Waiter* m_pNext = nullptr;
    Waiter* m_pPrev = nullptr;
  };

  ZTKWaitQueue(int nInitial, int nMax) noexcept : m_nCount(nInitial), m_nMax(nMax) {}
  ZTKWaitQueue(const ZTKWaitQueue&) = delete;
  ZTKWaitQueue& operator=(const ZTKWaitQueue&) = delete;

  /// Serves the first waiter, or counts. False at the maximum: nothing changes.
  bool Post() noexcept;
  /// Decrements the count if it is not 0. Nobody can be overtaken: then there is no queue.
  bool Consume() noexcept;
  /// Serves the waiter at once if there is a count, else puts it at the end of the queue.
  void Enqueue(Waiter& waiter) noexcept;
  /// Sleeps until the waiter is served or the time is up. Whether it is served.
  bool Sleep(Waiter& waiter, unsigned long nTimeoutMs) noexcept;
  /// Removes the waiter from the queue. False when it was served meanwhile.
  bool Withdraw(Waiter& waiter) noexcept;

 private:
  void Remove(Waiter& waiter) noexcept;

  XPLock m_lock;
  int m_nCount;
  const int m_nMax;
  Waiter* m_pHead = nullptr;
  Waiter* m_pTail = nullptr;
};
