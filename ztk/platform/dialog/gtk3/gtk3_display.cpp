#include "ztk/platform/dialog/gtk3/gtk3_display.h"

#ifdef GDK_WINDOWING_X11
#include <X11/Xlib.h>
#include <gdk/gdkx.h>
#include <poll.h>

#include <csetjmp>
#endif

namespace {

bool s_bStartedHere = false;
bool s_bLost = false;

#ifdef GDK_WINDOWING_X11

// One call of Gtk3RunGuarded().
struct Guarded {
  Guarded* pOuter;
  GMainLoop* pLoop;  // The loop that it is running, or null.
  int nDepth;        // How many dispatches of the main loop it is inside of.
  bool bInProgram;   // The program has been called, and is not to be abandoned.
  sigjmp_buf escape;
};

Guarded* s_pInnermost = nullptr;
GSource* s_pWatch = nullptr;
XIOErrorHandler s_pFormerHandler = nullptr;

Display* OwnXDisplay() {
  GdkDisplay* const display = gdk_display_get_default();
  if (!s_bStartedHere || display == nullptr || !GDK_IS_X11_DISPLAY(display)) return nullptr;
  return GDK_DISPLAY_XDISPLAY(display);
}

bool ServerIsGone() {
  Display* const display = OwnXDisplay();
  if (s_bLost || display == nullptr) return s_bLost;
  pollfd connection = {ConnectionNumber(display), POLLRDHUP, 0};
  return poll(&connection, 1, 0) == 1;
}

// The program may go on with the main loop that it shares with the toolkit: no source of the
// toolkit may run in it again.
void SilenceToolkit() {
  GSource* const newest = g_idle_source_new();
  const guint end = g_source_attach(newest, nullptr);
  g_source_destroy(newest);
  g_source_unref(newest);
  for (guint id = 1; id < end; ++id) {
    GSource* const source = g_main_context_find_source_by_id(nullptr, id);
    const char* const name = source != nullptr ? g_source_get_name(source) : nullptr;
    if (name == nullptr) continue;
    if (g_str_has_prefix(name, "GDK ") || g_str_has_prefix(name, "[gtk+] ")) {
      g_source_destroy(source);
    }
  }
  GList* const windows = gtk_window_list_toplevels();
  for (const GList* at = windows; at != nullptr; at = at->next) {
    GdkWindow* const window = gtk_widget_get_window(GTK_WIDGET(at->data));
    if (window != nullptr) gdk_window_freeze_updates(window);  // Never painted again.
  }
  g_list_free(windows);
}

// A source of the highest priority: as long as it is ready no other is asked, so a lost server is
// noticed before the toolkit reads from it.
gboolean OnPrepare(GSource*, gint* timeout) {
  *timeout = -1;  // The toolkit watches the connection too, which wakes the loop.
  return ServerIsGone();
}

gboolean OnCheck(GSource*) { return ServerIsGone(); }

gboolean OnGone(GSource*, GSourceFunc, gpointer) {
  s_bLost = true;
  Guarded* const here = s_pInnermost;
  if (here->bInProgram) {
    SilenceToolkit();
    return G_SOURCE_REMOVE;  // Gtk3CallProgram() tells.
  }
  // The source stays: the outer calls are to end too.
  if (here->pLoop != nullptr && g_main_depth() == here->nDepth + 1) {
    g_main_loop_quit(here->pLoop);
    return G_SOURCE_CONTINUE;
  }
  siglongjmp(here->escape, 1);  // A loop of the toolkit's own, inside of ours.
}

int OnIoError(Display* display) {
  if (display == OwnXDisplay() || s_pFormerHandler == nullptr) return 0;
  return s_pFormerHandler(display);
}

// Comes after OnIoError, in place of exit(): the server went between two looks at the connection.
void OnLost(Display*, void*) {
  s_bLost = true;
  Guarded* const here = s_pInnermost;
  if (here == nullptr || here->bInProgram) return;
  // Between two dispatches the toolkit only looks for events and finds none; the watch is next.
  if (here->pLoop != nullptr && g_main_depth() == here->nDepth) return;
  siglongjmp(here->escape, 1);
}

void StartWatch() {
  static GSourceFuncs s_functions = {OnPrepare, OnCheck, OnGone, nullptr, nullptr, nullptr};
  s_pWatch = g_source_new(&s_functions, sizeof(GSource));
  g_source_set_priority(s_pWatch, G_MININT);
  g_source_attach(s_pWatch, nullptr);
}

void EndWatch() {
  g_source_destroy(s_pWatch);
  g_source_unref(s_pWatch);
  s_pWatch = nullptr;
}

// Repairs the main loop after a call that was abandoned in it, perhaps inside dispatches that never
// return.
void RecoverMainLoop(const Guarded& abandoned) {
  // An iteration forgets what those had still to dispatch; the loop of the program would go on with
  // it.
  int priority = 0;
  g_main_context_prepare(nullptr, &priority);
  const int lost = g_main_depth() - abandoned.nDepth;
  for (Guarded* at = abandoned.pOuter; at != nullptr; at = at->pOuter) at->nDepth += lost;
}

// True when `work` came to its end.
bool CallWithEscape(Guarded* here, void (*pfnWork)(void*), void* pData) {
  if (sigsetjmp(here->escape, 0) != 0) return false;
  pfnWork(pData);
  return true;
}

#endif

}  // namespace

