#pragma once

#include <gtk/gtk.h>

/// The widgets of the window, built and arranged; what they do is up to NotesWindow. Those that a
/// test looks for have names.
struct Layout {
  GtkWidget* window;
  GtkWidget* header;
  GtkWidget* newButton;
  GtkWidget* openButton;
  GtkWidget* undoButton;
  GtkWidget* redoButton;
  GtkWidget* saveButton;
  GtkWidget* saveAsButton;
  GtkWidget* findButton;
  GtkWidget* darkButton;
  GtkWidget* logButton;

  GtkWidget* recent;    ///< A list box.
  GtkWidget* recovery;  ///< An info bar, hidden at first.
  GtkWidget* trouble;   ///< Another, for what did not work.
  GtkWidget* troubleText;
  GtkWidget* findBar;
  GtkWidget* findEntry;
  GtkWidget* text;
  GtkWidget* logRevealer;

  GtkWidget* encoding;
  GtkWidget* lineEnds;
  GtkWidget* state;  ///< Saved, changed, kept safe.
  GtkWidget* position;
  GtkWidget* words;

  explicit Layout(GtkTextBuffer* log);
};

/// A row of the list of recent files.
GtkWidget* MakeRecentRow(const char* name, const char* folder);
