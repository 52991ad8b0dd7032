#pragma once

#include <gtk/gtk.h>

#include <string>

/// Presses keys as a person does: the display server sends the events, to whatever has the focus.
/// One key, with "ctrl+" and "shift+" in front where they are held: "a", "space", "ctrl+shift+s".
/// False while `window` does not have the focus, which is asked for then.
bool PressKey(GtkWidget* window, const std::string& keys);
