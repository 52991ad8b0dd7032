#include "tests/system/gtk/keyboard.h"

#include <X11/extensions/XTest.h>
#include <gdk/gdkx.h>

#include <vector>

bool PressKey(GtkWidget* window, const std::string& keys) {
  if (!gtk_window_has_toplevel_focus(GTK_WINDOW(window))) {
    // No window manager is there to give it the focus.
    if (gtk_widget_get_mapped(window)) gtk_window_present(GTK_WINDOW(window));
    return false;
  }
  Display* const display = GDK_DISPLAY_XDISPLAY(gtk_widget_get_display(window));
  std::vector<KeyCode> held;
  if (keys.find("ctrl+") != std::string::npos) {
    held.push_back(XKeysymToKeycode(display, GDK_KEY_Control_L));
  }
  if (keys.find("shift+") != std::string::npos) {
    held.push_back(XKeysymToKeycode(display, GDK_KEY_Shift_L));
  }
  const std::string name = keys.substr(keys.rfind('+') + 1);
  held.push_back(XKeysymToKeycode(display, gdk_keyval_from_name(name.c_str())));
  for (const KeyCode code : held) XTestFakeKeyEvent(display, code, True, CurrentTime);
  for (const KeyCode code : held) XTestFakeKeyEvent(display, code, False, CurrentTime);
  XFlush(display);
  return true;
}
