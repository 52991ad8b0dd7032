#pragma once

#include <pthread.h>

#include "ztk/system/semaphore.h"

/// The system side of a semaphore: a count, and the queue of the threads that wait for it.
///
/// What is posted goes to the head of the queue, so there is never a count and a queue at once. A
/// thread can enter the queue first and sleep later, which the condition needs: it must be in the
/// queue before it unlocks its caller's mutex, or a later thread could consume its signal.
struct ZTKSemaphore::System {
  /// A thread in the queue. It lives on that thread's stack.
  struct Waiter {
    Waiter() noexcept;
    ~Waiter();
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    pthread_cond_t wakeUp;
    bool isServed = false;
    Waiter* next = nullptr;
    Waiter* prev = nullptr;
  };

  System(int nInitial, int nMax) noexcept;
  ~System();
  System(const System&) = delete;
  System& operator=(const System&) = delete;

  int Post() noexcept;
  /// Serves the waiter at once if there is a count, else puts it at the end of the queue.
  void Enqueue(Waiter& waiter) noexcept;
  /// Sleeps until the waiter is served or the time is up. Whether it is served.
  bool Sleep(Waiter& waiter, unsigned long nTimeoutMs) noexcept;
  /// Removes the waiter from the queue. False when it was served meanwhile.
  bool Withdraw(Waiter& waiter) noexcept;

 private:
  void Remove(Waiter& waiter) noexcept;

  pthread_mutex_t m_mutex;
  int m_nCount;
  const int m_nMax;
  Waiter* m_pHead = nullptr;
  Waiter* m_pTail = nullptr;
};
