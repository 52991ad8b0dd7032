// The Windows back end of the file dialog. It needs no symbol of the library: what it has to know
// and to ask comes with the request.
//
// The shell's dialog runs on a thread of its own, in an apartment of its own: the program's thread
// may be in one that the shell cannot use. The program's thread waits meanwhile, and serves what it
// would have served: its windows' messages, its timers, and the questions that the dialog has.

#include <process.h>
#include <windows.h>

#include <atomic>
#include <iterator>
#include <new>
#include <string>

#include "ztk/platform/dialog/win32/win32_dialog.h"

namespace {

/// A handle of the system's; closed at the end.
class Handle {
 public:
  explicit Handle(HANDLE h) : m_h(h) {}
  ~Handle() {
    if (m_h != nullptr) CloseHandle(m_h);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  HANDLE Get() const { return m_h; }

 private:
  HANDLE m_h;
};

Handle MakeEvent() { return Handle(CreateEventW(nullptr, FALSE, FALSE, nullptr)); }

Handle StartThread(unsigned(__stdcall* pfnMain)(void*), void* pContext) {
  // It gives 0 for failure, which is no handle either.
  return Handle(
      reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, pfnMain, pContext, 0, nullptr)));
}

/// One run of the dialog.
class Session final : public Win32Program {
 public:
  explicit Session(const ZTKFileDialogRequest& request)
      : m_request(request), m_hOwner(GetActiveWindow()) {}

  /// Whether a file was chosen; the program has been told then. On the program's thread.
  bool Run();

  // On the dialog's thread.
  bool FilterChosen(unsigned long nFilter, std::wstring& name) override;
  void Opened(HWND hWindow) override { m_hWindow = hWindow; }

 private:
  static unsigned __stdcall Main(void* pSession) noexcept;
  void ServeUntilEnd(HANDLE hThread);
  bool Serve(HANDLE hThread);
  bool PumpMessages();
  void Answer();

  const ZTKFileDialogRequest& m_request;
  const HWND m_hOwner;
  std::atomic<HWND> m_hWindow = nullptr;  // Set by the dialog's thread.
  std::wstring m_path;
  bool m_isChosen = false;

  // The question that the dialog's thread waits with; it belongs to either thread in turn.
  const Handle m_asked = MakeEvent();
  const Handle m_answered = MakeEvent();
  unsigned long m_nFilter = 0;
  std::wstring* m_pName = nullptr;
  bool m_isRenamed = false;
};

unsigned __stdcall Session::Main(void* pSession) noexcept {
  auto* const session = static_cast<Session*>(pSession);
  try {
    session->m_isChosen =
        Win32ShowDialog(session->m_request, session->m_hOwner, *session, session->m_path);
  } catch (const std::bad_alloc&) {
    session->m_isChosen = false;
  }
  return 0;
}

bool Session::Run() {
  if (m_asked.Get() == nullptr || m_answered.Get() == nullptr) return false;
  const Handle thread = StartThread(Main, this);
  if (thread.Get() == nullptr) return false;
  ServeUntilEnd(thread.Get());
  if (!m_isChosen) return false;
  const std::string path = Win32ToUtf8(m_path);
  if (path.empty()) return false;
  m_request.pfnChosen(m_request.pContext, path.c_str());
  return true;
}

// Waits for whatever comes next and serves it. False at the end of the dialog's thread.
bool Session::Serve(HANDLE hThread) {
  const HANDLE timers = reinterpret_cast<HANDLE>(m_request.nTimerHandle);
  const HANDLE handles[] = {hThread, m_asked.Get(), timers};
  const bool hasTimers = m_request.nTimerHandle != -1;
  const DWORD count = hasTimers ? 3 : 2;
  DWORD woken =
      MsgWaitForMultipleObjectsEx(count, handles, INFINITE, QS_ALLINPUT, MWMO_INPUTAVAILABLE);
  if (woken == WAIT_FAILED) {
    // The thread may have a question, or a message for a window here, before it can end: one after
    // the other is looked at, again and again.
    constexpr DWORD kPauseMs = 10;
    if (WaitForSingleObject(hThread, kPauseMs) == WAIT_OBJECT_0) return false;
    if (WaitForSingleObject(m_asked.Get(), 0) == WAIT_OBJECT_0) woken = WAIT_OBJECT_0 + 1;
    if (hasTimers) m_request.pfnServeTimers(m_request.pContext);
  }
  if (woken == WAIT_OBJECT_0) return false;
  if (woken == WAIT_OBJECT_0 + 1) Answer();
  if (hasTimers && woken == WAIT_OBJECT_0 + 2) m_request.pfnServeTimers(m_request.pContext);
  return true;
}

void Session::ServeUntilEnd(HANDLE hThread) {
  bool mustQuit = false;
  while (Serve(hThread)) {
    // Each time: a timer that is always due must not keep messages from the windows.
    if (!PumpMessages()) mustQuit = true;
    if (mustQuit && m_hWindow != nullptr) PostMessageW(m_hWindow, WM_COMMAND, IDCANCEL, 0);
  }
  if (mustQuit) PostQuitMessage(0);
}

// False when the program is to end.
bool Session::PumpMessages() {
  bool goesOn = true;
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) {
    if (message.message == WM_QUIT) {
      goesOn = false;
      continue;
    }
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return goesOn;
}

bool Session::FilterChosen(unsigned long nFilter, std::wstring& name) {
  m_nFilter = nFilter;
  m_pName = &name;
  m_isRenamed = false;
  SetEvent(m_asked.Get());
  const HANDLE answered = m_answered.Get();
  // The program may open a window meanwhile, a dialog even, that takes the place in front: the
  // system sends messages of that to the dialog, and its caller waits for their end. What users do
  // with the dialog is posted, and left for later.
  while (MsgWaitForMultipleObjectsEx(1, &answered, INFINITE, QS_SENDMESSAGE, 0) ==
         WAIT_OBJECT_0 + 1) {
    MSG unused;
    PeekMessageW(&unused, nullptr, 0, 0, PM_NOREMOVE | PM_QS_SENDMESSAGE);
  }
  return m_isRenamed;
}

void Session::Answer() {
  try {
    const std::string name = Win32ToUtf8(*m_pName);
    const char* const renamed =
        m_request.pfnFilterChosen(m_request.pContext, m_nFilter, name.c_str());
    if (renamed != nullptr && m_request.bSave != 0) {
      *m_pName = Win32ToWidePath(renamed);
      m_isRenamed = !m_pName->empty();
    }
  } catch (const std::bad_alloc&) {
    m_isRenamed = false;  // The name stays as it is.
  }
  SetEvent(m_answered.Get());
}

unsigned __stdcall Probe(void* pCan) noexcept {
  *static_cast<bool*>(pCan) = Win32CanMakeDialog();
  return 0;
}

const char* WhyNot() {
  bool can = false;
  const Handle thread = StartThread(Probe, &can);
  if (thread.Get() != nullptr) WaitForSingleObject(thread.Get(), INFINITE);
  return can ? nullptr : "no display: the system cannot make a file dialog here";
}

int RunDialog(const ZTKFileDialogRequest* pRequest) {
  try {
    return Session(*pRequest).Run() ? 1 : 0;
  } catch (const std::bad_alloc&) {
    return 0;
  }
}

}  // namespace

extern "C" __declspec(dllexport) const ZTKFileDialogBackend* ztk_file_dialog_backend() {
  static constexpr ZTKFileDialogBackend kBackend = {ZTKFileDialogBackend::kVersion, "win32", WhyNot,
                                                    RunDialog};
  return &kBackend;
}