const char* Gtk3WhyNot() {
#ifdef GDK_WINDOWING_X11
  if (ServerIsGone()) s_bLost = true;
#endif
  static bool s_bPrepared = false;
  if (s_bLost) return "the display went away";
  const bool foreign = gdk_display_get_default() != nullptr && !s_bStartedHere;
  if (!s_bPrepared && !foreign) gtk_disable_setlocale();
  s_bPrepared = true;

  if (!gtk_init_check(nullptr, nullptr)) {
    static char s_reason[256];
    const char* const name = g_getenv("DISPLAY");
    g_snprintf(s_reason, sizeof s_reason, "cannot open the display \"%s\"",
               name != nullptr ? name : "");
    return s_reason;
  }
  if (!foreign) s_bStartedHere = true;
  return nullptr;
}

bool Gtk3StartedHere() { return s_bStartedHere; }

#ifdef GDK_WINDOWING_X11

bool Gtk3RunGuarded(void (*pfnWork)(void*), void* pData) {
  Display* const display = OwnXDisplay();
  if (display == nullptr) {
    pfnWork(pData);
    return true;
  }
  if (s_pInnermost == nullptr) {
    s_pFormerHandler = XSetIOErrorHandler(OnIoError);
    XSetIOErrorExitHandler(display, OnLost, nullptr);
    StartWatch();
  }
  const bool owned = g_main_context_is_owner(nullptr) != FALSE;
  Guarded here = {s_pInnermost, nullptr, g_main_depth(), false, {}};
  s_pInnermost = &here;
  const bool whole = CallWithEscape(&here, pfnWork, pData);
  s_pInnermost = here.pOuter;

  if (!s_bLost) {
    if (s_pInnermost != nullptr) return true;
    EndWatch();
    XSetIOErrorHandler(s_pFormerHandler);
    XSetIOErrorExitHandler(display, nullptr, nullptr);
    return true;
  }
  // The handlers stay: the former ones would end the program at the next request to the display.
  EndWatch();  // It may be in the middle of a dispatch that never returns.
  SilenceToolkit();
  if (!whole) RecoverMainLoop(here);
  // Abandoned loops have not given the context back. Nobody can tell how often the program has
  // taken it, so where it had, it is left taken: by this thread.
  while (!owned && g_main_context_is_owner(nullptr)) g_main_context_release(nullptr);
  if (s_pInnermost != nullptr) StartWatch();
  return false;
}

bool Gtk3RunLoop(GMainLoop* pLoop) {
  Guarded* const here = s_pInnermost;
  if (here != nullptr) here->pLoop = pLoop;
  g_main_loop_run(pLoop);
  if (here != nullptr) here->pLoop = nullptr;
  return !s_bLost;
}

bool Gtk3CallProgram(void (*pfnCall)(void*), void* pData) {
  Guarded* const here = s_pInnermost;
  if (here != nullptr) here->bInProgram = true;
  pfnCall(pData);
  if (here != nullptr) here->bInProgram = false;
  return !s_bLost;
}

#else

bool Gtk3RunGuarded(void (*pfnWork)(void*), void* pData) {
  pfnWork(pData);
  return true;
}

bool Gtk3RunLoop(GMainLoop* pLoop) {
  g_main_loop_run(pLoop);
  return true;
}

bool Gtk3CallProgram(void (*pfnCall)(void*), void* pData) {
  pfnCall(pData);
  return true;
}

#endif
