#include "ztk/system/thread.h"

#include <pthread.h>
#include <unistd.h>

#include <algorithm>
#include <new>

#include "ztk/system/condition.h"

// What the object and its thread share; under the section of the object.
struct ZTKThread::System {
  explicit System(ZTKThread& thread) noexcept : owner(&thread), changed(thread.m_section) {}
  ~System();

  static void* Main(void* pSystem);
  /// Gives the thread its system side. False without memory. Inside the section.
  static bool Prepare(ZTKThread& thread) noexcept;
  /// Not by the system's id, which is another thread's once this one was joined.
  bool IsCaller() const noexcept { return t_pCurrent == this; }

  // A fork copies the objects of all threads, and the calling thread alone. Who is started is
  // listed, so that the child can end what it does not have.
  void List() noexcept;
  void Unlink() noexcept;  // The list is locked.
  void BecomeCopy(bool bIsAlive) noexcept;
  static void LockList() noexcept { pthread_mutex_lock(&s_listMutex); }
  static void UnlockList() noexcept { pthread_mutex_unlock(&s_listMutex); }
  static void ContinueInChild() noexcept;

  static pthread_mutex_t s_listMutex;
  static System* s_pFirst;
  static const int s_watchesForks;
  static thread_local System* t_pCurrent;  // Of the calling thread, while it is in `Entry()`.

  ZTKThread* owner;      // Null when the object was deleted by its own thread.
  ZTKCondition changed;  // The state, the id or the wish to stop.
  pthread_t id{};
  unsigned int stackSize = 0;
  unsigned long exitCode = 0;
  bool isStarted = false;
  bool isJoined = false;
  bool mustStop = false;
  bool isListed = false;
  System* next = nullptr;
  System* prev = nullptr;
};

constinit pthread_mutex_t ZTKThread::System::s_listMutex = PTHREAD_MUTEX_INITIALIZER;
constinit ZTKThread::System* ZTKThread::System::s_pFirst = nullptr;
// From the start: one thread may fork while another is the first to be started. Without memory for
// it, children are on their own.
const int ZTKThread::System::s_watchesForks = pthread_atfork(LockList, UnlockList, ContinueInChild);
constinit thread_local ZTKThread::System* ZTKThread::System::t_pCurrent = nullptr;

ZTKThread::System::~System() {
  LockList();
  if (isListed) Unlink();
  UnlockList();
}

void ZTKThread::System::List() noexcept {
  LockList();
  if (!isListed) {
    isListed = true;
    prev = nullptr;
    next = s_pFirst;
    if (next) next->prev = this;
    s_pFirst = this;
  }
  UnlockList();
}

void ZTKThread::System::Unlink() noexcept {
  (prev ? prev->next : s_pFirst) = next;
  if (next) next->prev = prev;
  isListed = false;
}

// The section and the condition may be held, for ever, by threads that the child does not have.
void ZTKThread::System::BecomeCopy(bool bIsAlive) noexcept {
  owner->m_section.XPCreate(nullptr);
  changed.~ZTKCondition();
  new (&changed) ZTKCondition(owner->m_section);
  if (bIsAlive) return;

  isJoined = true;
  if (isStarted && owner->m_state != STATE_ENDED) {
    isStarted = false;
    owner->m_state = STATE_ENDED;
  }
}

void ZTKThread::System::ContinueInChild() noexcept {
  for (System* system = s_pFirst; system;) {
    System* const following = system->next;
    const bool isAlive = system == t_pCurrent;
    if (system->owner) system->BecomeCopy(isAlive);
    if (!isAlive) system->Unlink();
    system = following;
  }
  UnlockList();
}

void* ZTKThread::System::Main(void* pSystem) {
  auto* const system = static_cast<System*>(pSystem);
  t_pCurrent = system;
  ZTKThread* const thread = system->owner;
  // The starting thread is done with the object when it leaves the section, so that `Entry()` may
  // delete it.
  thread->m_section.Enter();
  thread->m_nId = static_cast<std::int32_t>(XPGetCurrentId());
  system->changed.Broadcast();
  thread->m_section.Leave();

  thread->Entry();

  t_pCurrent = nullptr;
  if (!system->owner) {
    delete system;
    return nullptr;
  }
  thread->m_section.Enter();
  thread->m_state = STATE_ENDED;
  system->changed.Broadcast();
  thread->m_section.Leave();
  return nullptr;
}

