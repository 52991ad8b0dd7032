// Apart from the tests, because the macros of this header break those of others.
#include <X11/Xlib.h>
#include <gdk/gdkx.h>

#include "tests/system/gtk/windows_on_screen.h"

int WindowsOnScreen() {
  Display* const display = XOpenDisplay(nullptr);
  if (display == nullptr) return -1;
  Window root = 0;
  Window parent = 0;
  Window* windows = nullptr;
  unsigned total = 0;
  int count = 0;
  // The server stands still meanwhile, so that no window goes between the two questions.
  XGrabServer(display);
  XQueryTree(display, DefaultRootWindow(display), &root, &parent, &windows, &total);
  for (unsigned i = 0; i < total; ++i) {
    XWindowAttributes attributes = {};
    if (XGetWindowAttributes(display, windows[i], &attributes) == 0) continue;
    if (attributes.map_state == IsViewable) ++count;
  }
  if (windows != nullptr) XFree(windows);
  XCloseDisplay(display);
  return count;
}

int ToolkitConnection() {
  return ConnectionNumber(GDK_DISPLAY_XDISPLAY(gdk_display_get_default()));
}
