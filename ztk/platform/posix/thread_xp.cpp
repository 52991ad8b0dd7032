#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <new>

#include "ztk/platform/threads/thread_system.h"

// --- The system's own threads -----------------------------------------------------------------

namespace {

void* Main(void* pMain) {
  static_cast<NativeThreadMain*>(pMain)->Run();
  return nullptr;
}

}  // namespace

bool XPCreateThread(NativeThread& thread, NativeThreadMain& main, size_t nStackSize) noexcept {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  if (nStackSize != 0) {
    const auto least = static_cast<size_t>(sysconf(_SC_THREAD_STACK_MIN));
    pthread_attr_setstacksize(&attributes, std::max(nStackSize, least));
  }
  pthread_t created{};
  const int error = pthread_create(&created, &attributes, Main, &main);
  pthread_attr_destroy(&attributes);
  if (error != 0) return false;
  thread = created;
  return true;
}

bool XPIsCaller(NativeThread thread) noexcept { return pthread_equal(thread, pthread_self()) != 0; }

void XPJoinThread(NativeThread thread) noexcept { pthread_join(thread, nullptr); }

void XPDetachThread(NativeThread thread) noexcept { pthread_detach(thread); }

bool ZTKThread::System::XPAreOthersGone() noexcept { return false; }

// --- Forks ------------------------------------------------------------------------------------

// A fork copies the objects of all threads, and the calling thread alone. Who is started is listed,
// so that the child can end what it does not have.
struct ZTKThread::System::XPMemory {
  static void Lock() noexcept { pthread_mutex_lock(&s_mutex); }
  static void Unlock() noexcept { pthread_mutex_unlock(&s_mutex); }
  static void Unlink(System& system) noexcept;  // Locked.
  static void BecomeCopy(System& system, bool bIsAlive) noexcept;
  static void ContinueInChild() noexcept;

  static pthread_mutex_t s_mutex;
  static System* s_pFirst;
  static const int s_watchesForks;
};

constinit pthread_mutex_t ZTKThread::System::XPMemory::s_mutex = PTHREAD_MUTEX_INITIALIZER;
constinit ZTKThread::System* ZTKThread::System::XPMemory::s_pFirst = nullptr;
// From the start: one thread may fork while another is the first to be started. Without memory for
// it, children are on their own.
const int ZTKThread::System::XPMemory::s_watchesForks =
    pthread_atfork(Lock, Unlock, ContinueInChild);

void ZTKThread::System::XPRemember() noexcept {
  XPMemory::Lock();
  if (!isRemembered) {
    isRemembered = true;
    prev = nullptr;
    next = XPMemory::s_pFirst;
    if (next) next->prev = this;
    XPMemory::s_pFirst = this;
  }
  XPMemory::Unlock();
}

void ZTKThread::System::XPForget() noexcept {
  XPMemory::Lock();
  if (isRemembered) XPMemory::Unlink(*this);
  XPMemory::Unlock();
}

void ZTKThread::System::XPMemory::Unlink(System& system) noexcept {
  (system.prev ? system.prev->next : s_pFirst) = system.next;
  if (system.next) system.next->prev = system.prev;
  system.isRemembered = false;
}

// The section and the condition may be held, for ever, by threads that the child does not have.
void ZTKThread::System::XPMemory::BecomeCopy(System& system, bool bIsAlive) noexcept {
  ZTKThread& object = *system.owner;
  object.m_section.XPCreate(nullptr);
  system.changed.~ZTKCondition();
  new (&system.changed) ZTKCondition(object.m_section);
  if (bIsAlive) return;

  system.isJoined = true;
  if (system.isStarted && object.m_state != STATE_ENDED) {
    system.isStarted = false;
    object.m_state = STATE_ENDED;
  }
}

void ZTKThread::System::XPMemory::ContinueInChild() noexcept {
  for (System* system = s_pFirst; system;) {
    System* const following = system->next;
    const bool isAlive = system->IsCaller();
    if (system->owner) BecomeCopy(*system, isAlive);
    if (!isAlive) Unlink(*system);
    system = following;
  }
  Unlock();
}