bool ZTKThread::System::Prepare(ZTKThread& thread) noexcept {
  if (!thread.m_pSystem) thread.m_pSystem = new (std::nothrow) System(thread);
  return thread.m_pSystem && thread.m_pSystem->changed.IsOk() && thread.m_section.IsOk();
}

int ZTKThread::XPCreate(unsigned int nStackSize) {
  m_section.Enter();
  const bool isOk = System::Prepare(*this);
  if (isOk && !m_pSystem->isStarted) m_pSystem->stackSize = nStackSize;
  m_section.Leave();
  return isOk ? ZTK_THREAD_NO_ERROR : ZTK_THREAD_MISC_ERROR;
}

int ZTKThread::XPStart() {
  if (!System::Prepare(*this)) return ZTK_THREAD_MISC_ERROR;
  System& system = *m_pSystem;
  if (system.isStarted) {
    system.changed.Broadcast();
    return ZTK_THREAD_NO_ERROR;
  }

  system.List();
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  if (system.stackSize != 0) {
    const auto least = static_cast<size_t>(sysconf(_SC_THREAD_STACK_MIN));
    pthread_attr_setstacksize(&attributes, std::max<size_t>(system.stackSize, least));
  }
  const int error = pthread_create(&system.id, &attributes, System::Main, &system);
  pthread_attr_destroy(&attributes);
  if (error != 0) return ZTK_THREAD_MISC_ERROR;
  system.isStarted = true;
  return ZTK_THREAD_NO_ERROR;
}

void ZTKThread::XPAwaitId() const {
  while (m_pSystem && m_pSystem->isStarted && m_nId == 0) m_pSystem->changed.XPWait();
}

void ZTKThread::XPStop() {
  m_pSystem->mustStop = true;
  m_pSystem->changed.Broadcast();
}

bool ZTKThread::XPCheckPoint() {
  m_section.Enter();
  bool goesOn = true;
  if (m_pSystem && m_pSystem->isStarted) {
    while (m_state == STATE_PAUSED && !m_pSystem->mustStop) m_pSystem->changed.XPWait();
    goesOn = !m_pSystem->mustStop;
  }
  m_section.Leave();
  return goesOn;
}

void ZTKThread::XPExit(unsigned long nExitCode) {
  m_section.Enter();
  if (m_pSystem) {
    m_pSystem->exitCode = nExitCode;
    XPStop();
  }
  m_section.Leave();
}

unsigned long ZTKThread::XPGetExitCode() const {
  m_section.Enter();
  const unsigned long exitCode = m_pSystem ? m_pSystem->exitCode : 0;
  m_section.Leave();
  return exitCode;
}

int ZTKThread::XPJoin() {
  int result = ZTK_THREAD_NO_ERROR;
  m_section.Enter();
  if (!m_pSystem || !m_pSystem->isStarted) {
    result = ZTK_THREAD_NOT_RUNNING;
  } else if (m_pSystem->IsCaller()) {
    result = ZTK_THREAD_MISC_ERROR;  // It would wait for itself.
  } else {
    while (m_state != STATE_ENDED) m_pSystem->changed.XPWait();
  }
  m_section.Leave();
  return result;
}

void ZTKThread::XPFree() {
  m_section.Enter();
  const bool isStarted = m_pSystem && m_pSystem->isStarted;
  if (isStarted) XPStop();
  m_section.Leave();
  if (!isStarted || XPJoin() != ZTK_THREAD_NO_ERROR) return;

  // One caller takes the system's thread back. It has left `Entry()` and touches the object no
  // more once it is joined.
  m_section.Enter();
  const bool mustJoin = !m_pSystem->isJoined;
  m_pSystem->isJoined = true;
  m_section.Leave();
  if (mustJoin) pthread_join(m_pSystem->id, nullptr);
}

void ZTKThread::XPDestroy() {
  if (m_pSystem && m_pSystem->IsCaller()) {
    // The thread deletes its own object. It takes the system side with it when it ends.
    pthread_detach(m_pSystem->id);
    m_pSystem->owner = nullptr;
    return;
  }
  delete m_pSystem;
}
