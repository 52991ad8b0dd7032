#include "ztk/platform/dialog/gtk3/gtk3_display.h"

#ifdef GDK_WINDOWING_X11
#include <X11/Xlib.h>
#include <gdk/gdkx.h>
#endif

namespace {

bool s_bStartedHere = false;
bool s_bLost = false;
GSList* s_pOpen = nullptr;  // The dialogs that are open, the innermost first.

#ifdef GDK_WINDOWING_X11
XIOErrorHandler s_pFormerHandler = nullptr;

gboolean CancelAll(gpointer) {
  for (const GSList* at = s_pOpen; at != nullptr; at = at->next) {
    gtk_dialog_response(GTK_DIALOG(at->data), GTK_RESPONSE_CANCEL);
  }
  return G_SOURCE_REMOVE;
}

// Replaces the toolkit's handler, which ends the process.
int OnIoError(Display*) { return 0; }

// Comes after OnIoError, in place of exit(). The call into Xlib that noticed is still under way, so
// the dialogs are cancelled from the loop.
void OnDisplayLost(Display*, void*) {
  if (s_bLost) return;
  s_bLost = true;
  g_idle_add_full(G_PRIORITY_HIGH, CancelAll, nullptr, nullptr);
}

Display* OwnXDisplay() {
  GdkDisplay* const display = gdk_display_get_default();
  if (!s_bStartedHere || display == nullptr || !GDK_IS_X11_DISPLAY(display)) return nullptr;
  return GDK_DISPLAY_XDISPLAY(display);
}
#endif

}  // namespace

const char* Gtk3WhyNot() {
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

Gtk3DisplayGuard::Gtk3DisplayGuard(GtkDialog* dialog) : m_dialog(dialog) {
#ifdef GDK_WINDOWING_X11
  Display* const display = OwnXDisplay();
  if (display != nullptr && s_pOpen == nullptr) {
    s_pFormerHandler = XSetIOErrorHandler(OnIoError);
    XSetIOErrorExitHandler(display, OnDisplayLost, nullptr);
  }
#endif
  s_pOpen = g_slist_prepend(s_pOpen, dialog);
}

Gtk3DisplayGuard::~Gtk3DisplayGuard() {
  s_pOpen = g_slist_remove(s_pOpen, m_dialog);
#ifdef GDK_WINDOWING_X11
  // Once the display is lost the handlers stay: Xlib may report it again at any time, and the
  // former ones would end the program for it.
  if (s_pOpen != nullptr || s_bLost) return;
  Display* const display = OwnXDisplay();
  if (display == nullptr) return;
  XSetIOErrorHandler(s_pFormerHandler);
  XSetIOErrorExitHandler(display, nullptr, nullptr);
#endif
}

bool Gtk3DisplayGuard::DisplayIsLost() { return s_bLost; }
