#pragma once

#include <string>

#include "examples/notes/autosave.h"
#include "examples/notes/finder.h"
#include "examples/notes/history.h"
#include "examples/notes/layout.h"
#include "examples/notes/log_view.h"
#include "examples/notes/note.h"
#include "examples/notes/settings.h"
#include "examples/notes/word_counter.h"

/// The window: one note, the list of the last ones, a log. It calls gtk_main_quit() when closed.
///
/// It does not ask whether to save: what was not saved is in a copy, and offered the next time.
/// Only where that copy could not be written, it asks.
class NotesWindow {
 public:
  NotesWindow(Settings& settings, const LogView& log);
  ~NotesWindow();
  NotesWindow(const NotesWindow&) = delete;
  NotesWindow& operator=(const NotesWindow&) = delete;

  void New();
  bool Open(const std::string& path);
  /// Asks for a name when there is none.
  bool Save();
  /// Asks for a name; the note then is that file.
  bool SaveAs();
  GtkWidget* GetWidget() const { return m_ui.window; }

 private:
  bool MayLeave();
  bool IsAnswered();
  bool ShowSaved(const std::string& path, const std::string& problem);
  void Remember(bool bSaved);
  void SetDark(bool bDark);
  void ShowNote(const std::string& text);
  void ShowRecovery();
  void ShowRecent();
  void ShowState(const char* text);
  void ShowTrouble(const std::string& text);
  void ShowCounts();
  std::string GetText() const;

  static void OnChanged(GtkTextBuffer*, gpointer self);
  static void OnMoved(GtkTextBuffer*, GParamSpec*, gpointer self);
  static void OnRecent(GtkListBox*, GtkListBoxRow* row, gpointer self);
  static void OnRecovery(GtkInfoBar*, gint response, gpointer self);
  static gboolean OnClose(GtkWidget*, GdkEvent*, gpointer self);

  Settings& m_settings;
  Layout m_ui;
  GtkTextBuffer* m_buffer;
  Note m_note;
  Autosave m_autosave;
  History m_history;
  Finder m_finder;
  WordCounter m_words;
  bool m_bShowing = false;  // The text changes by the program, not by the user.
};
