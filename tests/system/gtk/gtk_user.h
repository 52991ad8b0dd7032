#pragma once

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/temp_dir.h"

/// An X server of the test's own, and an environment in which GTK finds no trace of the user: a
/// home that is empty, no settings daemon, no buses. `Running()` is false where there is no Xvfb.
class VirtualDisplay {
 public:
  VirtualDisplay();
  ~VirtualDisplay();
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;

  bool Running() const { return m_pid > 0; }
  /// Ends the server, as a crash of it would.
  void Kill();

  TempDir home;

 private:
  int m_pid = -1;
  std::vector<std::unique_ptr<ScopedEnv>> m_environment;
};

/// Works the dialog from inside the main loop while ShowModal() waits: steps in order, each tried
/// again until it returns true. A step that never does fails the test after half a minute and
/// cancels whatever is open.
class User {
 public:
  User();
  ~User();
  User(const User&) = delete;
  User& operator=(const User&) = delete;

  User& Then(const char* what, std::function<bool()> step);
  bool Finished() const { return m_next == m_steps.size(); }

 private:
  struct Step {
    const char* what;
    std::function<bool()> run;
  };
  static gboolean OnTick(gpointer self);

  std::vector<Step> m_steps;
  size_t m_next = 0;
  bool m_busy = false;
  guint m_source;
  gint64 m_deadline;
};

/// The chooser that is on the screen (the innermost), or null.
GtkFileChooser* OpenChooser();
/// The question whether to overwrite, or null.
GtkDialog* OpenQuestion();
/// A part of the chooser by the name that GTK's own description gives it, or null.
GtkWidget* PartOf(GtkFileChooser* chooser, const char* name);
/// The names that the list of the chooser shows, sorted.
std::vector<std::string> ListedNames(GtkFileChooser* chooser);
/// Has the button of a response pressed soon; false while it cannot be pressed.
bool Press(GtkDialog* dialog, int response);
/// Selects a file; false until it is the one that the chooser would give.
bool Select(GtkFileChooser* chooser, const std::string& path);
/// Chooses a filter in the pop-up; false while there is none.
bool PickFilter(GtkFileChooser* chooser, int index);
