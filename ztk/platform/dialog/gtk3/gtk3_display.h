#pragma once

#include <gtk/gtk.h>

/// Null when GTK 3 is up and has a display; else why not. Starts GTK at the first call, and leaves
/// the program's locale alone when it does.
const char* Gtk3WhyNot();

/// Whether it was this plug-in that started GTK: the program then has no GTK loop of its own.
bool Gtk3StartedHere();

/// While it lives, the loss of the display ends `dialog` with a cancel, and not the program.
///
/// That is possible for X only, and done only in programs that do not use GTK themselves.
class Gtk3DisplayGuard {
 public:
  explicit Gtk3DisplayGuard(GtkDialog* dialog);
  ~Gtk3DisplayGuard();
  Gtk3DisplayGuard(const Gtk3DisplayGuard&) = delete;
  Gtk3DisplayGuard& operator=(const Gtk3DisplayGuard&) = delete;

  /// True when the display is gone. Nothing may be asked of it any more.
  static bool DisplayIsLost();

 private:
  GtkDialog* m_dialog;
};
